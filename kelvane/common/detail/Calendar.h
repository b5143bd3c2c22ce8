// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>

#include <cstdint>

namespace kelvane::detail {

/// A date and time as calendars show them, in the Gregorian calendar, without a time zone.
struct CivilTime {
    int year; ///< 1 to 9999
    int month; ///< 1 to 12
    int day; ///< 1 to daysInMonth()
    int hour = 0;
    int minute = 0;
    double second = 0;
};

[[nodiscard]] int daysInMonth(int year, int month) noexcept;

/// The point in time at which clocks `offset` seconds east of Greenwich show `time`.
[[nodiscard]] Date dateAtOffset(const CivilTime &time, int offset) noexcept;

/// The point in time at which clocks of the local time zone show `time`. Of two such points, where clocks are set
/// back, the first; where clocks are set forward and never show `time`, the point as far behind the change as
/// `time` lies behind it.
[[nodiscard]] Date dateInLocalZone(const CivilTime &time) noexcept;

/// How many seconds local clocks are ahead of Greenwich at `date`; 0 where the calendar does not reach.
[[nodiscard]] std::int32_t localOffset(Date date) noexcept;

} // namespace kelvane::detail
