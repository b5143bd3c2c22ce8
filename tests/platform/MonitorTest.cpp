// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Monitor.h>

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

using kelvane::Monitor;

TEST(Monitor, TheThreadInsideMayEnterAgain)
{
    Monitor monitor;
    const std::lock_guard outer(monitor);
    const std::lock_guard inner(monitor);
    EXPECT_TRUE(monitor.try_lock());
    monitor.unlock();
}

TEST(Monitor, OthersEnterOnlyWhenItWasLeftAsOftenAsEntered)
{
    Monitor monitor;
    const auto othersCanEnter = [&] {
        bool entered = false;
        std::thread([&] {
            entered = monitor.try_lock();
            if (entered)
                monitor.unlock();
        }).join();
        return entered;
    };
    monitor.lock();
    monitor.lock();
    EXPECT_FALSE(othersCanEnter());
    monitor.unlock();
    EXPECT_FALSE(othersCanEnter());
    monitor.unlock();
    EXPECT_TRUE(othersCanEnter());
}

TEST(Monitor, ProtectsWhatThreadsShare)
{
    Monitor monitor;
    int sum = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 2000; ++k) {
                const std::lock_guard guard(monitor);
                ++sum;
            }
        });
    }
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(sum, 8000);
}
