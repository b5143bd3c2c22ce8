// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/String.h>

#include <kelvane/foundation/detail/Numbers.h>
#include <kelvane/foundation/detail/Utf8.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>

namespace kelvane {

namespace {

detail::Ref<detail::ByteBuffer> copyOf(std::string_view text)
{
    auto buffer = detail::ByteBuffer::create(text.size());
    if (!text.empty())
        std::memcpy(buffer->data(), text.data(), text.size());
    return buffer;
}

constexpr bool isSpace(char c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool isDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

std::string_view skipSpace(std::string_view text) noexcept
{
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    return text;
}

template <class Integer>
Integer leadingInteger(std::string_view text) noexcept
{
    text = skipSpace(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    std::uint64_t magnitude = 0;
    constexpr auto limit = std::numeric_limits<std::uint64_t>::max();
    for (const char c : text) {
        if (!isDigit(c))
            break;
        const auto digit = static_cast<std::uint64_t>(c - '0');
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
        if (magnitude == limit)
            break;
    }
    if (!isNegative)
        return detail::saturate<Integer>(magnitude);
    constexpr auto signedLimit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (magnitude > signedLimit)
        return std::numeric_limits<Integer>::min();
    return detail::saturate<Integer>(-static_cast<std::int64_t>(magnitude));
}

/// Length of the decimal number (sign, digits, fraction, exponent) at the start of `text`.
std::size_t decimalLength(std::string_view text) noexcept
{
    std::size_t end = 0;
    std::size_t digits = 0;
    const auto takeDigits = [&] {
        const std::size_t start = end;
        while (end < text.size() && isDigit(text[end]))
            ++end;
        return end - start;
    };
    if (end < text.size() && (text[end] == '-' || text[end] == '+'))
        ++end;
    digits += takeDigits();
    if (end < text.size() && text[end] == '.') {
        ++end;
        digits += takeDigits();
    }
    if (digits == 0)
        return 0;
    const std::size_t mantissaEnd = end;
    if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
        ++end;
        if (end < text.size() && (text[end] == '-' || text[end] == '+'))
            ++end;
        if (takeDigits() == 0)
            end = mantissaEnd;
    }
    return end;
}

} // namespace

String::String(const char *text)
{
    if (text)
        _buffer = copyOf(text);
}

String::String(std::string_view text) : _buffer(copyOf(text)) {}

String String::fromUtf8(std::string_view bytes)
{
    String text(bytes);
    return text.isValidUtf8() ? text : String();
}

String String::fromUtf16(std::u16string_view units)
{
    std::string out;
    out.reserve(units.size() + units.size() / 2);
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char32_t unit = units[i];
        const bool isPair = unit >= 0xD800 && unit <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00
            && units[i + 1] <= 0xDFFF;
        if (isPair)
            detail::appendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(units[++i]) - 0xDC00));
        else
            detail::appendUtf8(out, unit);
    }
    return String(std::string_view(out));
}

String String::concat(std::initializer_list<std::string_view> parts)
{
    std::size_t size = 0;
    for (const auto part : parts)
        size += part.size();
    auto buffer = detail::ByteBuffer::create(size);
    char *end = buffer->data();
    for (const auto part : parts) {
        if (!part.empty())
            std::memcpy(end, part.data(), part.size());
        end += part.size();
    }
    return String(std::move(buffer));
}

String String::number(std::int64_t value)
{
    char digits[24];
    const auto result = std::to_chars(std::begin(digits), std::end(digits), value);
    return String(std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
}

String String::number(std::uint64_t value)
{
    char digits[24];
    const auto result = std::to_chars(std::begin(digits), std::end(digits), value);
    return String(std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
}

bool String::isValidUtf8() const noexcept
{
    for (auto rest = view(); !rest.empty();) {
        const auto next = detail::decodeCharacter(rest);
        if (!next.isValid || detail::isSurrogate(next.codePoint))
            return false;
        rest.remove_prefix(next.length);
    }
    return true;
}

String String::toValidUtf8() const
{
    if (isValidUtf8())
        return *this;
    std::string out;
    out.reserve(size() + size() / 2);
    for (auto rest = view(); !rest.empty();) {
        const auto next = detail::decodeCharacter(rest);
        detail::appendUtf8(out, detail::isSurrogate(next.codePoint) ? detail::replacementCharacter : next.codePoint);
        rest.remove_prefix(next.length);
    }
    return String(std::string_view(out));
}

std::u16string String::toUtf16() const
{
    std::u16string out;
    out.reserve(size());
    for (auto rest = view(); !rest.empty();) {
        const auto next = detail::decodeCharacter(rest);
        if (next.codePoint >= 0x10000) {
            const char32_t offset = next.codePoint - 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (offset >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(next.codePoint));
        }
        rest.remove_prefix(next.length);
    }
    return out;
}

std::int32_t String::intValue() const noexcept
{
    return leadingInteger<std::int32_t>(view());
}

std::int64_t String::longLongValue() const noexcept
{
    return leadingInteger<std::int64_t>(view());
}

std::uint64_t String::unsignedLongLongValue() const noexcept
{
    return leadingInteger<std::uint64_t>(view());
}

double String::doubleValue() const
{
    // strtod of the C locale rather than std::from_chars, which libc++ 16 lacks for floating point. The number is
    // cut out first: strtod would go on into hexadecimal digits.
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    const auto text = skipSpace(view());
    const std::size_t length = decimalLength(text);
    return length == 0 ? 0.0 : strtod_l(std::string(text.substr(0, length)).c_str(), nullptr, cLocale);
}

bool String::boolValue() const noexcept
{
    auto text = skipSpace(view());
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    while (text.starts_with('0'))
        text.remove_prefix(1);
    return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

} // namespace kelvane
