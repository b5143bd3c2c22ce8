// SPDX-License-Identifier: Apache-2.0
#include "Base64Blocks_p.h"

#include <array>
#include <string_view>

namespace kelvane::detail {

namespace {

/// Leaves encoding to the caller's own loop.
Base64Progress encodeNone(const std::uint8_t *, std::size_t, char *, std::size_t) noexcept
{
    return {0, 0};
}

constexpr std::uint8_t none = 99;
constexpr std::array<std::uint8_t, 256> values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(none);
    std::uint8_t value = 0;
    for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"))
        table[static_cast<unsigned char>(c)] = value++;
    return table;
}();

struct Ways {
    Base64Blocks known[1 + mostVectorBase64Blocks] = {{"portable", encodeNone, decodeGroups}};
    std::size_t count = 1;

    Ways() noexcept
    {
#if defined(__x86_64__)
        count += addVectorBase64Blocks(std::span(known).subspan(1));
#endif
    }
};

const Ways &ways() noexcept
{
    static const Ways ways;
    return ways;
}

} // namespace

Base64Progress decodeGroups(const unsigned char *source, std::size_t size, std::uint8_t *out, std::size_t room) noexcept
{
    const std::size_t groups = std::min(size / 4, room / 3);
    for (std::size_t i = 0; i < groups; ++i, source += 4, out += 3) {
        const std::uint32_t a = values[source[0]];
        const std::uint32_t b = values[source[1]];
        const std::uint32_t c = values[source[2]];
        const std::uint32_t d = values[source[3]];
        if ((a | b | c | d) >= 64)
            return {i * 4, i * 3};
        out[0] = static_cast<std::uint8_t>(a << 2 | b >> 4);
        out[1] = static_cast<std::uint8_t>(b << 4 | c >> 2);
        out[2] = static_cast<std::uint8_t>(c << 6 | d);
    }
    return {groups * 4, groups * 3};
}

std::span<const Base64Blocks> base64BlocksHere() noexcept
{
    return std::span(ways().known).first(ways().count);
}

const Base64Blocks &base64Blocks() noexcept
{
    return base64BlocksHere().back();
}

} // namespace kelvane::detail
