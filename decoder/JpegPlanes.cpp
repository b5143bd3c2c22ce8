// SPDX-License-Identifier: Apache-2.0
#include "JpegPlanes.h"

#include <cstring>

namespace kelvane::decoder {

JpegPlanes::JpegPlanes(int pictureWidth, int pictureHeight) : width(pictureWidth), height(pictureHeight)
{
    constexpr std::size_t block = 16;
    const std::size_t lumaRow = (static_cast<std::size_t>(width) + block - 1) / block * block;
    const std::size_t rows = static_cast<std::size_t>(height);
    const std::size_t luma = lumaRow * rows;
    const std::size_t chroma = lumaRow / 2 * ((rows + 1) / 2);
    memory.reset(allocatePixels(luma + 2 * chroma));
    bytesPerRow = {lumaRow, lumaRow / 2, lumaRow / 2};
    if (memory)
        planes = {memory.get(), memory.get() + luma, memory.get() + luma + chroma};
}

bool JpegPlanes::take(
    const HevcPlanes &decoded, const std::optional<detail::HeifColour> &colour, const Place &place) noexcept
{
    const int matrix = colour ? colour->matrix : decoded.matrix;
    const bool isFullRange = colour ? colour->isFullRange : decoded.isFullRange;
    constexpr int unspecified = 2; // taken for BT.601 by everybody
    constexpr int bt470 = 5;
    constexpr int bt601 = 6;
    return decoded.depth == 8 && !decoded.isGrey && decoded.shiftX == 1 && decoded.shiftY == 1 && isFullRange
        && (matrix == unspecified || matrix == bt470 || matrix == bt601) && place.x % 2 == 0 && place.y % 2 == 0;
}

void JpegPlanes::copy(const HevcPlanes &decoded, const Place &place, int firstRow, int endRow) const noexcept
{
    for (std::size_t plane = 0; plane < planes.size(); ++plane) {
        const int shift = plane == 0 ? 0 : 1;
        const auto samples = static_cast<std::size_t>((place.width + shift) >> shift);
        const bool isRightEdge = place.x + place.width == width;
        const std::size_t left = static_cast<std::size_t>(place.x) >> shift;
        const std::size_t filler = isRightEdge ? bytesPerRow[plane] - left - samples : 0;
        for (int y = firstRow >> shift; y < (endRow + shift) >> shift; ++y) {
            const int row = (place.y >> shift) + y;
            std::uint8_t *to = planes[plane] + static_cast<std::size_t>(row) * bytesPerRow[plane] + left;
            std::memcpy(to, decoded.row<std::uint8_t>(plane, y), samples);
            std::memset(to + samples, to[samples - 1], filler);
        }
    }
}

} // namespace kelvane::decoder
