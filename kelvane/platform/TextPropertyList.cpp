// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/TextPropertyList_p.h>

#include <kelvane/foundation/detail/Utf8.h>
#include <kelvane/platform/PropertyList.h>

#include <algorithm>
#include <string>

namespace kelvane::detail {

namespace {

constexpr int hexDigit(char c) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

constexpr bool isBare(char c) noexcept
{
    const char lower = static_cast<char>(c | 0x20);
    return (c >= '0' && c <= '9') || (lower >= 'a' && lower <= 'z' && c != '\0')
        || std::string_view("_$/:.-").find(c) != std::string_view::npos;
}

class TextReader {
public:
    explicit TextReader(std::string_view text) noexcept : _rest(text)
    {
        if (_rest.starts_with("\xEF\xBB\xBF"))
            _rest.remove_prefix(3);
    }

    /// Skips white space and comments of both kinds. False where a comment does not end.
    bool skipSpace() noexcept
    {
        while (true) {
            if (_rest.starts_with("//")) {
                _rest.remove_prefix(std::min(_rest.find_first_of("\r\n"), _rest.size()));
            } else if (_rest.starts_with("/*")) {
                const std::size_t end = _rest.find("*/", 2);
                if (end == std::string_view::npos)
                    return false;
                _rest.remove_prefix(end + 2);
            } else if (!_rest.empty() && (_rest.front() == ' ' || (_rest.front() >= '\t' && _rest.front() <= '\r'))) {
                _rest.remove_prefix(1);
            } else if (_rest.starts_with("\xE2\x80\xA8") || _rest.starts_with("\xE2\x80\xA9")) {
                _rest.remove_prefix(3); // line and paragraph separator
            } else {
                return true;
            }
        }
    }

    bool take(char c) noexcept
    {
        if (!skipSpace() || !_rest.starts_with(c))
            return false;
        _rest.remove_prefix(1);
        return true;
    }

    bool isAtEnd() noexcept { return skipSpace() && _rest.empty(); }

    /// Whether the next value is a dictionary, an array or data.
    bool isAtBracket() noexcept
    {
        return skipSpace() && (_rest.starts_with('{') || _rest.starts_with('(') || _rest.starts_with('<'));
    }

    Value value(int depth)
    {
        if (depth > PropertyList::deepest || !skipSpace())
            return {};
        if (take('{')) {
            Dictionary pairs = Dictionary::empty();
            return readPairs(pairs, depth) && take('}') ? Value(pairs) : Value();
        }
        if (take('('))
            return array(depth);
        if (take('<'))
            return data();
        return text();
    }

    /// `key = value;` and `key;`, as many as there are.
    bool readPairs(Dictionary &pairs, int depth)
    {
        while (skipSpace() && !_rest.empty() && _rest.front() != '}') {
            const String key = text();
            if (key.isNull())
                return false;
            Value found = key;
            if (take('='))
                found = value(depth + 1);
            if (found.isNil() || !take(';'))
                return false;
            pairs.set(key, std::move(found));
        }
        return true;
    }

private:
    Value array(int depth)
    {
        Array values = Array::empty();
        while (!take(')')) {
            Value element = value(depth + 1);
            if (element.isNil())
                return {};
            values.append(std::move(element));
            if (!take(',') && !(skipSpace() && _rest.starts_with(')')))
                return {};
        }
        return values;
    }

    /// Pairs of hexadecimal digits up to the closing bracket.
    Value data()
    {
        std::string bytes;
        while (!take('>')) {
            if (_rest.size() < 2 || hexDigit(_rest[0]) < 0 || hexDigit(_rest[1]) < 0)
                return {};
            bytes.push_back(
                static_cast<char>(static_cast<unsigned char>(hexDigit(_rest[0]) << 4 | hexDigit(_rest[1]))));
            _rest.remove_prefix(2);
        }
        return Data(bytes.data(), bytes.size());
    }

    String text()
    {
        if (_rest.starts_with('"') || _rest.starts_with('\''))
            return quotedText();
        std::size_t size = 0;
        while (size < _rest.size() && isBare(_rest[size]))
            ++size;
        if (size == 0)
            return {};
        const auto bare = _rest.substr(0, size);
        _rest.remove_prefix(size);
        return bare;
    }

    String quotedText()
    {
        const char quote = _rest.front();
        _rest.remove_prefix(1);
        std::string out;
        bool hasSurrogates = false;
        while (!_rest.empty() && _rest.front() != quote) {
            const char c = _rest.front();
            _rest.remove_prefix(1);
            if (c != '\\') {
                out.push_back(c);
                continue;
            }
            if (_rest.empty())
                return {};
            const char32_t escaped = escape();
            hasSurrogates = hasSurrogates || isSurrogate(escaped);
            appendUtf8(out, escaped);
        }
        if (_rest.empty())
            return {};
        _rest.remove_prefix(1);
        // Two escapes may be the halves of one character.
        return hasSurrogates ? String::fromUtf16(String(out).toUtf16()) : String(out);
    }

    /// What follows a backslash.
    char32_t escape() noexcept
    {
        constexpr std::string_view letters = "abfnrtv";
        constexpr std::string_view controls = "\a\b\f\n\r\t\v";
        if (_rest.front() == 'U') {
            _rest.remove_prefix(1);
            return digits(4, 16);
        }
        if (_rest.front() >= '0' && _rest.front() <= '7')
            return digits(3, 8) & 0xFF;
        const auto next = decodeCharacter(_rest);
        _rest.remove_prefix(next.length);
        const std::size_t letter =
            next.codePoint < 0x80 ? letters.find(static_cast<char>(next.codePoint)) : std::string_view::npos;
        return letter == std::string_view::npos ? next.codePoint : static_cast<char32_t>(controls[letter]);
    }

    char32_t digits(int most, int base) noexcept
    {
        char32_t number = 0;
        for (int i = 0; i < most && !_rest.empty(); ++i) {
            const int digit = hexDigit(_rest.front());
            if (digit < 0 || digit >= base)
                break;
            number = number * static_cast<char32_t>(base) + static_cast<char32_t>(digit);
            _rest.remove_prefix(1);
        }
        return number;
    }

    std::string_view _rest;
};

} // namespace

Dictionary readStringsFile(std::string_view text)
{
    TextReader reader(text);
    if (reader.isAtBracket()) {
        const Value value = reader.value(0);
        return reader.isAtEnd() ? value.dictionary() : Dictionary();
    }
    Dictionary pairs = Dictionary::empty();
    return reader.readPairs(pairs, 0) && reader.isAtEnd() ? pairs : Dictionary();
}

Value readTextPropertyList(std::string_view text)
{
    TextReader reader(text);
    if (!reader.isAtBracket())
        return readStringsFile(text);
    const Value value = reader.value(0);
    return reader.isAtEnd() ? value : Value();
}

} // namespace kelvane::detail
