// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

// What texts can do beyond String itself: trimming, splitting, comparing, patterns, codes and dates. They are free
// functions whose first argument is the text that the original messages were sent to.
//
// Threads: any.
// Errors: nothing throws but std::bad_alloc. A null text has nothing in it: functions that give a text, an array or
// a date answer null for it, tests answer false, except isNullOrEmpty().

/// True for a null and for an empty text.
[[nodiscard]] KELVANE_EXPORT bool isNullOrEmpty(const String &text) noexcept;

/// The text without white space and line breaks, those of Unicode included, at both ends.
[[nodiscard]] KELVANE_EXPORT String trim(const String &text);

/// The text without one leading copy of `prefix`. Unchanged where it does not begin so or `prefix` is null.
/// @selector trimStart:
[[nodiscard]] KELVANE_EXPORT String trimStart(const String &text, const String &prefix);

/// The text up to the first occurrence of `suffix`, if it ends with it: "" for "abcabc" and "abc". Unchanged where it
/// does not end so or `suffix` is null.
/// @selector trimEnd:
[[nodiscard]] KELVANE_EXPORT String trimEnd(const String &text, const String &suffix);

/// The text without any double quotes, wherever they stand.
[[nodiscard]] KELVANE_EXPORT String trimQuotedString(const String &text);

/// The parts between occurrences of `separator`, empty ones too. One part, the text, where `separator` is null, empty
/// or does not occur.
/// @selector split:
[[nodiscard]] KELVANE_EXPORT Array split(const String &text, const String &separator);

/// What stands between the first `start` and the first `end` after it. The whole text where one of them is null, empty
/// or not found.
/// @selector split:end:
[[nodiscard]] KELVANE_EXPORT String split(const String &text, const String &start, const String &end);

/// Whether `part` occurs in the text, byte for byte. The empty text occurs nowhere.
/// @selector contains:
[[nodiscard]] KELVANE_EXPORT bool contains(const String &text, const String &part) noexcept;

/// Whether the text begins with `prefix`, whatever the case. False for a null or empty prefix.
/// @selector startsWith:
[[nodiscard]] KELVANE_EXPORT bool startsWith(const String &text, const String &prefix);

/// Whether both texts are equal when trimmed and in lower case. False where either is null.
/// @selector strCompare:
[[nodiscard]] KELVANE_EXPORT bool strCompare(const String &text, const String &other);

/// Whether both texts are equal but for case. False where either is null.
/// @selector inCaseCompare:
[[nodiscard]] KELVANE_EXPORT bool inCaseCompare(const String &text, const String &other);

/// Whether the whole text, not a part of it, matches the regular expression `pattern` (ICU syntax). False for a null
/// or malformed pattern, and for one that takes beyond all measure to try on this text: the work is limited to a
/// fixed number of steps, not by the clock, so that the answer is the same on every machine.
/// @selector isMatch:
[[nodiscard]] KELVANE_EXPORT bool isMatch(const String &text, const String &pattern);

/// Whether the text consists of one or more characters from U+4E00 to U+9FA5 and of nothing else.
[[nodiscard]] KELVANE_EXPORT bool hasChineseChar(const String &text) noexcept;

/// The UTF-16 units of the text in reverse order. Pairs of surrogates come out as lone surrogates; reversing again
/// gives the text back.
[[nodiscard]] KELVANE_EXPORT String stringReverse(const String &text);

/// Each byte of the UTF-8 form as two upper-case hexadecimal digits: "C3A9" for "é".
[[nodiscard]] KELVANE_EXPORT String hexString(const String &text);

/// The four bytes of `code` as characters U+0000 to U+00FF, the most significant one first: "mp3 " for 0x6D703320.
/// @selector stringWithFourCharCode:
[[nodiscard]] KELVANE_EXPORT String stringWithFourCharCode(std::uint32_t code);

/// The first four bytes of the UTF-8 form as a number, the first byte the most significant; missing bytes are 0. 0 for
/// null.
[[nodiscard]] KELVANE_EXPORT std::uint32_t fourCharCode(const String &text) noexcept;

/// The text as a path with `component` appended (see appendingPathComponent()). Unchanged where `component` is null
/// or empty.
/// @selector pathCombine:
[[nodiscard]] KELVANE_EXPORT String pathCombine(const String &text, const String &component);

/// The last date that is written in the text, null where there is none.
///
/// Read are: ISO 8601 (2012-05-03, 2012-05-03T14:05:00.5+02:00, 20120503T140500Z, 20120503 from 1900 to 2099), the
/// dates of e-mail and HTTP headers, "3 May 2012", "3rd of May, 2012", "May 3rd, 2012", 2012/05/03, 05/03/2012 (the
/// month comes first), 3.5.2012 (the day comes first). A time may follow (14:05, 14:05:30, 2:05 pm, 2pm) and a
/// zone after it (Z, GMT, UTC, EST and its like, +02:00, +0200). Month names are English. Bare numbers, versions,
/// prices, times without a date, dates without a year and relative words ("tomorrow") are no dates.
///
/// A date without a time is noon, and a time without a zone is meant, in the local time zone. Takes time linear in
/// the length of the text. Null for every text on systems before 10.7 (see SystemVersion).
[[nodiscard]] KELVANE_EXPORT Date dateValue(const String &text) noexcept;

} // namespace kelvane
