// SPDX-License-Identifier: Apache-2.0
#include "Watchdog.h"

#include <gtest/gtest.h>

namespace kelvane::soak {
namespace {

TEST(WatchdogDeathTest, EndsAProcessThatHangsAndSaysInWhat)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Watchdog watchdog(std::chrono::seconds(0));
            const Watchdog::Work work(watchdog, "a job");
            std::mutex mutex;
            std::unique_lock lock(mutex);
            std::condition_variable never;
            never.wait(lock, [] { return false; });
        },
        "HANGS: a job, for 0 seconds\n(.*\n)*.*system call [0-9]+");
}

TEST(Watchdog, LetsWorkBeThatEndsInTime)
{
    Watchdog watchdog(std::chrono::hours(1));
    const Watchdog::Work work(watchdog, "a job");
}

} // namespace
} // namespace kelvane::soak
