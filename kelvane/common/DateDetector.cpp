// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/DateDetector.h>

#include <kelvane/common/DateReader_p.h>
#include <kelvane/common/detail/Calendar.h>

#include <array>
#include <optional>

// How it stays linear: a date is tried for where a run of digits or letters begins, every try looks at a fixed number
// of bytes at the most, and what was tried in vain is not tried again.

namespace kelvane::detail {

namespace {

struct Zone {
    std::string_view name;
    int hours;
};

constexpr Zone zones[] = {{"z", 0}, {"gmt", 0}, {"utc", 0}, {"ut", 0}, {"est", -5}, {"edt", -4}, {"cst", -6},
    {"cdt", -5}, {"mst", -7}, {"mdt", -6}, {"pst", -8}, {"pdt", -7}};

/// 1 to 12 for an English month's name or its first three letters ("sept" too), 0 for anything else.
int monthOf(std::string_view word) noexcept
{
    constexpr std::string_view names[] = {"january", "february", "march", "april", "may", "june", "july", "august",
        "september", "october", "november", "december"};
    std::array<char, longestWord> folded;
    for (std::size_t i = 0; i < word.size(); ++i)
        folded[i] = lower(word[i]);
    const std::string_view name(folded.data(), word.size());
    for (int month = 1; month <= 12; ++month) {
        const auto full = names[month - 1];
        if (name == full || name == full.substr(0, 3) || (month == 9 && name == "sept"))
            return month;
    }
    return 0;
}

/// A date as far as it was read. `hasTime` and `hasZone` say which fields count.
struct Match {
    CivilTime time{};
    bool hasTime = false;
    bool hasZone = false;
    int offset = 0; ///< seconds east of Greenwich
    std::size_t end = 0; ///< where reading goes on

    bool setDay(int year, int month, int day) noexcept
    {
        if (year < 1 || month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month))
            return false;
        time.year = year;
        time.month = month;
        time.day = day;
        return true;
    }

