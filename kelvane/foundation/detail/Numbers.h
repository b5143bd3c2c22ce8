// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <concepts>
#include <limits>
#include <type_traits>
#include <utility>

namespace kelvane::detail {

/// `value` cut towards zero; the nearest limit where it does not fit, 0 for a NaN.
template <std::integral To>
[[nodiscard]] To saturate(double value) noexcept
{
    if (std::isnan(value))
        return 0;
    // 2^digits is exact as a double, the largest value of a 64-bit type is not.
    const double limit = std::ldexp(1.0, std::numeric_limits<To>::digits);
    if (value >= limit)
        return std::numeric_limits<To>::max();
    if (value <= (std::is_signed_v<To> ? -limit : 0.0))
        return std::numeric_limits<To>::min();
    return static_cast<To>(value);
}

/// `value`, or the nearest limit where it does not fit.
template <std::integral To, std::integral From>
[[nodiscard]] constexpr To saturate(From value) noexcept
{
    if (std::cmp_greater(value, std::numeric_limits<To>::max()))
        return std::numeric_limits<To>::max();
    if (std::cmp_less(value, std::numeric_limits<To>::min()))
        return std::numeric_limits<To>::min();
    return static_cast<To>(value);
}

} // namespace kelvane::detail
