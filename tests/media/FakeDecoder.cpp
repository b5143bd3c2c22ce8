// SPDX-License-Identifier: Apache-2.0
// A decoder of somebody else's: its pictures are grey, 32 x 16, and lie at the angle that KELVANE_FAKE_ROTATION says.
// With KELVANE_FAKE_TELLS it says when it is loaded and closed.
#include <kelvane/platform/detail/DecoderModule.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

using kelvane::detail::DecodedPicture;

namespace {

void tell(const char *what)
{
    if (std::getenv("KELVANE_FAKE_TELLS")) {
        std::fputs(what, stdout);
        std::fflush(stdout);
    }
}

// Made when the module is loaded, destroyed when it is closed.
struct Presence {
    Presence() { tell("loaded\n"); }
    ~Presence() { tell("closed\n"); }
} presence;

} // namespace

extern "C" __attribute__((visibility("default"))) bool DecodeImageData(
    const char *, std::int32_t bytesPerPixel, DecodedPicture **picture)
{
    const char *rotation = std::getenv("KELVANE_FAKE_ROTATION");
    if (bytesPerPixel != 4 || !rotation)
        return rotation == nullptr && std::getenv("KELVANE_FAKE_SUCCESS");
    *picture = new DecodedPicture{32, 16, 32 * 4, 0, std::atoi(rotation), new std::uint8_t[32 * 16 * 4]};
    std::memset((*picture)->pixels, 255, 32 * 16 * 4);
    return true;
}

#ifndef KELVANE_FAKE_LACKS_FREE
extern "C" __attribute__((visibility("default"))) void FreeImageData(DecodedPicture *picture)
{
    delete[] picture->pixels;
    delete picture;
}
#endif
