// SPDX-License-Identifier: Apache-2.0
#include "DynamicTypeText.h"

#include <string>

namespace kelvane::detail {
namespace {

// No i, j, l, o: identifiers are also read by people.
constexpr std::string_view alphabet = "abcdefghkmnpqrstuvwxyz0123456789";
constexpr unsigned bitsPerCharacter = 5;
constexpr unsigned characterMask = (1U << bitsPerCharacter) - 1;
constexpr unsigned bitsPerByte = 8;

} // namespace

String encodeDynamicType(std::string_view bytes)
{
    std::string text(dynamicTypePrefix);
    text.reserve(text.size() + (bytes.size() * bitsPerByte + bitsPerCharacter - 1) / bitsPerCharacter);
    unsigned bits = 0; // what is not written yet: its lowest `count` bits
    unsigned count = 0;
    for (const char c : bytes) {
        bits = (bits << bitsPerByte | static_cast<unsigned char>(c)) & 0xfffU;
        count += bitsPerByte;
        for (; count >= bitsPerCharacter; count -= bitsPerCharacter)
            text += alphabet[bits >> (count - bitsPerCharacter) & characterMask];
    }
    if (count > 0)
        text += alphabet[bits << (bitsPerCharacter - count) & characterMask];
    return text;
}

String decodeDynamicType(std::string_view identifier)
{
    if (!identifier.starts_with(dynamicTypePrefix))
        return nullptr;
    identifier.remove_prefix(dynamicTypePrefix.size());
    std::string bytes;
    bytes.reserve(identifier.size() * bitsPerCharacter / bitsPerByte);
    unsigned bits = 0;
    unsigned count = 0;
    for (const char c : identifier) {
        const std::size_t value = alphabet.find(c);
        if (value == std::string_view::npos)
            return nullptr;
        bits = (bits << bitsPerCharacter | static_cast<unsigned>(value)) & 0xfffU;
        count += bitsPerCharacter;
        if (count >= bitsPerByte) {
            count -= bitsPerByte;
            bytes += static_cast<char>(bits >> count & 0xffU);
        }
    }
    const unsigned rest = bits & ((1U << count) - 1);
    return count < bitsPerCharacter && rest == 0 ? String(bytes) : String();
}

} // namespace kelvane::detail
