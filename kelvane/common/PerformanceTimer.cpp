// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/PerformanceTimer.h>

#include <kelvane/platform/SystemLog.h>

#include <algorithm>
#include <utility>

namespace kelvane {

void PerformanceTimer::startTimer(const String &name)
{
    const std::lock_guard guard(_mutex);
    const std::clock_t now = std::clock();
    startTimes.push_back(now);
    names.push_back(name);
}

std::uint64_t PerformanceTimer::stopTimerNamed(const String &name)
{
    return stop(std::unique_lock(_mutex), name);
}

std::uint64_t PerformanceTimer::stopTimer()
{
    std::unique_lock lock(_mutex);
    if (names.empty())
        return 0;
    const String last = names.back();
    return stop(std::move(lock), last);
}

std::uint64_t PerformanceTimer::stop(std::unique_lock<std::mutex> lock, const String &name)
{
    const auto found = std::ranges::find(names, name);
    if (found == names.end())
        return 0;
    const auto start = startTimes.begin() + (found - names.begin());
    constexpr double ticksPerMillisecond = CLOCKS_PER_SEC / 1000.0;
    const auto elapsed = static_cast<std::uint64_t>(static_cast<double>(std::clock() - *start) / ticksPerMillisecond);
    names.erase(found);
    startTimes.erase(start);
    lock.unlock(); // the log's sink may be the application's
    SystemLog::defaultLog().log(String::concat({"PerformanceTimer:  Total execution time for task named '",
        name.isNull() ? "(null)" : name.view(), "':  ", String::number(elapsed).view(), " ms"}));
    return elapsed;
}

PerformanceTimer &PerformanceTimer::timerInstance()
{
    static PerformanceTimer &shared = *new PerformanceTimer;
    return shared;
}

void PerformanceTimer::startTimerWithName(const String &name)
{
    timerInstance().startTimer(name);
}

std::uint64_t PerformanceTimer::stopTimerWithName(const String &name)
{
    return timerInstance().stopTimerNamed(name);
}

std::uint64_t PerformanceTimer::stopLastTimer()
{
    return timerInstance().stopTimer();
}

} // namespace kelvane
