// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/DateFormatter.h>

#include <string>
#include <utility>

#include <unicode/ucal.h>
#include <unicode/udat.h>

namespace kelvane {

namespace {

/// Longer patterns and texts are refused: ICU counts in 32 bits.
constexpr std::size_t longestText = 1 << 20;

std::int32_t length(const std::u16string &text) noexcept
{
    return static_cast<std::int32_t>(text.size());
}

/// The name of the local time zone. Asked each time, because ICU's default stays what it was when first used.
std::u16string localZone()
{
    std::u16string name(128, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t size = ucal_getHostTimeZone(name.data(), length(name), &error);
    name.resize(U_SUCCESS(error) ? static_cast<std::size_t>(size) : 0);
    return name;
}

struct CloseFormat {
    void operator()(void *format) const noexcept { udat_close(static_cast<UDateFormat *>(format)); }
};
struct CloseCalendar {
    void operator()(void *calendar) const noexcept { ucal_close(static_cast<UCalendar *>(calendar)); }
};

/// Makes the first of two equal wall times the one that is meant, as everywhere in this library.
void preferFirst(UDateFormat *format, UErrorCode &error)
{
    const std::unique_ptr<void, CloseCalendar> calendar(ucal_clone(udat_getCalendar(format), &error));
    if (U_FAILURE(error))
        return;
    ucal_setAttribute(static_cast<UCalendar *>(calendar.get()), UCAL_REPEATED_WALL_TIME, UCAL_WALLTIME_FIRST);
    udat_setCalendar(format, static_cast<UCalendar *>(calendar.get()));
}

} // namespace

struct DateFormatter::Opened {
    std::u16string zone;
    std::unique_ptr<void, CloseFormat> handle;

    [[nodiscard]] UDateFormat *format() const noexcept { return static_cast<UDateFormat *>(handle.get()); }
};

DateFormatter::DateFormatter(String format) : _format(std::move(format)) {}

DateFormatter::~DateFormatter() = default;

void DateFormatter::setDateFormat(const String &format)
{
    if (format != _format)
        _opened.reset();
    _format = format;
}

void DateFormatter::setLocale(const String &locale)
{
    if (locale != _locale)
        _opened.reset();
    _locale = locale;
}

bool DateFormatter::open()
{
    std::u16string zone = localZone();
    if (_opened && _opened->zone == zone)
        return true;
    _opened.reset();
    if (_format.size() > longestText)
        return false;
    const std::u16string pattern = _format.toUtf16();
    UErrorCode error = U_ZERO_ERROR;
    std::unique_ptr<void, CloseFormat> handle(udat_open(UDAT_PATTERN, UDAT_PATTERN, _locale.c_str(), zone.data(),
        length(zone), pattern.data(), length(pattern), &error));
    if (U_FAILURE(error))
        return false;
    udat_setLenient(static_cast<UDateFormat *>(handle.get()), false);
    preferFirst(static_cast<UDateFormat *>(handle.get()), error);
    if (U_FAILURE(error))
        return false;
    _opened = std::make_unique<Opened>(Opened{std::move(zone), std::move(handle)});
    return true;
}

String DateFormatter::stringFromDate(Date date)
{
    if (date.isNull() || !open())
        return "";
    const UDate milliseconds = date.secondsSince1970() * 1000;
    std::u16string text(128, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t size = udat_format(_opened->format(), milliseconds, text.data(), length(text), nullptr, &error);
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        text.resize(static_cast<std::size_t>(size));
        udat_format(_opened->format(), milliseconds, text.data(), length(text), nullptr, &error);
    }
    text.resize(U_SUCCESS(error) ? static_cast<std::size_t>(size) : 0);
    return String::fromUtf16(text);
}

Date DateFormatter::dateFromString(const String &text)
{
    if (text.isEmpty() || text.size() > longestText || !open())
        return {};
    const std::u16string units = text.toUtf16();
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t position = 0;
    const UDate milliseconds = udat_parse(_opened->format(), units.data(), length(units), &position, &error);
    if (U_FAILURE(error) || position != length(units))
        return {};
    return Date::fromSecondsSince1970(milliseconds / 1000);
}

} // namespace kelvane
