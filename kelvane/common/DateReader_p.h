// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace kelvane::detail {

constexpr std::size_t longestWord = 10; // "September" and one letter to see that it is longer
constexpr std::size_t longestGap = 16; // blanks between the parts of one date

constexpr bool isDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}
constexpr char lower(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
constexpr bool isLetter(char c) noexcept
{
    return lower(c) >= 'a' && lower(c) <= 'z';
}

struct Number {
    int value;
    std::size_t digits;
};

/// Reads from left to right. What does not fit moves nothing.
class Reader {
public:
    explicit Reader(std::string_view text, std::size_t position) noexcept : _text(text), _position(position) {}

    [[nodiscard]] std::size_t position() const noexcept { return _position; }
    [[nodiscard]] char peek(std::size_t ahead = 0) const noexcept
    {
        return _position + ahead < _text.size() ? _text[_position + ahead] : '\0';
    }

    bool take(char c) noexcept
    {
        if (_position >= _text.size() || lower(peek()) != c)
            return false;
        ++_position;
        return true;
    }

    /// A run of `least` to `most` digits, if it ends there; most is at most 8.
    std::optional<Number> number(std::size_t least, std::size_t most) noexcept
    {
        Number number{0, 0};
        while (number.digits <= most && isDigit(peek(number.digits)))
            number.value = number.value * 10 + (peek(number.digits++) - '0');
        if (number.digits < least || number.digits > most)
            return std::nullopt;
        _position += number.digits;
        return number;
    }

    /// The first two digits of a longer run.
    std::optional<int> twoDigits() noexcept
    {
        if (!isDigit(peek()) || !isDigit(peek(1)))
            return std::nullopt;
        _position += 2;
        return (_text[_position - 2] - '0') * 10 + (_text[_position - 1] - '0');
    }

    /// A run of letters, cut where it is longer than any that matters.
    std::string_view word() noexcept
    {
        std::size_t size = 0;
        while (size < longestWord && isLetter(peek(size)))
            ++size;
        _position += size;
        return _text.substr(_position - size, size);
    }

    /// The word, in lower case in the program, that comes next as a whole.
    bool takeWord(std::string_view expected) noexcept
    {
        const std::size_t start = _position;
        const auto found = word();
        bool isEqual = found.size() == expected.size();
        for (std::size_t i = 0; isEqual && i < found.size(); ++i)
            isEqual = lower(found[i]) == expected[i];
        if (!isEqual)
            _position = start;
        return isEqual;
    }

    /// Blanks, tabs, single line breaks of folded headers and the no-break blanks that stand before "PM".
    bool blanks() noexcept
    {
        const std::size_t start = _position;
        while (_position - start < longestGap) {
            const auto rest = _text.substr(_position);
            if (rest.starts_with(' ') || rest.starts_with('\t') || rest.starts_with('\r') || rest.starts_with('\n'))
                ++_position;
            else if (rest.starts_with("\xC2\xA0"))
                _position += 2;
            else if (rest.starts_with("\xE2\x80\xAF"))
                _position += 3;
            else
                break;
        }
        return _position != start;
    }

    /// Whether a date may end here: not inside a word or a longer number, nor before one that dots, dashes or
    /// slashes tie to it, as in a version or a serial number. A time may be the first of a range, "9:00-10:30".
    [[nodiscard]] bool isAtEnd(bool isAfterTime) const noexcept
    {
        const char next = peek();
        if (isDigit(next) || isLetter(next) || next == '_')
            return false;
        const bool ties = next == '.' || next == '/' || next == ':' || (next == '-' && !isAfterTime);
        return !ties || !isDigit(peek(1));
    }

private:
    std::string_view _text;
    std::size_t _position;
};

} // namespace kelvane::detail
