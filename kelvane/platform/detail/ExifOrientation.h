// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kelvane::detail {

/// What a picture that was written anew says of itself.
struct NewPictureFacts {
    std::uint16_t orientation = 1; ///< of EXIF, 1 to 8
    std::uint32_t width = 0; ///< pixels
    std::uint32_t height = 0;
};

/// The EXIF block (from its TIFF header on) with these facts in place of its own, and without the thumbnail, whose
/// orientation would be another's. Everything else stays, byte by byte, at its place: camera makers' notes count on that.
/// A block with nothing but the orientation where it is null, or is none.
[[nodiscard]] std::vector<std::byte> exifWith(const NewPictureFacts &facts, std::vector<std::byte> exif);

/// The XMP packet with this orientation in place of its own, if it names one.
[[nodiscard]] std::vector<std::byte> xmpWithOrientation(std::uint16_t orientation, std::vector<std::byte> xmp);

} // namespace kelvane::detail
