// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Surface.h"

#include <kelvane/platform/detail/HeifContainer.h>
#include <kelvane/platform/detail/HeifFile.h>

namespace kelvane::decoder {

/// Decodes a file's primary picture where it is HEVC, in one piece or in tiles, with its alpha, as stored, on all cores.
///
/// This goes past libheif, because that would convert each picture twice, on one core, and would take its own decoder for
/// tiles whatever it is told: half the time of the whole.
class HevcPicture {
public:
    HevcPicture(const detail::HeifContainer &container, const detail::HeifFile &file);

    /// The photo, or none where the file is damaged, lies, or `isUnsupported`. In planes only if it may be, and JPEG has
    /// its colours.
    [[nodiscard]] Photo decode(bool mayHavePlanes);
    /// Whether the picture is no HEVC, or of a kind that another decoder may know.
    [[nodiscard]] bool isUnsupported() const noexcept { return _isUnsupported; }

private:
    class Tiles;

    [[nodiscard]] bool isHevc(std::uint32_t item) const;
    [[nodiscard]] bool decodeItem(std::uint32_t item, Surface &surface);
    [[nodiscard]] bool decodeGrid(std::uint32_t item, Surface &surface);
    [[nodiscard]] bool decodeSingle(std::uint32_t item, Surface &surface);
    [[nodiscard]] bool addAlpha(const Canvas &canvas);

    const detail::HeifItems &_items;
    const std::uint64_t _fileSize;
    const detail::HeifFile &_file;
    bool _isUnsupported = false;
};

} // namespace kelvane::decoder
