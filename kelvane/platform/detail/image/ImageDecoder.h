// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/Image.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kelvane::detail {

/// The most memory that decoding takes, the result included.
inline constexpr std::size_t mostDecodingBytes = std::size_t{512} << 20;

/// Pixels as an Image has them; null data where decoding failed.
struct Pixels {
    Data data;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// Decodes a JPEG file. Where `maximumEdge` is above 0, to a half, a quarter or an eighth of its size as long as the
/// longer edge is not below that. A file that ends early is grey from there on, as everywhere.
[[nodiscard]] Pixels decodeJpeg(std::span<const std::byte> file, std::int32_t maximumEdge);
[[nodiscard]] Pixels decodePng(std::span<const std::byte> file);
/// The bytes of a PNG file; empty where that fails. `exif` and `iccProfile` may be empty.
[[nodiscard]] std::vector<std::byte> encodePng(
    const Image &image, std::span<const std::byte> exif, std::span<const std::byte> iccProfile);

/// The image of a whole file; `path` is where it lies, null where it is in memory only.
[[nodiscard]] Image decodeImage(const Data &file, const String &path, std::int32_t maximumEdge);

/// A colour as it is stored where alpha covers part of it.
[[nodiscard]] constexpr std::uint8_t multiplied(std::uint8_t colour, std::uint8_t alpha) noexcept
{
    return static_cast<std::uint8_t>((colour * alpha + 127) / 255);
}
/// Multiplies the colours of `count` pixels by their alpha.
void multiplyByAlpha(std::uint8_t *pixels, std::size_t count) noexcept;

} // namespace kelvane::detail
