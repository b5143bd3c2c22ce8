// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/platform/detail/Base64Blocks.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace kelvane::detail {

/// What each byte stands for: 0 to 63, or base64Invalid.
using Base64ReverseTable = std::array<std::uint8_t, 256>;
constexpr std::uint8_t base64Invalid = 99;

constexpr char base64Charset[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

[[nodiscard]] constexpr Base64ReverseTable base64ReverseOf(const char *charset) noexcept
{
    Base64ReverseTable table{};
    table.fill(base64Invalid);
    for (std::uint8_t value = 0; value < 64; ++value)
        table[static_cast<unsigned char>(charset[value])] = value;
    return table;
}

constexpr Base64ReverseTable base64Reverse = base64ReverseOf(base64Charset);

/// The text of `length` bytes in the 64 characters of `charset`; null for no bytes. `blocks` are used for the standard
/// alphabet; the result is the same with any.
[[nodiscard]] KELVANE_EXPORT Data baseEncode(const void *bytes, std::size_t length, const char *charset, bool padded,
    const Base64Blocks &blocks = base64Blocks());
/// The bytes of a text; null for a malformed text and for one that stands for no bytes.
[[nodiscard]] KELVANE_EXPORT Data baseDecode(const void *bytes, std::size_t length, const Base64ReverseTable &charset,
    bool requirePadding, const Base64Blocks &blocks = base64Blocks());

/// The same between buffers: bytes written, 0 for failure, a destination that is too small included. What the
/// destination holds behind them, or after a failure, is undefined.
[[nodiscard]] KELVANE_EXPORT std::size_t baseEncode(const std::uint8_t *srcBytes, std::size_t srcLen, char *destBytes,
    std::size_t destLen, const char *charset, bool padded, const Base64Blocks &blocks = base64Blocks()) noexcept;
[[nodiscard]] KELVANE_EXPORT std::size_t baseDecode(const char *srcBytes, std::size_t srcLen, std::uint8_t *destBytes,
    std::size_t destLen, const Base64ReverseTable &charset, bool requirePadding,
    const Base64Blocks &blocks = base64Blocks()) noexcept;

} // namespace kelvane::detail
