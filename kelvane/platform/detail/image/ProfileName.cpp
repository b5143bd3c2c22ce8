// SPDX-License-Identifier: Apache-2.0
#include "ProfileName.h"

#include "ImageBytes.h"

#include <algorithm>
#include <string>

namespace kelvane::detail {
namespace {

constexpr std::size_t headerSize = 128;
constexpr std::size_t tagSize = 12;
constexpr std::uint32_t mostTags = 256;
constexpr std::size_t mostNameBytes = 1024;

using Bytes = std::span<const std::byte>;

// As much of it as there is.
Bytes part(Bytes bytes, std::size_t offset, std::size_t size)
{
    if (offset > bytes.size())
        return {};
    return bytes.subspan(offset, std::min(size, bytes.size() - offset));
}

// Version 2: a length and ASCII.
String plainName(Bytes value)
{
    const Bytes text = part(value, 12, std::min<std::size_t>(bigEndian(value.subspan(8), 4), mostNameBytes));
    const std::string_view characters(reinterpret_cast<const char *>(text.data()), text.size());
    return String(characters.substr(0, characters.find('\0'))).toValidUtf8();
}

// Version 4: UTF-16 in several languages, of which the first serves.
String localName(Bytes value)
{
    if (value.size() < 28)
        return {};
    const std::size_t size = std::min<std::size_t>(bigEndian(value.subspan(20), 4), mostNameBytes);
    const Bytes text = part(value, bigEndian(value.subspan(24), 4), size);
    std::u16string units;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        units += static_cast<char16_t>(bigEndian(text.subspan(i), 2));
    return String::fromUtf16(units.substr(0, units.find(u'\0')));
}

} // namespace

String profileName(Bytes profile)
{
    if (profile.size() < headerSize + 4)
        return {};
    const std::uint32_t count = std::min(bigEndian(profile.subspan(headerSize), 4), mostTags);
    for (std::uint32_t i = 0; i < count; ++i) {
        const Bytes tag = part(profile, headerSize + 4 + i * tagSize, tagSize);
        if (tag.size() < tagSize)
            break;
        if (!startsWith(tag, "desc"))
            continue;
        const Bytes value = part(profile, bigEndian(tag.subspan(4), 4), bigEndian(tag.subspan(8), 4));
        if (value.size() < 12)
            return {};
        const String name = startsWith(value, "mluc") ? localName(value) : plainName(value);
        return name.isEmpty() ? String() : name;
    }
    return {};
}

} // namespace kelvane::detail
