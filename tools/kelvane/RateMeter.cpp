// SPDX-License-Identifier: Apache-2.0
#include "RateMeter.h"

#include <cmath>

namespace kelvane::tool {

void RateMeter::measure(std::uint64_t bytes)
{
    constexpr std::chrono::milliseconds interval{400};
    const Clock::duration elapsed = Clock::now() - _measuredAt;
    if (elapsed < interval)
        return;
    const double seconds = std::chrono::duration<double>(elapsed).count();
    const double present = bytes > _bytes ? static_cast<double>(bytes - _bytes) / seconds : 0;
    // Half of what was a second and a half ago is forgotten.
    const double kept = _rate == 0 ? 0 : std::pow(0.5, seconds / 1.5);
    _rate = _rate * kept + present * (1 - kept);
    _bytes = bytes;
    _measuredAt = Clock::now();
}

} // namespace kelvane::tool
