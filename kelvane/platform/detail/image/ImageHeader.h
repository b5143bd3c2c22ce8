// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ImageBytes.h"

#include <kelvane/platform/ImageFormat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kelvane::detail {

/// The most of an EXIF block or a profile that is kept.
inline constexpr std::size_t mostPropertyBytes = 16 << 20;

/// What a picture file's headers say.
struct ImageHeader {
    ImageFormat format = ImageFormat::Unknown;
    const char *typeIdentifier = "";
    std::uint32_t width = 0; ///< pixels as stored, 0 where the file does not say
    std::uint32_t height = 0;
    int orientation = 0; ///< 1 to 8; 0 as long as nothing but the EXIF block may tell
    std::vector<std::byte> exif = {}; ///< from the TIFF header on, empty where there is none
    std::vector<std::byte> iccProfile = {}; ///< empty where there is none
};

/// Nothing where the bytes are no picture of a known format; HEIF files are not looked for.
[[nodiscard]] std::optional<ImageHeader> readImageHeader(const ImageBytes &file);

// Each for files that begin as its format does.
[[nodiscard]] ImageHeader readJpegHeader(const ImageBytes &file);
[[nodiscard]] std::optional<ImageHeader> readPngHeader(const ImageBytes &file);
[[nodiscard]] ImageHeader readWebPHeader(const ImageBytes &file);
[[nodiscard]] ImageHeader readTiffHeader(const ImageBytes &file);

/// The known facts of an EXIF block, or a TIFF file, put together anew in a block of less than 64 KiB: without notes of
/// camera makers and thumbnails, without loops, with every value in it. Empty where it is none.
[[nodiscard]] std::vector<std::byte> compactExif(const ImageBytes &block);

} // namespace kelvane::detail
