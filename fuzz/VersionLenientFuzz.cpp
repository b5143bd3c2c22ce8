// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/Version.h>

#include <array>
#include <cstdint>

namespace {

/// The rules, byte by byte, with no thought of elegance.
std::array<std::uint32_t, 4> plainParse(std::string_view text)
{
    std::array<std::uint32_t, 4> parts{};
    std::size_t part = 0;
    std::uint32_t number = 0;
    bool isOpen = false;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            number = number * 10 + static_cast<std::uint32_t>(c - '0');
            isOpen = true;
            continue;
        }
        if (!isOpen)
            continue;
        parts[part++] = number;
        number = 0;
        isOpen = false;
        if (part == parts.size())
            return parts;
    }
    if (isOpen)
        parts[part] = number;
    return parts;
}

} // namespace

void kelvane::fuzz(std::string_view input)
{
    const Version version = Version::createFromString(String(input));
    const auto plain = plainParse(input);
    require((version.major)() == static_cast<std::int32_t>(plain[0])
            && (version.minor)() == static_cast<std::int32_t>(plain[1])
            && version.build() == static_cast<std::int32_t>(plain[2])
            && version.revision() == static_cast<std::int32_t>(plain[3]),
        "the lenient parser takes the first four numbers");
    static_cast<void>(version.toString());
    require(version.compare(version) == 0, "a version equals itself");
}
