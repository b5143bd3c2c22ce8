// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>

namespace kelvane::detail {

/// A uniform random number of 32 bits from the system's generator of cryptographic quality. Any thread.
[[nodiscard]] inline std::uint32_t randomNumber() noexcept
{
    return arc4random();
}

/// One of 64 bits. The system is asked once, which is what a number costs.
[[nodiscard]] inline std::uint64_t randomNumber64() noexcept
{
    std::uint64_t number = 0;
    arc4random_buf(&number, sizeof number);
    return number;
}

/// A uniform random number below `bound`, which is not 0. Any thread.
[[nodiscard]] inline std::uint32_t randomNumber(std::uint32_t bound) noexcept
{
    return arc4random_uniform(bound);
}

} // namespace kelvane::detail
