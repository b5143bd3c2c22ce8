// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/SerialQueue.h>

#include "ThreadCount.h"

#include <tests/support/LogCapture.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <stdexcept>
#include <vector>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::ElementsAre;

TEST(SerialQueue, HasItsLabel)
{
    EXPECT_EQ(SerialQueue("com.example.copies").label(), "com.example.copies");
}

TEST(SerialQueue, RunsBlocksInOrderOneAtATime)
{
    SerialQueue queue("order");
    std::vector<int> order; // unguarded: blocks never overlap
    std::latch done(1);
    for (int i = 0; i < 2000; ++i)
        queue.async([&order, i] { order.push_back(i); });
    queue.async([&] { done.count_down(); });
    done.wait();
    ASSERT_EQ(order.size(), 2000U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(SerialQueue, BlocksFromManyThreadsNeverOverlap)
{
    SerialQueue queue("many");
    constexpr int adderCount = 4;
    constexpr int each = 500;
    int sum = 0; // unguarded: blocks never overlap
    std::latch done(adderCount * each);
    std::vector<std::thread> adders;
    for (int i = 0; i < adderCount; ++i) {
        adders.emplace_back([&] {
            for (int k = 0; k < each; ++k) {
                queue.async([&] {
                    ++sum;
                    done.count_down();
                });
            }
        });
    }
    for (auto &adder : adders)
        adder.join();
    done.wait();
    EXPECT_EQ(sum, adderCount * each);
}

TEST(SerialQueue, AsyncReturnsBeforeTheBlockRuns)
{
    SerialQueue queue("returns");
    std::latch gate(1), done(1);
    queue.async([&] {
        gate.wait();
        done.count_down();
    });
    EXPECT_FALSE(done.try_wait());
    gate.count_down();
    done.wait();
}

TEST(SerialQueue, ABlockHandedOverByABlockRunsAfterIt)
{
    SerialQueue queue("nested");
    std::vector<int> order;
    std::latch done(1);
    queue.async([&] {
        queue.async([&] {
            order.push_back(2);
            done.count_down();
        });
        order.push_back(1);
    });
    done.wait();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(SerialQueue, IgnoresANullBlock)
{
    SerialQueue queue("null");
    queue.async(nullptr);
    std::latch done(1);
    queue.async([&] { done.count_down(); });
    done.wait();
}

TEST(SerialQueue, WhatABlockThrowsEndsInOneErrorLineAndTheNextRuns)
{
    const LogCapture log;
    SerialQueue queue("throws");
    std::latch done(1);
    queue.async([] { throw std::runtime_error("no space"); });
    queue.async([] { throw 'x'; });
    queue.async([&] { done.count_down(); });
    done.wait();
    EXPECT_THAT(log.errorLines(),
        ElementsAre("uncaught exception on a queue thread: std::runtime_error: no space",
            "uncaught exception of unknown type on a queue thread"));
}

TEST(SerialQueue, LetsABlockGoBeforeTheNextRuns)
{
    SerialQueue queue("release");
    auto owned = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = owned;
    std::latch done(1);
    bool isGone = false;
    queue.async([owned = std::move(owned)] {});
    queue.async([&] {
        isGone = watched.expired();
        done.count_down();
    });
    done.wait();
    EXPECT_TRUE(isGone);
}

TEST(SerialQueue, ItsThreadComesWithTheFirstBlockAndGoesAwayWithoutWork)
{
    SerialQueue queue("com.example.comesAndGoes");
    EXPECT_EQ(threadsNamed("comesAndGoes"), 0);
    for (int round = 0; round < 2; ++round) {
        std::latch done(1);
        int threads = 0;
        queue.async([&] {
            threads = threadsNamed("comesAndGoes");
            done.count_down();
        });
        done.wait();
        EXPECT_EQ(threads, 1);
        EXPECT_TRUE(waitUntilNoThreadIsNamed("comesAndGoes"));
    }
}

TEST(SerialQueue, BlocksThatWaitRunAlthoughTheQueueIsDestroyed)
{
    std::latch gate(1), done(100);
    {
        SerialQueue queue("com.example.destroyed");
        queue.async([&] { gate.wait(); });
        for (int i = 0; i < 100; ++i)
            queue.async([&] { done.count_down(); });
    }
    gate.count_down();
    done.wait();
    EXPECT_TRUE(waitUntilNoThreadIsNamed("destroyed"));
}
