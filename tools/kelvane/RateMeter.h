// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>

namespace kelvane::tool {

/// Bytes a second, smoothed: steady enough to read, quick enough to believe.
class RateMeter {
public:
    /// To be told again and again how many bytes there are by now.
    void measure(std::uint64_t bytes);
    /// 0 as long as nothing has been measured.
    [[nodiscard]] double rate() const { return _rate; }

private:
    using Clock = std::chrono::steady_clock;

    double _rate = 0;
    std::uint64_t _bytes = 0;
    Clock::time_point _measuredAt = Clock::now();
};

} // namespace kelvane::tool
