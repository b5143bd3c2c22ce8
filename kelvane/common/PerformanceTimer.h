// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>
#include <ctime>
#include <mutex>
#include <vector>

namespace kelvane {

/// Measures how long named pieces of work take and writes one line about each to the system log. Several may be open
/// at once, also of the same name.
///
/// What is measured is processor time used by the whole process, in milliseconds, not the time of a clock on the
/// wall: work that waits takes next to none.
///
/// Threads: any thread, any operation.
/// Errors: nothing throws but std::bad_alloc; stopping what was not started answers 0.
class KELVANE_EXPORT PerformanceTimer {
public:
    PerformanceTimer() = default;
    PerformanceTimer(const PerformanceTimer &) = delete;
    PerformanceTimer &operator=(const PerformanceTimer &) = delete;

    /// @selector startTimer:
    void startTimer(const String &name);
    /// Stops the oldest open timer of that name and answers its milliseconds; 0, and no line, where there is none.
    /// @selector stopTimerNamed:
    std::uint64_t stopTimerNamed(const String &name);
    /// Stops by the name that was started last: of several of that name, the oldest one.
    std::uint64_t stopTimer();

    /// The same on an instance that all share. @selector startTimerWithName:
    static void startTimerWithName(const String &name);
    /// @selector stopTimerWithName:
    static std::uint64_t stopTimerWithName(const String &name);
    static std::uint64_t stopLastTimer();

private:
    [[nodiscard]] static PerformanceTimer &timerInstance();
    std::uint64_t stop(std::unique_lock<std::mutex> lock, const String &name);

    std::mutex _mutex;
    std::vector<std::clock_t> startTimes; // guarded by _mutex
    std::vector<String> names; // guarded by _mutex, as long as startTimes
};

} // namespace kelvane
