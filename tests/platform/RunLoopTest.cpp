// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/RunLoop.h>

#include <functional>
#include <gmock/gmock.h>
#include <stdexcept>
#include <tests/support/LogCapture.h>
#include <thread>
#include <vector>

using namespace kelvane;
using namespace std::chrono_literals;

namespace {

TEST(RunLoop, ASliceRunsAllBlocksInTheirOrder)
{
    std::vector<int> order;
    const auto loop = RunLoop::current();
    for (int number = 1; number <= 3; ++number)
        loop->perform([&order, number] { order.push_back(number); });
    loop->runFor(500ms);
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(RunLoop, BlocksThatKeepComingDoNotMakeASliceLonger)
{
    const auto loop = RunLoop::current();
    bool isOver = false;
    std::function<void()> again = [&] {
        if (!isOver)
            loop->perform(again);
    };
    loop->perform(again);
    loop->runFor(5ms); // hangs if they do
    isOver = true;
    loop->runFor(0ms); // the one that waits still
}

TEST(RunLoop, EachThreadHasItsOwnAndOthersMayHandItBlocks)
{
    const auto loop = RunLoop::current();
    EXPECT_EQ(RunLoop::current(), loop);
    std::thread::id runner;
    std::thread other([&] {
        EXPECT_NE(RunLoop::current(), loop);
        loop->perform([&] { runner = std::this_thread::get_id(); });
    });
    other.join();
    loop->runFor(0ms);
    EXPECT_EQ(runner, std::this_thread::get_id());
}

TEST(RunLoop, WhatABlockThrowsIsLoggedAndTheNextOneRuns)
{
    const testsupport::LogCapture log;
    const auto loop = RunLoop::current();
    bool hasRun = false;
    loop->perform([] { throw std::runtime_error("the reason"); });
    loop->perform([&] { hasRun = true; });
    loop->runFor(500ms);
    EXPECT_TRUE(hasRun);
    EXPECT_THAT(log.errorLines(), testing::Contains(testing::HasSubstr("the reason")));
}

} // namespace
