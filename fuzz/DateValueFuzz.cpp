// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/StringExtensions.h>

#include <string>

void kelvane::fuzz(std::string_view input)
{
    const Date date = dateValue(String(input));
    const bool hasDigit = input.find_first_of("0123456789") != std::string_view::npos;
    require(date.isNull() || hasDigit, "a text without digits has no date");
    // Years 1 to 9999, and a day for time zones.
    require(
        date.isNull() || (date.secondsSince2001() > -63'114'163'200.0 && date.secondsSince2001() < 252'424'166'400.0),
        "a date has a year of four digits");
    require(dateValue(String(std::string(input) + " x")) == date, "a word behind the last date changes nothing");
    require(dateValue(String(std::string(input) + "; 2012-05-03T14:05:00Z")).secondsSince2001() == 357'746'700.0,
        "the last date of a text counts");
}
