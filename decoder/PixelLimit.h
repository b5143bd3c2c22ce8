// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

namespace kelvane::decoder {

/// Pixels that `bytes` of a file are believed to hold.
///
/// A file may always have as many as phones take (8192 x 6144, 50 megapixels): decoded that is 200 MB, and another 150
/// at the worst on the way there. More is believed where the file is as large as a photo of that size would be, with a
/// good reserve: cameras spend a bit a pixel, not a tenth. A few bytes that claim a gigapixel are a lie.
[[nodiscard]] constexpr std::int64_t pixelLimit(std::uint64_t bytes) noexcept
{
    constexpr std::int64_t always = 8192 * 6144;
    constexpr std::uint64_t pixelsPerByte = 80;
    constexpr std::uint64_t most = 1U << 30;
    return std::max(always, static_cast<std::int64_t>(std::min(bytes, most / pixelsPerByte) * pixelsPerByte));
}

} // namespace kelvane::decoder
