// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The rules of Base64, one after the other, with no thought of speed: what the codec is compared with.

namespace kelvane::testsupport {

constexpr std::string_view plainBase64Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::optional<std::string> plainBase64Decode(std::string_view input, bool requirePadding)
{
    constexpr std::string_view skipped = "\t\n\v\f\r \xA0\xFF";
    std::string clean;
    for (const char c : input.substr(0, input.find('\0')))
        if (skipped.find(c) == std::string_view::npos)
            clean.push_back(c);
    const std::size_t data = std::min(clean.find('='), clean.size());
    const std::string padding = clean.substr(data);
    clean.resize(data);
    if (clean.find_first_not_of(plainBase64Alphabet) != std::string::npos)
        return std::nullopt;
    const std::size_t position = data % 4;
    const std::string wanted = position == 2 ? "==" : position == 3 ? "=" : "";
    if (position == 1 || (padding != wanted && (requirePadding || !padding.empty())))
        return std::nullopt;
    std::string out;
    unsigned bits = 0;
    unsigned held = 0;
    for (const char c : clean) {
        bits = (bits << 6 | static_cast<unsigned>(plainBase64Alphabet.find(c))) & 0xFFFFU;
        held += 6;
        if (held >= 8) {
            held -= 8;
            out.push_back(static_cast<char>(bits >> held & 255U));
        }
    }
    if ((bits & ((1U << held) - 1)) != 0 || out.empty())
        return std::nullopt;
    return out;
}

inline std::optional<std::string> plainBase64Encode(std::string_view input, bool padded)
{
    if (input.empty())
        return std::nullopt;
    std::string out;
    unsigned bits = 0;
    unsigned held = 0;
    for (const char c : input) {
        bits = (bits << 8 | static_cast<unsigned char>(c)) & 0xFFFFU;
        for (held += 8; held >= 6; held -= 6)
            out.push_back(plainBase64Alphabet[bits >> (held - 6) & 63U]);
    }
    if (held > 0)
        out.push_back(plainBase64Alphabet[bits << (6 - held) & 63U]);
    while (padded && out.size() % 4 != 0)
        out.push_back('=');
    return out;
}

} // namespace kelvane::testsupport
