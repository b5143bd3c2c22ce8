// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/StringExtensions.h>

#include <kelvane/common/detail/DateDetector.h>
#include <kelvane/foundation/detail/Utf8.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/SystemVersion.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace kelvane {

namespace {

/// White space and line breaks: the separators of Unicode, tab, and the controls that begin a new line or page.
constexpr bool isWhiteSpace(char32_t c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r') || c == 0x85 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200B)
        || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

std::size_t leadingWhiteSpace(std::string_view text) noexcept
{
    std::size_t length = 0;
    while (length < text.size()) {
        const auto next = detail::decodeCharacter(text.substr(length));
        if (!isWhiteSpace(next.codePoint))
            break;
        length += next.length;
    }
    return length;
}

std::string_view withoutTrailingWhiteSpace(std::string_view text) noexcept
{
    while (!text.empty()) {
        // A character takes four bytes at the most, and begins where no continuation byte stands.
        std::size_t start = text.size() - 1;
        const std::size_t lowest = text.size() - std::min<std::size_t>(text.size(), 4);
        while (start > lowest && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80)
            --start;
        const auto last = detail::decodeCharacter(text.substr(start));
        if (start + last.length != text.size() || !isWhiteSpace(last.codePoint))
            break;
        text.remove_suffix(last.length);
    }
    return text;
}

} // namespace

bool isNullOrEmpty(const String &text) noexcept
{
    return text.isEmpty();
}

String trim(const String &text)
{
    if (text.isNull())
        return text;
    auto rest = text.view();
    rest.remove_prefix(leadingWhiteSpace(rest));
    rest = withoutTrailingWhiteSpace(rest);
    return rest.size() == text.size() ? text : String(rest);
}

String trimStart(const String &text, const String &prefix)
{
    if (prefix.isEmpty() || !text.view().starts_with(prefix.view()))
        return text;
    return text.view().substr(prefix.size());
}

String trimEnd(const String &text, const String &suffix)
{
    if (suffix.isEmpty() || !text.view().ends_with(suffix.view()))
        return text;
    // Intended: the cut is at the first occurrence, wherever it stands. Applications cut names like "a.b.b" down to
    // their stem with it.
    return text.view().substr(0, text.view().find(suffix.view()));
}

String trimQuotedString(const String &text)
{
    if (text.view().find('"') == std::string_view::npos)
        return text;
    std::string kept = text.str();
    std::erase(kept, '"');
    return kept;
}

Array split(const String &text, const String &separator)
{
    if (text.isNull())
        return {};
    Array parts = Array::empty();
    auto rest = text.view();
    while (!separator.isEmpty()) {
        const std::size_t end = rest.find(separator.view());
        if (end == std::string_view::npos)
            break;
        parts.append(String(rest.substr(0, end)));
        rest.remove_prefix(end + separator.size());
    }
    parts.append(rest.size() == text.size() ? text : String(rest));
    return parts;
}

String split(const String &text, const String &start, const String &end)
{
    if (start.isEmpty() || end.isEmpty())
        return text;
    const std::size_t startsAt = text.view().find(start.view());
    if (startsAt == std::string_view::npos)
        return text;
    const std::size_t begin = startsAt + start.size();
    const std::size_t endsAt = text.view().find(end.view(), begin);
    return endsAt == std::string_view::npos ? text : String(text.view().substr(begin, endsAt - begin));
}

bool contains(const String &text, const String &part) noexcept
{
    return !part.isEmpty() && text.view().find(part.view()) != std::string_view::npos;
}

bool hasChineseChar(const String &text) noexcept
{
    // Intended: despite its name it asks for nothing but such characters. Applications choose fonts by it.
    for (auto rest = text.view(); !rest.empty();) {
        const auto next = detail::decodeCharacter(rest);
        if (next.codePoint < 0x4E00 || next.codePoint > 0x9FA5)
            return false;
        rest.remove_prefix(next.length);
    }
    return !text.isEmpty();
}

String stringReverse(const String &text)
{
    if (text.isNull())
        return text;
    std::u16string units = text.toUtf16();
    std::ranges::reverse(units);
    return String::fromUtf16(units);
}

String hexString(const String &text)
{
    if (text.isNull())
        return text;
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string hex;
    hex.reserve(text.size() * 2);
    for (const char c : text.view()) {
        const auto byte = static_cast<unsigned char>(c);
        hex.push_back(digits[byte >> 4]);
        hex.push_back(digits[byte & 15]);
    }
    return hex;
}

String stringWithFourCharCode(std::uint32_t code)
{
    std::string text;
    for (const int shift : {24, 16, 8, 0})
        detail::appendUtf8(text, (code >> shift) & 0xFF);
    return text;
}

std::uint32_t fourCharCode(const String &text) noexcept
{
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < 4; ++i)
        code = (code << 8) | (i < text.size() ? static_cast<unsigned char>(text.view()[i]) : 0U);
    return code;
}

String pathCombine(const String &text, const String &component)
{
    return appendingPathComponent(text, component);
}

Date dateValue(const String &text) noexcept
{
    if (!SystemVersion::current().isAtLeast(10, 7))
        return {};
    return detail::lastDateIn(text.view());
}

} // namespace kelvane
