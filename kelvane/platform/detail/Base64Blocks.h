// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace kelvane::detail {

/// How far a run of blocks came.
struct Base64Progress {
    std::size_t read; ///< bytes taken from the source
    std::size_t written; ///< bytes in the destination that count
};

/// The plain middle of a long Base64 text, in the standard alphabet: whole groups, nothing but groups. Whatever needs
/// a rule (the end, padding, characters to skip or to refuse) is left to the caller, so that a faster way cannot
/// differ from a slower one in anything but where it stops.
struct Base64Blocks {
    const char *name;

    /// Encodes groups of three bytes from the front, as many as it likes. `room` is at least 4 / 3 of the source;
    /// no byte beyond it is written, but bytes beyond those that count may be.
    Base64Progress (*encode)(const std::uint8_t *source, std::size_t size, char *out, std::size_t room) noexcept;

    /// Decodes groups of four characters of the alphabet from the front, as many as it likes, and goes no further than
    /// the first other character; line breaks between groups may be passed over. No byte beyond `room` is written, but
    /// bytes beyond those that count may be.
    Base64Progress (*decode)(
        const unsigned char *source, std::size_t size, std::uint8_t *out, std::size_t room) noexcept;
};

/// The ways that this processor has: the portable one first, the fastest one last.
[[nodiscard]] KELVANE_EXPORT std::span<const Base64Blocks> base64BlocksHere() noexcept;
/// The fastest one.
[[nodiscard]] KELVANE_EXPORT const Base64Blocks &base64Blocks() noexcept;

} // namespace kelvane::detail
