// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kelvane::detail {

/// Pixels that are to become a JPEG file, and what the file says of them. Nothing of it is copied or owned.
struct JpegPicture {
    struct Rows {
        const std::uint8_t *first = nullptr;
        std::size_t bytesPerRow = 0;

        [[nodiscard]] const std::uint8_t *row(std::uint32_t index) const noexcept
        {
            return first + index * bytesPerRow;
        }
    };

    Rows pixels; ///< RGBA, 8 bits each, alpha premultiplied: shown on white, as JPEG has none
    /// Instead of pixels: Y, Cb and Cr as JPEG has them, chroma at half the size, each row with whole blocks of 8 samples.
    std::array<Rows, 3> planes;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    int quality = 80; ///< 1 to 100, as libjpeg counts
    std::span<const std::byte> exif; ///< a TIFF block; left out where it is empty or too large for one segment
    std::span<const std::byte> xmp; ///< the same
    std::span<const std::byte> iccProfile; ///< empty means sRGB
};

/// The bytes of a JPEG file of the picture, colour at half the size (4:2:0): the parts in their order. Empty where the
/// picture has no size, is larger than JPEG allows (65,500 pixels a side), or memory ends.
///
/// Works on all cores: the picture is cut into stripes that are coded one beside the other, and put together as one scan
/// with restart markers, which every decoder knows. They cost six bytes for sixteen rows.
///
/// Threads: any. Errors: nothing throws.
[[nodiscard]] std::vector<std::vector<std::byte>> encodeJpeg(const JpegPicture &picture) noexcept;

} // namespace kelvane::detail
