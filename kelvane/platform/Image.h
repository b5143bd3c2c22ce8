// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstddef>
#include <cstdint>

namespace kelvane {

/// The pixels of a picture: red, green, blue and alpha, eight bits each, colours multiplied by alpha, rows from the
/// top. Never changes; a copy shares the pixels. The null image stands for "no picture".
///
/// Reads the first picture of JPEG and PNG files; of GIF, BMP, TIFF and WebP files where the media module is there; of
/// HEIC files where the decoder module is. Each failure for want of a module writes one line to the log.
///
/// A picture has at most `mostPixels` and its file at most `mostFileBytes`; what claims more is refused before any
/// memory is spent on it. Decoding takes at most 512 MiB, the result included.
///
/// Threads: any thread, any operation.
/// Errors: nothing throws but std::bad_alloc; what cannot be read gives the null image.
class KELVANE_EXPORT Image {
public:
    /// Lets the largest photos of phones through, 108 megapixels.
    static constexpr std::int64_t mostPixels = 112'000'000;
    static constexpr std::int64_t mostFileBytes = 256 << 20;

    Image() noexcept = default;
    /// `pixels` holds `height` rows of `width` times four bytes without gaps; the null image where it does not.
    Image(Data pixels, std::int32_t width, std::int32_t height, Data iccProfile = {}, std::int32_t orientation = 1);

    /// The picture as it is stored: not turned as its EXIF orientation says (see upright()), but a HEIC photo, which
    /// is turned by its own rules, is upright. Where `maximumEdge` is above 0 the picture is scaled down so that neither
    /// side is longer; JPEG files are then decoded in less time and memory.
    [[nodiscard]] static Image fromFile(const String &path, std::int32_t maximumEdge = 0);
    /// The same of a whole file in memory.
    [[nodiscard]] static Image fromData(const Data &file, std::int32_t maximumEdge = 0);

    [[nodiscard]] bool isNull() const noexcept { return _pixels.isNull(); }
    /// In pixels, 0 of the null image.
    [[nodiscard]] std::int32_t width() const noexcept { return _width; }
    [[nodiscard]] std::int32_t height() const noexcept { return _height; }
    [[nodiscard]] std::size_t bytesPerRow() const noexcept { return static_cast<std::size_t>(_width) * 4; }
    /// `height` rows of bytesPerRow() bytes.
    [[nodiscard]] const Data &pixels() const noexcept { return _pixels; }
    /// The ICC profile of the colours; null means sRGB.
    [[nodiscard]] const Data &iccProfile() const noexcept { return _iccProfile; }
    /// How the pixels lie, as EXIF counts: 1 is upright, 6 is to be turned clockwise by 90 degrees for viewing.
    [[nodiscard]] std::int32_t orientation() const noexcept { return _orientation; }

    /// Whether all of it is opaque. Looks at every pixel.
    [[nodiscard]] bool isOpaque() const noexcept;
    /// The picture turned and mirrored so that its orientation is 1.
    [[nodiscard]] Image upright() const;
    /// The picture scaled down so that neither side is longer than `maximumEdge` pixels, and no side gets lost; itself
    /// where it fits already. Each new pixel is the mean of those that it covers.
    [[nodiscard]] Image scaledToFit(std::int32_t maximumEdge) const;

private:
    Data _pixels;
    Data _iccProfile;
    std::int32_t _width = 0;
    std::int32_t _height = 0;
    std::int32_t _orientation = 1;
};

} // namespace kelvane
