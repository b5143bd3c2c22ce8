// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <memory>

namespace kelvane {

/// Writes and reads dates by a Unicode date pattern ("yyyy-MM-dd HH:mm:ss"), in the local time zone.
///
/// Threads: one at a time.
/// Errors: nothing throws but std::bad_alloc; a pattern that is none gives an empty text and the null date.
class KELVANE_EXPORT DateFormatter {
public:
    explicit DateFormatter(String format);
    ~DateFormatter();
    DateFormatter(const DateFormatter &) = delete;
    DateFormatter &operator=(const DateFormatter &) = delete;

    [[nodiscard]] const String &dateFormat() const noexcept { return _format; }
    void setDateFormat(const String &format);
    /// The language of month and day names, "en" unless set.
    [[nodiscard]] const String &locale() const noexcept { return _locale; }
    void setLocale(const String &locale);

    /// The date as text, empty for the null date.
    [[nodiscard]] String stringFromDate(Date date);
    /// The date that the whole text is; null where it does not fit the format or names no day or time that exists. A
    /// time that comes twice, where clocks are set back, is the first of the two.
    [[nodiscard]] Date dateFromString(const String &text);

private:
    struct Opened;
    bool open();

    String _format;
    String _locale = "en";
    std::unique_ptr<Opened> _opened; ///< the formatter of ICU, made when needed: it is slow to make
};

} // namespace kelvane
