// SPDX-License-Identifier: Apache-2.0
#include "Text.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <system_error>

namespace kelvane::tool {
namespace {

struct Character {
    char32_t code;
    std::size_t size; // in bytes
    bool isValid; // else one byte that is not UTF-8
};

Character characterAt(std::string_view text, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at);
    if (first < 0x80)
        return {first, 1, true};
    const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() - at < size)
        return {first, 1, false};
    char32_t code = first & (0xffU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(at + i) & 0xc0) != 0x80)
            return {first, 1, false};
        code = code << 6 | (byte(at + i) & 0x3fU);
    }
    constexpr std::array<char32_t, 5> smallest{0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    if (code < smallest[size] || code > 0x10ffff || isSurrogate)
        return {first, 1, false};
    return {code, size, true};
}

bool steersTerminal(char32_t code)
{
    return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x61c || code == 0x200e || code == 0x200f
        || (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}

void appendEscaped(std::string &target, std::string_view bytes)
{
    for (const char byte : bytes) {
        std::array<char, 5> text{};
        std::snprintf(text.data(), text.size(), "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        target += text.data();
    }
}

template <class MustEscape>
std::string escaped(std::string_view text, MustEscape mustEscape)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        const std::string_view bytes = text.substr(at, character.size);
        if (mustEscape(character))
            appendEscaped(result, bytes);
        else
            result += bytes;
        at += character.size;
    }
    return result;
}

std::size_t widthOf(char32_t code)
{
    const int width = wcwidth(static_cast<wchar_t>(code));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

std::string cut(std::string_view text, std::size_t width)
{
    if (width == 0)
        return {};
    std::size_t used = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const Character character = characterAt(text, at);
        const std::size_t columns = widthOf(character.code);
        if (used + columns > width - 1)
            break;
        used += columns;
        at += character.size;
    }
    return std::string(text.substr(0, at)) + "…" + std::string(width - 1 - used, ' ');
}

} // namespace

std::string printable(std::string_view text)
{
    return escaped(text, [](const Character &c) { return !c.isValid || steersTerminal(c.code); });
}

std::string inQuotes(std::string_view path)
{
    return '"' + printable(path) + '"';
}

std::string shownPath(std::string_view path)
{
    std::error_code error;
    const std::string folder = std::filesystem::current_path(error).native() + '/';
    if (!error && path.starts_with(folder))
        path.remove_prefix(folder.size());
    return printable(path);
}

std::string validUtf8(std::string_view text)
{
    return escaped(text, [](const Character &c) { return !c.isValid; });
}

std::string printableJson(std::string_view json)
{
    std::string result;
    result.reserve(json.size());
    for (std::size_t at = 0; at < json.size();) {
        const Character character = characterAt(json, at);
        if (character.code >= 0x20 && steersTerminal(character.code)) {
            std::array<char, 7> text{};
            std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(character.code & 0xffff));
            result += text.data();
        } else {
            result += json.substr(at, character.size);
        }
        at += character.size;
    }
    return result;
}

std::size_t displayWidth(std::string_view printableText)
{
    std::size_t width = 0;
    for (std::size_t at = 0; at < printableText.size();) {
        const Character character = characterAt(printableText, at);
        width += widthOf(character.code);
        at += character.size;
    }
    return width;
}

std::string fitted(std::string_view printableText, std::size_t width)
{
    const std::size_t used = displayWidth(printableText);
    if (used > width)
        return cut(printableText, width);
    return std::string(printableText) + std::string(width - used, ' ');
}

std::string fittedRight(std::string_view printableText, std::size_t width)
{
    const std::size_t used = displayWidth(printableText);
    if (used > width)
        return cut(printableText, width);
    return std::string(width - used, ' ') + std::string(printableText);
}

std::string bytesText(std::uint64_t bytes)
{
    if (bytes < 1000)
        return std::to_string(bytes) + " B";
    constexpr std::array<const char *, 5> units{"kB", "MB", "GB", "TB", "PB"};
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    // 999.95 and more would read as "1000.0".
    while (value >= 999.95 && unit + 1 < units.size()) {
        value /= 1000;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %s", value, units[unit]);
    return text.data();
}

std::string durationText(std::uint64_t seconds)
{
    std::array<char, 48> text{};
    const auto number = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
    if (seconds < 3600)
        std::snprintf(text.data(), text.size(), "%llu:%02llu", number(seconds / 60), number(seconds % 60));
    else
        std::snprintf(text.data(), text.size(), "%llu:%02llu:%02llu", number(seconds / 3600), number(seconds / 60 % 60),
            number(seconds % 60));
    return text.data();
}

std::string secondsText(double seconds)
{
    if (seconds >= 59.5)
        return durationText(static_cast<std::uint64_t>(std::llround(seconds)));
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), seconds < 0.995 ? "%.2f s" : seconds < 9.95 ? "%.1f s" : "%.0f s", seconds);
    return text.data();
}

std::string amountText(std::uint64_t bytes, double seconds)
{
    if (bytes == 0)
        return secondsText(seconds);
    std::string text = bytesText(bytes) + " in " + secondsText(seconds);
    if (seconds > 0)
        text += " (" + bytesText(static_cast<std::uint64_t>(static_cast<double>(bytes) / seconds)) + "/s)";
    return text;
}

std::string countText(std::uint64_t count, std::string_view singular)
{
    return std::to_string(count) + ' ' + std::string(singular) + (count == 1 ? "" : "s");
}

std::string reasonText(int errorNumber)
{
    return std::generic_category().message(errorNumber);
}

std::string lowerExtension(std::string_view path)
{
    const std::string_view name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return {};
    std::string extension(name.substr(dot + 1));
    for (char &c : extension)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return extension;
}

std::string_view lastComponent(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string parentOf(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash));
}

} // namespace kelvane::tool
