// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kelvane::detail {

/// The numbers by which a file names its colours (ITU-T H.273), where it carries no ICC profile.
struct HeifColour {
    std::uint16_t primaries = 2; ///< 1 is BT.709 and sRGB, 9 BT.2020, 12 Display P3, 2 unspecified
    std::uint16_t transfer = 2; ///< 13 is sRGB, 16 PQ, 18 HLG
    std::uint16_t matrix = 2;
    bool isFullRange = false;

    bool operator==(const HeifColour &) const = default;
};

/// A picture that is put together from tiles of one size.
struct HeifGrid {
    std::uint32_t rows = 0;
    std::uint32_t columns = 0;
    std::uint32_t width = 0; ///< pixels of the whole, which the tiles may exceed
    std::uint32_t height = 0;
    std::size_t tiles = 0; ///< that the file names: rows * columns in a file that is whole
};

/// One of the things to be done to the stored picture before it is shown, in the order of the file.
struct HeifTransform {
    enum class Kind { crop, turn, mirror };

    Kind kind = Kind::turn;
    int quarters = 0; ///< of a turn, anticlockwise
    bool isSideways = false; ///< of a mirror: left and right change places, else top and bottom
    std::uint32_t left = 0; ///< of a crop: what is kept of the picture as it is at that point
    std::uint32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

class HeifContainer;

/// What a HEIF file (HEIC and AVIF photos) says of its primary picture without decoding it: size, how it lies, colour,
/// EXIF. Made for files of unknown origin: what does not fit its box is left out, and what is kept is bounded (headers
/// 16 MiB, EXIF, XMP and profile 16 MiB each), whatever the file claims.
///
/// Uses the C++ library only, because the decoder module, which does not link ours, has it built in.
///
/// Threads: a value; any number may be read at once.
/// Errors: nothing throws but std::bad_alloc; no answer where the file cannot be read or is no HEIF file.
struct HeifFile {
    /// Reads the file's headers; the rest of it is not read. Never waits for a FIFO or wakes a device.
    [[nodiscard]] static std::optional<HeifFile> read(const std::string &path);
    /// The same of a file in memory.
    [[nodiscard]] static std::optional<HeifFile> parse(std::span<const std::byte> file);
    /// The same of a file that is open.
    [[nodiscard]] static std::optional<HeifFile> describe(const HeifContainer &container);

    std::string majorBrand; ///< four characters
    std::vector<std::string> compatibleBrands;

    std::string itemType; ///< of the primary item: "hvc1", "grid", "av01", …
    /// Stored size in pixels, before anything below is done to it; 0 where the file gives none.
    std::uint32_t storedWidth = 0;
    std::uint32_t storedHeight = 0;
    /// Size in pixels after cropping and turning.
    std::uint32_t uprightWidth = 0;
    std::uint32_t uprightHeight = 0;
    /// Anticlockwise degrees by which the stored picture is turned for viewing, 0 to 270; the sum where several are given.
    /// As EXIF counts, the stored picture lies at this angle clockwise.
    int rotation = 0;
    std::vector<HeifTransform> transforms;
    bool isMirrored = false;
    bool isCropped = false;
    /// Whether the stored pixels need nothing but `rotation` to be upright.
    [[nodiscard]] bool isOnlyTurned() const noexcept { return !isMirrored && !isCropped; }
    /// The EXIF orientation (1 to 8) that a file of the same pixels as stored would need, cropping left aside. The EXIF
    /// block's own orientation is information only: whoever shows the picture turns it by this one, once.
    int orientation = 1;

    std::optional<HeifGrid> grid; ///< where the primary item is one
    bool hasAlpha = false;
    std::uint32_t alphaItem = 0; ///< its number
    bool isPremultiplied = false; ///< colour by alpha
    std::uint8_t bitsPerChannel = 0; ///< 0 where the file does not say

    std::vector<std::byte> iccProfile; ///< of the primary item, empty where there is none
    std::optional<HeifColour> colour; ///< of the primary item
    std::vector<std::byte> exif; ///< from the TIFF header ("II*" or "MM") on, empty where there is none
    std::vector<std::byte> xmp; ///< empty where there is none
};

class HeifItems;
/// The shape of the grid that an item is; nothing where it is none.
[[nodiscard]] std::optional<HeifGrid> readHeifGrid(const HeifItems &items, std::uint32_t item);

/// An ICC profile for pixels that were converted to RGB from such colours; empty where that is sRGB anyway, or where
/// the numbers are unknown. Without it a viewer takes the pixels for sRGB, and a Display P3 photo looks dull.
[[nodiscard]] std::vector<std::byte> iccProfileOf(const HeifColour &colour);
/// The profile that describes the decoded pixels of the file: its own, else one made of its colour numbers, else empty,
/// which means sRGB.
[[nodiscard]] std::vector<std::byte> iccProfileOf(const HeifFile &file);

} // namespace kelvane::detail
