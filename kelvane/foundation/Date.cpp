// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Date.h>

#include <chrono>
#include <cstdio>

namespace kelvane {

namespace {

/// Year, month, day, hour, minute and second of `date` in UTC, printed by `format`.
String printed(Date date, const char *format)
{
    using namespace std::chrono;
    constexpr double firstSecond = -62167219200.0; // 0000-01-01 since 1970
    constexpr double lastSecond = 253402300800.0; // 10000-01-01 since 1970
    const double since1970 = date.secondsSince1970();
    if (!(since1970 >= firstSecond && since1970 < lastSecond))
        return {};
    const auto whole = sys_seconds(seconds(static_cast<std::int64_t>(std::floor(since1970))));
    const auto day = floor<days>(whole);
    const year_month_day calendar(day);
    const hh_mm_ss time(whole - day);
    char text[64];
    std::snprintf(text, sizeof text, format, static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
        static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
        static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    return text;
}

} // namespace

Date Date::now() noexcept
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return fromSecondsSince1970(std::chrono::duration<double>(sinceEpoch).count());
}

String Date::toIso8601() const
{
    return printed(*this, "%04d-%02u-%02uT%02d:%02d:%02dZ");
}

String Date::description() const
{
    return printed(*this, "%04d-%02u-%02u %02d:%02d:%02d +0000");
}

} // namespace kelvane
