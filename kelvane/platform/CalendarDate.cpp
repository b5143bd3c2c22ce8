// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/CalendarDate.h>

#include <cmath>
#include <ctime>

namespace kelvane {

String CalendarDate::description() const
{
    const double seconds = std::floor(date.secondsSince1970());
    if (!(std::abs(seconds) < 1e15))
        return {};
    const auto time = static_cast<std::time_t>(seconds);
    std::tm shown = {};
    char text[256];
    if (!gmtime_r(&time, &shown) || std::strftime(text, sizeof text, calendarFormat.c_str(), &shown) == 0)
        return {};
    return text;
}

} // namespace kelvane
