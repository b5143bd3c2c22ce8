// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <cstdint>

namespace kelvane {

/// The version of the system's interfaces, which some operations ask for before they use what came with it.
///
/// The numbers are those of the platform that the interfaces come from. Elsewhere this library's own code stands in
/// for all of them, and the answer is 11.0, whatever the version of the kernel.
///
/// Threads: any.
struct KELVANE_EXPORT SystemVersion {
    std::int32_t majorNumber;
    std::int32_t minorNumber;

    [[nodiscard]] static SystemVersion current() noexcept;
    /// Lets the process see another version, as an application that tries its fallbacks wants it. Returns the one
    /// before.
    static SystemVersion setCurrent(SystemVersion version) noexcept;

    /// Whether this version is the given one or a later one.
    [[nodiscard]] bool isAtLeast(std::int32_t wantedMajor, std::int32_t wantedMinor) const noexcept
    {
        return majorNumber > wantedMajor || (majorNumber == wantedMajor && minorNumber >= wantedMinor);
    }
};

} // namespace kelvane
