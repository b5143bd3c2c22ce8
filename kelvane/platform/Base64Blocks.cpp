// SPDX-License-Identifier: Apache-2.0
#include "Base64Blocks_p.h"

namespace kelvane::detail {

namespace {

/// Leaves everything to the caller's own loops.
Base64Progress encodeNone(const std::uint8_t *, std::size_t, char *, std::size_t) noexcept
{
    return {0, 0};
}
Base64Progress decodeNone(const unsigned char *, std::size_t, std::uint8_t *, std::size_t) noexcept
{
    return {0, 0};
}

struct Ways {
    Base64Blocks known[1 + mostVectorBase64Blocks] = {{"portable", encodeNone, decodeNone}};
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

std::span<const Base64Blocks> base64BlocksHere() noexcept
{
    return std::span(ways().known).first(ways().count);
}

const Base64Blocks &base64Blocks() noexcept
{
    return base64BlocksHere().back();
}

} // namespace kelvane::detail
