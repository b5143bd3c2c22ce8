// SPDX-License-Identifier: Apache-2.0
#include "LogText_p.h"

#include <kelvane/foundation/String.h>

#include <algorithm>

namespace kelvane {

namespace {

bool isPlain(unsigned char byte)
{
    return (byte >= 0x20 && byte < 0x7f) || byte == '\t' || byte == '\n';
}

/// The length of the character that `text` begins with, 0 if it is no UTF-8.
std::size_t characterLength(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (lead >= 0x80 && (text.size() < length || !String(text.substr(0, length)).isValidUtf8()))
        return 0;
    return length;
}

void appendEscaped(std::string &result, unsigned char byte)
{
    constexpr char digits[] = "0123456789abcdef";
    result += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xfU]};
}

/// U+0080 to U+009F: some terminals obey them as they obey escape sequences.
bool isHighControl(std::string_view character)
{
    return character.size() == 2 && character[0] == '\xc2' && static_cast<unsigned char>(character[1]) < 0xa0;
}

/// Characters without a look of their own that make a terminal show the text after them, or before, in another order.
bool turnsText(std::string_view character)
{
    // U+061C; U+200E, U+200F, U+2028 to U+202E, U+2066 to U+2069; U+FEFF
    if (character.size() == 2)
        return character == "\xd8\x9c";
    if (character.size() != 3)
        return false;
    const auto last = static_cast<unsigned char>(character[2]);
    const std::string_view block = character.substr(0, 2);
    return (block == "\xe2\x80" && (last == 0x8e || last == 0x8f || (last >= 0xa8 && last <= 0xae)))
        || (block == "\xe2\x81" && last >= 0xa6 && last <= 0xa9) || character == "\xef\xbb\xbf";
}

bool isShown(std::string_view character)
{
    if (character.size() == 1)
        return isPlain(static_cast<unsigned char>(character[0]));
    return !isHighControl(character) && !turnsText(character);
}

} // namespace

std::string printableText(std::string_view message)
{
    if (std::ranges::all_of(message, isPlain))
        return std::string(message);

    std::string result;
    result.reserve(message.size() + 16);
    while (!message.empty()) {
        const std::size_t length = characterLength(message);
        const std::string_view character = message.substr(0, std::max<std::size_t>(length, 1));
        if (length > 0 && isShown(character))
            result += character;
        else
            for (const char byte : turnsText(character) ? character : character.substr(character.size() - 1))
                appendEscaped(result, static_cast<unsigned char>(byte));
        message.remove_prefix(character.size());
    }
    return result;
}

} // namespace kelvane
