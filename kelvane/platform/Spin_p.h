// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <thread>

namespace kelvane {

/// Tells the processor that this thread polls memory, so that it leaves its resources to the other threads.
inline void relaxProcessor() noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

/// Polls `condition` until `end`, some microseconds from now: less than putting this thread to sleep and waking it
/// costs. Returns its last answer. Asks just once on a single processor, where nobody could change it meanwhile.
template <class Condition>
bool spinUntil(Condition &&condition, std::chrono::steady_clock::time_point end)
{
    static const bool isWorthwhile = std::thread::hardware_concurrency() > 1;
    if (condition())
        return true;
    if (!isWorthwhile)
        return false;
    constexpr int pollsPerClockReading = 16;
    do {
        for (int i = 0; i < pollsPerClockReading; ++i) {
            relaxProcessor();
            if (condition())
                return true;
        }
        std::this_thread::yield(); // to whoever would change it, if that thread waits for this processor
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

} // namespace kelvane
