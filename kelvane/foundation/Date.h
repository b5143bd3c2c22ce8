// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cmath>
#include <compare>
#include <limits>

namespace kelvane {

/// A point in time: seconds since the reference date, 2001-01-01 00:00:00 UTC. Nullable, eight bytes, a plain value.
///
/// Errors: nothing throws. A date made from a NaN is null.
class KELVANE_EXPORT Date {
public:
    /// Seconds from 1970-01-01 to the reference date.
    static constexpr double referenceDateSince1970 = 978307200.0;

    /// The null date.
    constexpr Date() noexcept = default;
    constexpr Date(std::nullptr_t) noexcept {}
    constexpr explicit Date(double secondsSince2001) noexcept : _seconds(secondsSince2001) {}

    [[nodiscard]] static constexpr Date fromSecondsSince1970(double seconds) noexcept
    {
        return Date(seconds - referenceDateSince1970);
    }
    /// The present time of the system's clock.
    [[nodiscard]] static Date now() noexcept;

    [[nodiscard]] bool isNull() const noexcept { return std::isnan(_seconds); }
    /// NaN for null.
    [[nodiscard]] constexpr double secondsSince2001() const noexcept { return _seconds; }
    /// NaN for null.
    [[nodiscard]] constexpr double secondsSince1970() const noexcept { return _seconds + referenceDateSince1970; }

    /// "2012-05-03T12:00:00Z": UTC, fractions of a second cut off. Null for the null date and outside the years
    /// 0000 to 9999.
    [[nodiscard]] String toIso8601() const;
    /// "2012-05-03 12:00:00 +0000", the standard text form; null as toIso8601().
    [[nodiscard]] String description() const;

    /// Compares points in time; null equals only null and orders before every date.
    friend bool operator==(Date a, Date b) noexcept { return (a <=> b) == 0; }
    friend std::weak_ordering operator<=>(Date a, Date b) noexcept
    {
        if (a.isNull() || b.isNull())
            return !a.isNull() <=> !b.isNull();
        if (a._seconds == b._seconds)
            return std::weak_ordering::equivalent;
        return a._seconds < b._seconds ? std::weak_ordering::less : std::weak_ordering::greater;
    }

private:
    double _seconds = std::numeric_limits<double>::quiet_NaN();
};

} // namespace kelvane
