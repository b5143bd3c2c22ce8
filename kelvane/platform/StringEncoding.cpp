// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/StringEncoding.h>

#include <algorithm>
#include <bit>
#include <string>

namespace kelvane {

namespace {

Data oneByteEach(const String &text, char16_t highest)
{
    const std::u16string units = text.toUtf16();
    if (std::ranges::any_of(units, [&](char16_t unit) { return unit > highest; }))
        return {};
    std::string bytes(units.size(), '\0');
    std::ranges::transform(units, bytes.begin(), [](char16_t unit) { return static_cast<char>(unit & 0xFF); });
    return Data(bytes.data(), bytes.size());
}

Data twoBytesEach(const String &text, bool isBigEndian, bool hasMark)
{
    std::u16string units = text.toUtf16();
    if (hasMark)
        units.insert(units.begin(), u'\xFEFF');
    std::string bytes;
    bytes.reserve(units.size() * 2);
    for (const char16_t unit : units) {
        const auto high = static_cast<char>(unit >> 8);
        const auto low = static_cast<char>(unit & 0xFF);
        bytes.push_back(isBigEndian ? high : low);
        bytes.push_back(isBigEndian ? low : high);
    }
    return Data(bytes.data(), bytes.size());
}

} // namespace

Data dataUsingEncoding(const String &text, StringEncoding encoding)
{
    constexpr bool hostIsBigEndian = std::endian::native == std::endian::big;
    if (text.isNull())
        return {};
    switch (encoding) {
    case StringEncoding::Ascii:
        return oneByteEach(text, 0x7F);
    case StringEncoding::Utf8:
        return text.isValidUtf8() ? Data(text.c_str(), text.size()) : Data();
    case StringEncoding::IsoLatin1:
        return oneByteEach(text, 0xFF);
    case StringEncoding::Utf16:
        return twoBytesEach(text, hostIsBigEndian, true);
    case StringEncoding::Utf16BigEndian:
        return twoBytesEach(text, true, false);
    case StringEncoding::Utf16LittleEndian:
        return twoBytesEach(text, false, false);
    }
    return {};
}

} // namespace kelvane
