// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/PerformanceTimer.h>

#include <tests/support/LogCapture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// Uses up processor time.
void work(int milliseconds)
{
    const std::clock_t end = std::clock() + milliseconds * (CLOCKS_PER_SEC / 1000);
    while (std::clock() < end) {}
}

TEST(PerformanceTimer, WritesOneLineToTheSystemLog)
{
    const testsupport::LogCapture log;
    PerformanceTimer timer;
    timer.startTimer("50%");
    work(5);
    const std::uint64_t elapsed = timer.stopTimerNamed("50%");
    EXPECT_GE(elapsed, 5U);
    EXPECT_THAT(log.systemLines(),
        ElementsAre(
            "PerformanceTimer:  Total execution time for task named '50%':  " + std::to_string(elapsed) + " ms"));
    EXPECT_THAT(log.infoLines(), IsEmpty());
}

TEST(PerformanceTimer, OfEqualNamesTheOldestStopsFirst)
{
    PerformanceTimer timer;
    timer.startTimer("a");
    work(30);
    timer.startTimer("a");
    EXPECT_GE(timer.stopTimerNamed("a"), 30U);
    EXPECT_LT(timer.stopTimerNamed("a"), 30U);
    EXPECT_EQ(timer.stopTimerNamed("a"), 0U);
}

TEST(PerformanceTimer, StopTimerStopsByTheNameStartedLast)
{
    const testsupport::LogCapture log;
    PerformanceTimer timer;
    timer.startTimer("a");
    timer.startTimer("b");
    timer.stopTimer();
    timer.stopTimer();
    EXPECT_THAT(log.systemLines(),
        ElementsAre(StartsWith("PerformanceTimer:  Total execution time for task named 'b':  "),
            StartsWith("PerformanceTimer:  Total execution time for task named 'a':  ")));
}

TEST(PerformanceTimer, StopTimerStopsTheOldestOfTheNameStartedLast)
{
    PerformanceTimer timer;
    timer.startTimer("a");
    work(30);
    timer.startTimer("a");
    EXPECT_GE(timer.stopTimer(), 30U);
}

TEST(PerformanceTimer, StoppingWhatWasNotStartedLogsNothing)
{
    const testsupport::LogCapture log;
    PerformanceTimer timer;
    EXPECT_EQ(timer.stopTimer(), 0U);
    EXPECT_EQ(timer.stopTimerNamed("a"), 0U);
    EXPECT_THAT(log.systemLines(), IsEmpty());
}

TEST(PerformanceTimer, SleepingTakesNoProcessorTime)
{
    PerformanceTimer timer;
    timer.startTimer("sleep");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_LT(timer.stopTimer(), 150U);
}

TEST(PerformanceTimer, ClassOperationsShareOneInstance)
{
    const testsupport::LogCapture log;
    PerformanceTimer::startTimerWithName("shared 1");
    PerformanceTimer::startTimerWithName("shared 2");
    PerformanceTimer::stopTimerWithName("shared 1");
    PerformanceTimer::stopLastTimer();
    EXPECT_EQ(PerformanceTimer::stopLastTimer(), 0U);
    EXPECT_EQ(log.systemLines().size(), 2U);
}

TEST(PerformanceTimer, TakesStartsAndStopsFromAnyThread)
{
    const testsupport::LogCapture log;
    PerformanceTimer timer;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&timer, name = String::number(std::int64_t{i})] {
            for (int round = 0; round < 100; ++round) {
                timer.startTimer(name);
                timer.stopTimerNamed(name);
            }
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(timer.stopTimer(), 0U);
    EXPECT_EQ(log.systemLines().size(), 400U);
}

} // namespace
} // namespace kelvane
