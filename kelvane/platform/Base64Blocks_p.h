// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/Base64Blocks.h>

namespace kelvane::detail {

/// How many of the characters at `source` a vector takes whose first `clean` ones are of the alphabet and whose next
/// one is not: the whole groups before that one, and line breaks where they stand right behind a group. No more than
/// `clean` means that the caller's rules are needed now.
inline std::size_t charactersTaken(const unsigned char *source, const unsigned char *end, std::size_t clean) noexcept
{
    if (clean % 4 != 0)
        return clean / 4 * 4;
    const unsigned char *next = source + clean;
    while (next != end && (*next == '\n' || *next == '\r'))
        ++next;
    return static_cast<std::size_t>(next - source);
}

constexpr std::size_t mostVectorBase64Blocks = 3;
/// Writes down the ways by which the vector unit of this processor works, slowest first, and returns how many.
[[nodiscard]] std::size_t addVectorBase64Blocks(std::span<Base64Blocks> ways) noexcept;

} // namespace kelvane::detail
