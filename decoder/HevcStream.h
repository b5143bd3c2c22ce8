// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/HeifBoxes.h>
#include <kelvane/platform/detail/HeifFile.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace kelvane::decoder {

/// An HEVC item of a HEIF file as its decoder wants it.
struct HevcStream {
    std::vector<std::uint8_t> units; ///< parameter sets and picture, each unit with a start code before it
    std::optional<detail::HeifColour> colour; ///< that the item names for itself
};

/// Nothing where the item is no HEVC, is over 128 MiB, or is not all there.
[[nodiscard]] std::optional<HevcStream> readHevcStream(const detail::HeifItems &items, std::uint32_t item);

/// What the "ispe" property says, 0 where there is none.
struct ItemSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};
[[nodiscard]] ItemSize sizeOf(const detail::HeifItems &items, std::uint32_t item);

} // namespace kelvane::decoder
