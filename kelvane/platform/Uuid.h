// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <array>
#include <cstdint>
#include <optional>

namespace kelvane {

/// The 16 bytes of a UUID, in the order of its text form. A plain value.
struct KELVANE_EXPORT Uuid {
    std::array<std::uint8_t, 16> bytes{};

    /// A new random one, from a generator of cryptographic quality.
    [[nodiscard]] static Uuid generate() noexcept;
    /// The one that `text` is, 36 characters with hyphens, letters of either case; nothing where it is none.
    [[nodiscard]] static std::optional<Uuid> fromString(const String &text) noexcept;

    /// 36 characters, letters in upper case.
    [[nodiscard]] String string() const;

    friend bool operator==(const Uuid &, const Uuid &) = default;
};

} // namespace kelvane
