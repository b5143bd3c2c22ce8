// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane::detail {

/// What the decoder module answers with. The layout is a contract between two binaries: any decoder of HEIF files that
/// fills it can take the module's place.
struct DecodedPicture {
    std::int32_t width; ///< pixels
    std::int32_t height; ///< pixels
    std::int32_t bytesPerRow;
    std::int32_t unused;
    std::int32_t rotation; ///< clockwise degrees at which the pixels lie: 0, 90, 180 or 270
    std::uint8_t *pixels; ///< RGBA, 8 bits each, alpha last and premultiplied
};

/// A photo whose colours are coded as a JPEG file codes them (YCbCr of BT.601, 8 bits, full range, chroma at half the size
/// both ways), which goes into one without a detour that costs time and rounds twice.
struct DecodedPlanes {
    std::int32_t width; ///< pixels
    std::int32_t height; ///< pixels
    std::int32_t rotation; ///< as above
    std::int32_t bytesPerRow[3];
    /// Y, Cb, Cr. Each row is filled up with its last sample to a whole number of 16 (chroma: 8).
    std::uint8_t *planes[3];
};

/// File name of the module, the same on every system.
inline constexpr char decoderModuleName[] = "libheif.dylib";
/// The only number of bytes per pixel that the module knows.
inline constexpr std::int32_t decodedBytesPerPixel = 4;

inline constexpr char decodeImageDataName[] = "DecodeImageData";
inline constexpr char freeImageDataName[] = "FreeImageData";
inline constexpr char decodePhotoName[] = "DecodePhoto";
inline constexpr char freePlanesName[] = "FreePlanes";

/// Decodes the primary picture of the file at `path` (UTF-8) and points `*picture` to it; false, with `*picture` null,
/// where that fails. The pixels lie as they are stored, turned by `rotation`, unless the file mirrors or crops them, too:
/// then all of that is done, and `rotation` is 0. Any thread, several at once.
using DecodeImageData = bool (*)(const char *path, std::int32_t bytesPerPixel, DecodedPicture **picture);
/// Frees what DecodeImageData gave; null is nothing.
using FreeImageData = void (*)(DecodedPicture *picture);

/// As DecodeImageData, but gives `*planes` instead of `*picture` where the photo has them and all that is to be done to it
/// is a rotation. A decoder that takes the module's place may lack this and FreePlanes.
using DecodePhoto = bool (*)(const char *path, DecodedPicture **picture, DecodedPlanes **planes);
/// Frees what DecodePhoto gave; null is nothing.
using FreePlanes = void (*)(DecodedPlanes *planes);

} // namespace kelvane::detail
