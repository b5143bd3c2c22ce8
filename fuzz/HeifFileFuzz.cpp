// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/detail/HeifFile.h>

#include <cstdint>

// The boxes of HEIC and AVIF photos, in memory and from a file.
void kelvane::fuzz(std::string_view input)
{
    using detail::HeifFile;
    constexpr std::size_t mostBytes = std::size_t{16} << 20;
    const MemoryFile file(input);
    const auto parsed = HeifFile::parse(std::as_bytes(std::span(input.data(), input.size())));
    const auto opened = HeifFile::read(file.path());
    require(!parsed == !opened, "a file is the same in memory and on a disk");
    if (!parsed)
        return;
    require(parsed->storedWidth == opened->storedWidth && parsed->orientation == opened->orientation
            && parsed->exif == opened->exif && parsed->iccProfile == opened->iccProfile,
        "a file says the same in memory and on a disk");
    require(parsed->rotation >= 0 && parsed->rotation < 360 && parsed->rotation % 90 == 0, "a turn is by quarters");
    require(parsed->orientation >= 1 && parsed->orientation <= 8, "a picture lies in one of eight ways");
    require(std::uint64_t{parsed->uprightWidth} * parsed->uprightHeight
            <= std::uint64_t{parsed->storedWidth} * parsed->storedHeight,
        "what is shown is no more than what is stored");
    require(
        parsed->exif.size() <= mostBytes && parsed->xmp.size() <= mostBytes && parsed->iccProfile.size() <= mostBytes,
        "what is kept is bounded");
    require(parsed->transforms.size() <= input.size(), "every change has its bytes in the file");
    static_cast<void>(detail::iccProfileOf(*parsed));
}
