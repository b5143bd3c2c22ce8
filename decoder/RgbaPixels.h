// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HevcDecoder.h"

#include <kelvane/platform/detail/HeifFile.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

namespace kelvane::decoder {

/// In large pages where the system has them: to get the memory of a photo page by page takes a tenth of the time. Null
/// where memory ended; std::free() frees it.
[[nodiscard]] std::uint8_t *allocatePixels(std::size_t size) noexcept;

/// Pixels of four bytes or one, rows without gaps, allocated as FreeImageData frees them; null where memory ended.
struct Canvas {
    struct Free {
        void operator()(std::uint8_t *memory) const noexcept { std::free(memory); }
    };
    using Pixels = std::unique_ptr<std::uint8_t, Free>;

    Canvas() = default;
    Canvas(int canvasWidth, int canvasHeight, int canvasBytesPerPixel)
        : width(canvasWidth),
          height(canvasHeight),
          bytesPerPixel(static_cast<unsigned int>(canvasBytesPerPixel)),
          pixels(allocatePixels(rowBytes() * static_cast<std::size_t>(canvasHeight)))
    {
    }

    [[nodiscard]] std::size_t rowBytes() const noexcept { return static_cast<std::size_t>(width) * bytesPerPixel; }
    [[nodiscard]] std::uint8_t *row(int y) const noexcept
    {
        return pixels.get() + static_cast<std::size_t>(y) * rowBytes();
    }

    int width = 0;
    int height = 0;
    unsigned int bytesPerPixel = 4;
    Pixels pixels;
};

/// Where a decoded picture or tile goes on the canvas; it must be there, all or in part.
struct Place {
    int x = 0;
    int y = 0;
    int width = 0; ///< what of it counts
    int height = 0;
};

/// Writes rows `firstRow` to `endRow` of a picture at its place, as opaque RGBA. Its colours are those that the file
/// names, else those of the stream. An even `firstRow`, please: rows share chroma.
///
/// Chroma that is coded at half the size is repeated, not smoothed: a JPEG with the usual subsampling then gets back
/// exactly what the photo has.
void paintColour(const HevcPlanes &planes, const std::optional<detail::HeifColour> &colour, const Canvas &canvas,
    const Place &place, int firstRow, int endRow);

/// The same of luma alone, on a canvas of one byte a pixel.
void paintAlpha(const HevcPlanes &planes, const Canvas &canvas, const Place &place, int firstRow, int endRow);

/// Gives the pixels the alpha of another canvas, scaled to their size, and multiplies them by it unless they are.
void applyAlpha(const Canvas &pixels, const Canvas &alpha, bool isPremultiplied, int firstRow, int endRow);

/// The canvas after what the file asks for; empty where memory ended.
[[nodiscard]] Canvas transformed(Canvas canvas, const std::vector<detail::HeifTransform> &transforms);

} // namespace kelvane::decoder
