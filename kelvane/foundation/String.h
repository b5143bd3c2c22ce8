// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/ByteBuffer.h>
#include <kelvane/foundation/Export.h>

#include <compare>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

namespace kelvane {

/// Immutable, shared, nullable text in UTF-8, one pointer wide. Copying is a reference-count step.
///
/// Null (absent) and empty (present, no characters) are different texts: they do not compare equal. Every
/// operation may be called on a null string and treats it as having no bytes.
///
/// The bytes are kept as they come, because file names are any bytes on some systems. Bytes that are not UTF-8
/// read as U+FFFD where characters are asked for (toUtf16(), toValidUtf8()); surrogates that stand alone, which
/// reversing a text by UTF-16 units leaves behind, are kept in generalised UTF-8 and survive a round trip.
///
/// Threads: a String object belongs to one thread at a time, its text may be shared by any number of them.
/// Errors: nothing throws but std::bad_alloc and std::length_error where memory ends.
class KELVANE_EXPORT String {
public:
    /// The null string.
    constexpr String() noexcept = default;
    constexpr String(std::nullptr_t) noexcept {}
    /// A copy of NUL-terminated text; a null pointer gives the null string.
    String(const char *text);
    /// A copy of `text`, which may hold NULs.
    String(std::string_view text);
    String(const std::string &text) : String(std::string_view(text)) {}

    /// The text if `bytes` are valid UTF-8, else the null string.
    [[nodiscard]] static String fromUtf8(std::string_view bytes);
    /// The text of UTF-16 units; lone surrogates are kept.
    [[nodiscard]] static String fromUtf16(std::u16string_view units);
    /// The parts, one after the other, in one allocation.
    [[nodiscard]] static String concat(std::initializer_list<std::string_view> parts);
    /// Decimal text of a number.
    [[nodiscard]] static String number(std::int64_t value);
    [[nodiscard]] static String number(std::uint64_t value);

    [[nodiscard]] bool isNull() const noexcept { return !_buffer; }
    /// True when there are no bytes: for the empty and for the null string.
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }
    /// Length in bytes.
    [[nodiscard]] std::size_t size() const noexcept { return _buffer ? _buffer->size() : 0; }
    /// NUL-terminated bytes, "" for null. Valid as long as a String with this text lives.
    [[nodiscard]] const char *c_str() const noexcept { return _buffer ? _buffer->data() : ""; }
    /// The bytes. Valid as long as a String with this text lives.
    [[nodiscard]] std::string_view view() const noexcept { return {c_str(), size()}; }
    [[nodiscard]] std::string str() const { return std::string(view()); }
    explicit operator std::string_view() const noexcept { return view(); }

    /// Whether all bytes are UTF-8 proper (no lone surrogates, no overlong forms).
    [[nodiscard]] bool isValidUtf8() const noexcept;
    /// The same text with each invalid sequence replaced by U+FFFD; the same object where nothing is to replace.
    [[nodiscard]] String toValidUtf8() const;
    [[nodiscard]] std::u16string toUtf16() const;

    /// The decimal number that the text begins with, after white space: 0 where there is none, the nearest limit
    /// where it does not fit.
    [[nodiscard]] std::int32_t intValue() const noexcept;
    [[nodiscard]] std::int64_t longLongValue() const noexcept;
    [[nodiscard]] std::uint64_t unsignedLongLongValue() const noexcept;
    /// The same for a decimal number with fraction and exponent; hexadecimal, "inf" and "nan" are no numbers.
    [[nodiscard]] double doubleValue() const;
    /// True when the text, after white space, a sign and zeros, begins with Y, y, T, t or a digit from 1 to 9.
    [[nodiscard]] bool boolValue() const noexcept;

    /// Compares text byte by byte; null equals only null and orders before everything else.
    friend bool operator==(const String &a, const String &b) noexcept
    {
        return a._buffer.get() == b._buffer.get() || (a.isNull() == b.isNull() && a.view() == b.view());
    }
    friend bool operator==(const String &a, std::string_view b) noexcept { return !a.isNull() && a.view() == b; }
    friend bool operator==(const String &a, const std::string &b) noexcept { return a == std::string_view(b); }
    friend bool operator==(const String &a, const char *b) noexcept
    {
        return b ? a == std::string_view(b) : a.isNull();
    }
    friend bool operator==(const String &a, std::nullptr_t) noexcept { return a.isNull(); }
    friend std::strong_ordering operator<=>(const String &a, const String &b) noexcept
    {
        if (a.isNull() || b.isNull())
            return !a.isNull() <=> !b.isNull();
        return a.view() <=> b.view();
    }
    /// Whether both are one and the same string object, as a copy is. Equal texts made apart are not; all empty
    /// strings are one object; null is the same as null.
    friend bool isSameObject(const String &a, const String &b) noexcept { return a._buffer.get() == b._buffer.get(); }

private:
    explicit String(detail::Ref<detail::ByteBuffer> buffer) noexcept : _buffer(std::move(buffer)) {}

    detail::Ref<detail::ByteBuffer> _buffer;
};

[[nodiscard]] inline String operator+(const String &a, const String &b)
{
    return String::concat({a.view(), b.view()});
}

} // namespace kelvane

template <>
struct std::hash<kelvane::String> {
    std::size_t operator()(const kelvane::String &text) const noexcept
    {
        return std::hash<std::string_view>{}(text.view());
    }
};
