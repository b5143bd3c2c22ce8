// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane::soak {

/// What this process takes of the machine; memory in KiB.
struct ProcessFigures {
    std::int64_t written = 0; ///< memory that this process alone has written to and still has
    std::int64_t inUse = 0; ///< what of it the program has asked for, and not given back
    std::int64_t peak = 0; ///< the most that was ever in memory, code and files included
    std::int64_t descriptors = 0;
    std::int64_t threads = 0;

    /// As it is now. Memory that was given back is returned to the system first, so that it does not count.
    [[nodiscard]] static ProcessFigures now();
};

/// Waits until the threads that have nothing to do are gone: until there are no more than `expected`, or, for 0, until
/// their number has not changed for longer than an idle thread stays. A minute at the most.
void waitForThreads(std::int64_t expected);

} // namespace kelvane::soak
