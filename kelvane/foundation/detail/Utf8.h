// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvane::detail {

constexpr char32_t replacementCharacter = 0xFFFD;

/// One step of reading generalised UTF-8 (UTF-8 that may hold lone surrogates).
struct DecodedCharacter {
    char32_t codePoint; ///< replacementCharacter for an invalid sequence
    std::uint32_t length; ///< bytes taken, at least 1
    bool isValid; ///< valid as generalised UTF-8
};

/// Reads the character at the start of `bytes`, which are not empty. An invalid sequence takes its longest prefix
/// that could still have become valid, as Unicode recommends, so that two readers agree on how many U+FFFD appear.
[[nodiscard]] inline DecodedCharacter decodeCharacter(std::string_view bytes) noexcept
{
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byteAt(0);
    if (lead < 0x80)
        return {lead, 1, true};
    std::uint32_t length = 0;
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        lowest = lead == 0xE0 ? 0xA0 : 0x80;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        lowest = lead == 0xF0 ? 0x90 : 0x80;
        highest = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return {replacementCharacter, 1, false};
    }
    char32_t codePoint = lead & (0xFFU >> (length + 1));
    for (std::uint32_t i = 1; i < length; ++i) {
        if (i >= bytes.size() || byteAt(i) < lowest || byteAt(i) > highest)
            return {replacementCharacter, i, false};
        codePoint = (codePoint << 6) | (byteAt(i) & 0x3FU);
        lowest = 0x80;
        highest = 0xBF;
    }
    return {codePoint, length, true};
}

[[nodiscard]] constexpr bool isSurrogate(char32_t codePoint) noexcept
{
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

/// Appends `codePoint`, at most 0x10FFFF, lone surrogates included.
inline void appendUtf8(std::string &out, char32_t codePoint)
{
    const auto put = [&](char32_t bits) { out.push_back(static_cast<char>(static_cast<unsigned char>(bits))); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

} // namespace kelvane::detail