    [[nodiscard]] Date date() const noexcept
    {
        CivilTime shown = time;
        if (!hasTime)
            shown.hour = 12; // like the original detector: noon stays on its day in the zones around
        return hasZone ? dateAtOffset(shown, offset) : dateInLocalZone(shown);
    }
};

/// "+0200", "+02:00" or, where `mayBeShort`, "+02".
bool readOffset(Reader &reader, bool mayBeShort, Match &match) noexcept
{
    Reader ahead = reader;
    const bool isWest = ahead.peek() == '-';
    if (!ahead.take('+') && !ahead.take('-'))
        return false;
    const auto hours = ahead.twoDigits();
    if (!hours)
        return false;
    const bool hasColon = ahead.peek() == ':' && ahead.take(':');
    const auto minutes = ahead.twoDigits();
    if ((!minutes && (hasColon || !mayBeShort)) || *hours > 14 || minutes.value_or(0) > 59 || isDigit(ahead.peek()))
        return false;
    match.offset = (*hours * 3600 + minutes.value_or(0) * 60) * (isWest ? -1 : 1);
    match.hasZone = true;
    reader = ahead;
    return true;
}

/// The zone behind a time, "Z" and offsets attached or after blanks, names also with an offset ("GMT+0200"). A dash
/// right behind the time begins an offset only where `mayBeWest`, else the end of a range.
void readZone(Reader &reader, bool mayBeWest, Match &match) noexcept
{
    if ((mayBeWest || reader.peek() == '+') && readOffset(reader, true, match))
        return;
    if (reader.peek() == '-')
        return;
    Reader ahead = reader;
    ahead.blanks();
    if (readOffset(ahead, false, match)) {
        reader = ahead;
        return;
    }
    for (const Zone &zone : zones) {
        if (!ahead.takeWord(zone.name))
            continue;
        match.offset = zone.hours * 3600;
        match.hasZone = true;
        if (zone.hours == 0)
            readOffset(ahead, true, match);
        reader = ahead;
        return;
    }
}

/// "am", "p.m." and so on: 'a', 'p' or nothing.
char readHalf(Reader &reader) noexcept
{
    Reader ahead = reader;
    ahead.blanks();
    const char half = lower(ahead.peek());
    if ((half != 'a' && half != 'p') || !ahead.take(half))
        return '\0';
    const bool hasDots = ahead.take('.');
    if (!ahead.take('m') || isLetter(ahead.peek()) || isDigit(ahead.peek()))
        return '\0';
    if (hasDots)
        ahead.take('.');
    reader = ahead;
    return half;
}

/// The digits after the decimal sign of a second.
double readFraction(Reader &reader) noexcept
{
    if ((reader.peek() != '.' && reader.peek() != ',') || !isDigit(reader.peek(1)))
        return 0;
    reader.take(reader.peek());
    double fraction = 0;
    double weight = 0.1;
    for (int digits = 0; digits < 12 && isDigit(reader.peek()); ++digits, weight /= 10) {
        fraction += (reader.peek() - '0') * weight;
        reader.take(reader.peek());
    }
    return fraction;
}

bool setClock(Match &match, int hour, int minute, double second) noexcept
{
    if (hour > 23 || minute > 59 || second >= 61)
        return false;
    match.time.hour = hour;
    match.time.minute = minute;
    match.time.second = second;
    match.hasTime = true;
    return true;
}

/// "14:05", "14:05:30.5", "2:05 pm", "2 pm", with a zone. `isIso` where a "T" stood before it.
bool readClock(Reader &reader, bool isIso, Match &match) noexcept
{
    Reader ahead = reader;
    Match read = match;
    const auto hour = ahead.number(1, 2);
    if (!hour)
        return false;
    int minute = 0;
    double second = 0;
    bool hasSecond = false;
    const bool hasMinute = ahead.take(':');
    if (hasMinute) {
        const auto minutes = ahead.number(2, 2);
        if (!minutes)
            return false;
        minute = minutes->value;
        if (ahead.peek() == ':') {
            ahead.take(':');
            const auto seconds = ahead.number(2, 2);
            if (!seconds)
                return false;
            second = seconds->value + readFraction(ahead);
            hasSecond = true;
        }
    }
    int hours = hour->value;
    const char half = readHalf(ahead);
    if (half != '\0') {
        if (hours < 1 || hours > 12)
            return false;
        hours = hours % 12 + (half == 'p' ? 12 : 0);
    } else if (!hasMinute) {
        return false;
    }
    if (!setClock(read, hours, minute, second))
        return false;
    readZone(ahead, isIso || hasSecond, read);
    if (!ahead.isAtEnd(true))
        return false;
    reader = ahead;
    match = read;
    return true;
}

/// ISO 8601's basic form after the "T": "1405", "140530.5", also "14" alone.
bool readBasicClock(Reader &reader, Match &match) noexcept
{
    Reader ahead = reader;
    Match read = match;
    const auto hour = ahead.twoDigits();
    const auto minute = ahead.twoDigits();
    const auto second = ahead.twoDigits();
    if (!hour || !setClock(read, *hour, minute.value_or(0), second.value_or(0) + (second ? readFraction(ahead) : 0)))
        return false;
    readZone(ahead, true, read);
    if (!ahead.isAtEnd(true))
        return false;
    reader = ahead;
    match = read;
    return true;
}

/// A time after a date: attached by "T", or after blanks, a comma, "at".
void readTimeAfter(Reader &reader, Match &match) noexcept
{
    Reader ahead = reader;
    if (ahead.take('t')) {
        if (readClock(ahead, true, match) || readBasicClock(ahead, match))
            reader = ahead;
        return;
    }
    ahead.take(',');
    if (!ahead.blanks())
        return;
    if (ahead.takeWord("at") && !ahead.blanks())
        return;
    if (readClock(ahead, false, match))
        reader = ahead;
}

/// 2012-05-03, 2012/05/03, 20120503.
bool readYearFirst(Reader &reader, Match &match) noexcept
{
    if (const auto all = reader.number(8, 8)) {
        // Other numbers of eight digits are far more often a number than a date.
        const int year = all->value / 10000;
        return year >= 1900 && year <= 2099 && match.setDay(year, all->value / 100 % 100, all->value % 100);
    }
    const auto year = reader.number(4, 4);
    const char separator = reader.peek();
    if (!year || (separator != '-' && separator != '/') || !reader.take(separator))
        return false;
    const auto month = reader.number(1, 2);
    if (!month || !reader.take(separator))
        return false;
    const auto day = reader.number(1, 2);
    return day && match.setDay(year->value, month->value, day->value);
}

/// 05/03/2012 (month first), 3.5.2012 (day first).
bool readYearLast(Reader &reader, Match &match) noexcept
{
    const auto first = reader.number(1, 2);
    const char separator = reader.peek();
    if (!first || (separator != '/' && separator != '.') || !reader.take(separator))
        return false;
    const auto second = reader.number(1, 2);
    if (!second || !reader.take(separator))
        return false;
    const auto year = reader.number(4, 4);
    if (!year)
        return false;
    return separator == '/' ? match.setDay(year->value, first->value, second->value)
                            : match.setDay(year->value, second->value, first->value);
}

/// "3", "3rd".
std::optional<int> readDayOfMonth(Reader &reader) noexcept
{
    const auto day = reader.number(1, 2);
    if (!day)
        return std::nullopt;
    for (const auto suffix : {"st", "nd", "rd", "th"}) {
        if (reader.takeWord(suffix))
            break;
    }
    return day->value;
}

/// A month's name with the dot of its short form.
int readMonth(Reader &reader) noexcept
{
    const int month = monthOf(reader.word());
    if (month != 0)
        reader.take('.');
    return month;
}

/// "3 May 2012", "3rd of May, 2012", "03-May-2012"; a year of two digits only in "06-Nov-94", the form of old headers.
bool readDayFirst(Reader &reader, Match &match) noexcept
{
    const auto day = readDayOfMonth(reader);
    if (!day)
        return false;
    const bool hasDash = reader.take('-');
    if (!hasDash) {
        reader.take('.');
        if (!reader.blanks())
            return false;
        if (reader.takeWord("of") && !reader.blanks())
            return false;
    }
    const int month = readMonth(reader);
    if (month == 0 || (hasDash ? !reader.take('-') : (reader.take(','), !reader.blanks())))
        return false;
    const auto year = reader.number(hasDash ? 2 : 4, 4);
    if (!year || year->digits == 3)
        return false;
    const int century = year->digits == 4 ? 0 : year->value < 50 ? 2000 : 1900;
    return match.setDay(year->value + century, month, *day);
}

/// "May 3rd, 2012", "May 3 2012", and "May  3 14:05:00 2012", as C programs print it.
bool readMonthFirst(Reader &reader, Match &match) noexcept
{
    const int month = readMonth(reader);
    if (month == 0 || !reader.blanks())
        return false;
    const auto day = readDayOfMonth(reader);
    if (!day)
        return false;
    const bool hasComma = reader.take(',');
    if (!reader.blanks() && !hasComma)
        return false;
    Reader ahead = reader;
    if (!hasComma && ahead.number(2, 2) && ahead.take(':') && readClock(reader, false, match) && !reader.blanks())
        return false;
    const auto year = reader.number(4, 4);
    return year && match.setDay(year->value, month, *day);
}

/// The date that begins at `start`, if one does.
std::optional<Match> matchAt(std::string_view text, std::size_t start) noexcept
{
    constexpr bool (*numericForms[])(Reader &, Match &) noexcept = {readYearFirst, readYearLast, readDayFirst};
    constexpr bool (*wordForms[])(Reader &, Match &) noexcept = {readMonthFirst};
    const auto tryForms = [&](auto &forms) -> std::optional<Match> {
        for (const auto form : forms) {
            Reader reader(text, start);
            Match match;
            if (!form(reader, match))
                continue;
            if (!match.hasTime)
                readTimeAfter(reader, match);
            if (!reader.isAtEnd(match.hasTime))
                continue;
            match.end = reader.position();
            return match;
        }
        return std::nullopt;
    };
    return isDigit(text[start]) ? tryForms(numericForms) : tryForms(wordForms);
}

/// Whether what stands before `start` says that no date begins there: the rest of a version, a price or a path, a
/// negative number.
bool isTiedToWhatIsBefore(std::string_view text, std::size_t start) noexcept
{
    if (start == 0)
        return false;
    const char before = text[start - 1];
    if (isDigit(before) || isLetter(before) || before == '_')
        return true;
    const bool ties = before == '.' || before == '-' || before == '/' || before == ':';
    if (ties && start > 1 && isDigit(text[start - 2]))
        return true;
    return isDigit(text[start]) && (before == '$' || before == '+' || before == '#');
}

} // namespace

Date lastDateIn(std::string_view text) noexcept
{
    std::optional<Match> last;
    std::size_t position = 0;
    while (position < text.size()) {
        const bool isNumber = isDigit(text[position]);
        if (!isNumber && !isLetter(text[position])) {
            ++position;
            continue;
        }
        if (!isTiedToWhatIsBefore(text, position)) {
            if (auto match = matchAt(text, position)) {
                position = match->end;
                last = match;
                continue;
            }
        }
        while (position < text.size() && (isNumber ? isDigit(text[position]) : isLetter(text[position])))
            ++position;
    }
    return last ? last->date() : Date();
}

} // namespace kelvane::detail
