// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/Calendar.h>

#include <chrono>
#include <cmath>
#include <ctime>

namespace kelvane::detail {

int daysInMonth(int year, int month) noexcept
{
    using namespace std::chrono;
    const auto last = std::chrono::year(year) / std::chrono::month(static_cast<unsigned>(month)) / std::chrono::last;
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

Date dateAtOffset(const CivilTime &time, int offset) noexcept
{
    using namespace std::chrono;
    const sys_days day = std::chrono::year(time.year) / std::chrono::month(static_cast<unsigned>(time.month))
        / std::chrono::day(static_cast<unsigned>(time.day));
    const auto seconds = static_cast<double>(day.time_since_epoch().count()) * 86400.0 + time.hour * 3600.0
        + time.minute * 60.0 + time.second;
    return Date::fromSecondsSince1970(seconds - offset);
}

Date dateInLocalZone(const CivilTime &time) noexcept
{
    // mktime() would answer by what the process asked before where a time comes twice. A day away on either side lie
    // the two offsets that can apply, whatever the zone.
    constexpr double day = 86400;
    const Date atGreenwich = dateAtOffset(time, 0);
    const std::int32_t before = localOffset(Date(atGreenwich.secondsSince2001() - day));
    const std::int32_t after = localOffset(Date(atGreenwich.secondsSince2001() + day));
    const Date first = dateAtOffset(time, before);
    const Date second = dateAtOffset(time, after);
    return localOffset(first) != before && localOffset(second) == after ? second : first;
}

std::int32_t localOffset(Date date) noexcept
{
    const double seconds = std::floor(date.secondsSince1970());
    if (!(std::abs(seconds) < 1e15))
        return 0;
    const auto time = static_cast<std::time_t>(seconds);
    std::tm local = {};
    return localtime_r(&time, &local) ? static_cast<std::int32_t>(local.tm_gmtoff) : 0;
}

} // namespace kelvane::detail
