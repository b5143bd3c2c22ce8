// SPDX-License-Identifier: Apache-2.0
#include "Preview.h"

#include "MediaInput.h"
#include "StillImage.h"
#include "VideoFrame.h"

#include <string>

namespace kelvane::module {
namespace {

constexpr std::int64_t maxImageBytes = 96'000'000;
// As it is decoded, a photo takes a byte and a half for each pixel, most others four.
constexpr std::int64_t maxImagePixels = 80'000'000;

std::string wholeFile(SourceFile &file)
{
    std::string bytes(static_cast<std::size_t>(file.size()), '\0');
    std::size_t taken = 0;
    while (taken < bytes.size()) {
        const std::size_t count =
            file.read(static_cast<std::int64_t>(taken), bytes.data() + taken, bytes.size() - taken);
        if (count == 0)
            break;
        taken += count;
    }
    bytes.resize(taken);
    return bytes;
}

} // namespace

Picture preview(const char *path, std::int32_t maxWidth, std::int32_t maxHeight, Budget &budget)
{
    SourceFile file(path, budget);
    char head[16] = {};
    const std::size_t taken = file.read(0, head, sizeof head);
    if (!isStillImage({head, taken})) {
        MediaInput input(path, budget);
        return input.isOpen() ? videoFrame(input, maxWidth, maxHeight) : Picture();
    }
    if (file.size() > maxImageBytes)
        return {};
    const std::string bytes = wholeFile(file);
    return smallImage(bytes, maxImagePixels, maxWidth, maxHeight);
}

} // namespace kelvane::module
