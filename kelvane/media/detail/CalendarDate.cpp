// SPDX-License-Identifier: Apache-2.0
#include "CalendarDate.h"

#include <chrono>
#include <optional>

namespace kelvane::detail {
namespace {

/// Takes one or more digits, at most `most`, off the front.
std::optional<int> takeNumber(std::string_view &text, std::size_t most)
{
    int number = 0;
    std::size_t count = 0;
    for (; count < most && count < text.size() && text[count] >= '0' && text[count] <= '9'; ++count)
        number = number * 10 + (text[count] - '0');
    if (count == 0)
        return std::nullopt;
    text.remove_prefix(count);
    return number;
}

} // namespace

Date calendarDate(std::string_view text)
{
    constexpr char separators[] = {'-', '-', 'T', ':', ':', 'Z'};
    constexpr std::size_t digits[] = {4, 2, 2, 2, 2, 2};
    int part[6] = {};
    for (std::size_t i = 0; i < 6; ++i) {
        const auto number = takeNumber(text, digits[i]);
        if (!number || !text.starts_with(separators[i]))
            return nullptr;
        text.remove_prefix(1);
        part[i] = *number;
    }
    using namespace std::chrono;
    const year_month_day day{
        year(part[0]), month(static_cast<unsigned>(part[1])), std::chrono::day(static_cast<unsigned>(part[2]))};
    // A minute of 61 seconds exists now and then.
    if (!text.empty() || !day.ok() || part[3] > 23 || part[4] > 59 || part[5] > 60)
        return nullptr;
    const auto time = sys_days(day).time_since_epoch() + hours(part[3]) + minutes(part[4]) + seconds(part[5]);
    return Date::fromSecondsSince1970(static_cast<double>(duration_cast<seconds>(time).count()));
}

} // namespace kelvane::detail
