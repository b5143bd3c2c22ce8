// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RgbaPixels.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kelvane::decoder {

/// A picture as a JPEG file codes it (see DecodedPlanes), in one piece of memory that is freed as that of a Canvas.
struct JpegPlanes {
    JpegPlanes() = default;
    JpegPlanes(int pictureWidth, int pictureHeight);

    /// Whether a decoded picture goes to its place as it is: coded with these colours, and at even coordinates.
    [[nodiscard]] static bool take(
        const HevcPlanes &decoded, const std::optional<detail::HeifColour> &colour, const Place &place) noexcept;
    /// Copies rows `firstRow` to `endRow` of a picture to its place; both even, or the last one its end.
    void copy(const HevcPlanes &decoded, const Place &place, int firstRow, int endRow) const noexcept;

    int width = 0;
    int height = 0;
    std::array<std::size_t, 3> bytesPerRow = {};
    std::array<std::uint8_t *, 3> planes = {};
    Canvas::Pixels memory;
};

} // namespace kelvane::decoder
