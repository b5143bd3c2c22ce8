// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"
#include "tests/support/Cost.h"
#include "tests/support/LogCapture.h"

#include <kelvane/common/BaseAsyncTask.h>
#include <kelvane/common/detail/LiveTaskList.h>

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <latch>
#include <thread>
#include <vector>

using namespace kelvane;
using kelvane::testsupport::costOf;
using kelvane::testsupport::LogCapture;
using kelvane::testsupport::sanitizerFactor;
using testing::ElementsAre;
using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

namespace {

class TestTask : public BaseAsyncTask {
public:
    using BaseAsyncTask::BaseAsyncTask;
    using BaseAsyncTask::s_iosTaskArray;
    using BaseAsyncTask::setTaskState;
    using BaseAsyncTask::waitDoneInternal;
};

/// Counts down when a waiter announces itself: it is about to block then.
void countDownOnWait(BaseAsyncTask &task, std::latch &latch)
{
    task.addBaseAsyncTaskWaiting([&latch](BaseAsyncTask &) { latch.count_down(); });
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace

TEST(TaskWait, OnARunningTaskReturnsFalseAtTheDeadlineAndTheTaskRunsOn)
{
    const auto task = std::make_shared<TestTask>();
    const auto start = Clock::now();
    EXPECT_FALSE(task->waitDone(30));
    EXPECT_GE(secondsSince(start), 0.03);
    EXPECT_TRUE(task->canContinue());
}

TEST(TaskWait, OfZeroOrNegativeTimeReturnsAtOnce)
{
    const auto task = std::make_shared<TestTask>();
    const auto start = Clock::now();
    EXPECT_FALSE(task->waitDone(0));
    EXPECT_FALSE(task->waitDone(-1));
    EXPECT_FALSE(task->waitDone(std::numeric_limits<std::int32_t>::min()));
    EXPECT_LT(secondsSince(start), 5);
}

TEST(TaskWait, OnACompletedTaskNeverMakesALock)
{
    const auto task = std::make_shared<TestTask>();
    task->doComplete(true);
    EXPECT_TRUE(task->waitDone(0));
    EXPECT_TRUE(task->waitDone());
    EXPECT_EQ(task->waitCondition(), nullptr);
}

TEST(TaskWait, SignalIsZeroUntilTheEndAndOneFromThenOn)
{
    const auto task = std::make_shared<TestTask>();
    const auto signal = task->waitCondition();
    ASSERT_NE(signal, nullptr);
    EXPECT_EQ(signal, task->waitCondition());
    EXPECT_EQ(signal->condition(), 0);
    task->doComplete(false);
    EXPECT_EQ(signal->condition(), 1);
    task->fireCompletedEvent();
    EXPECT_EQ(signal->condition(), 1);
}

TEST(TaskWait, SixtyFourWaitersWakeWithTheOutcome)
{
    const auto task = std::make_shared<TestTask>();
    constexpr int count = 64;
    std::latch announced(count);
    countDownOnWait(*task, announced);
    std::atomic<int> successes = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < count; ++i)
        waiters.emplace_back([&] { successes += task->waitDone() ? 1 : 0; });
    announced.wait();
    task->doComplete(true);
    for (auto &waiter : waiters)
        waiter.join();
    EXPECT_EQ(successes, count);
}

TEST(TaskWait, EndsWithFalseForAFailedTask)
{
    const auto task = std::make_shared<TestTask>();
    std::latch announced(1);
    countDownOnWait(*task, announced);
    std::thread worker([&] {
        announced.wait();
        task->doComplete(false);
    });
    EXPECT_FALSE(task->waitDone());
    worker.join();
}

TEST(TaskWait, OnACancelledTaskReturnsAtOnceAlthoughItStillWorks)
{
    const auto task = std::make_shared<TestTask>();
    task->setTaskState(AsyncTaskStateWorking);
    task->cancel();
    EXPECT_FALSE(task->waitDone());
}

TEST(TaskWait, WaitResultIsTheCodeOrNil)
{
    const auto task = std::make_shared<TestTask>();
    EXPECT_TRUE(task->waitResult(0).isNil());
    task->doComplete(true);
    EXPECT_EQ(task->waitResult(0), Value(1));
    task->setIOSUploadResult(5);
    EXPECT_EQ(task->waitResult(0), Value(5));
    task->setResult(2);
    EXPECT_TRUE(task->waitResult(0).isNil());
}

TEST(TaskWait, ASignalThatSomebodyHoldsIsForcedUpAfterASecond)
{
    LogCapture log;
    const auto task = std::make_shared<TestTask>();
    const auto signal = task->waitCondition();
    signal->lock();
    const auto start = Clock::now();
    task->fireCompletedEvent();
    EXPECT_GE(secondsSince(start), 1.0);
    EXPECT_EQ(signal->condition(), 1);
    EXPECT_THAT(log.errorLines(), ElementsAre("--------------------------------------unexpected fireCompleteEvent"));
}

TEST(TaskSleep, UpToFiveHundredMillisecondsIsOneWait)
{
    const auto task = std::make_shared<TestTask>();
    const auto start = Clock::now();
    task->sleep(20);
    EXPECT_GE(secondsSince(start), 0.02);
}

TEST(TaskSleep, AboveFiveHundredMillisecondsEndsWithTheTaskOnly)
{
    const auto task = std::make_shared<TestTask>();
    std::atomic<bool> isOver = false;
    std::thread sleeper([&] {
        task->sleep(501);
        isOver = true;
    });
    // More than the 501 ms asked for: the wait for a task that nobody ends is the clock here.
    EXPECT_FALSE(task->waitDone(1200));
    EXPECT_FALSE(isOver);
    task->doComplete(true);
    sleeper.join();
    EXPECT_TRUE(isOver);
}

TEST(TaskSleep, SendsNoWaitingNotice)
{
    const auto task = std::make_shared<TestTask>();
    const auto journal = std::make_shared<Journal>();
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    task->sleep(1);
    task->doComplete(true);
    task->sleep(10000);
    EXPECT_THAT(journal->lines(), ElementsAre("d:finished"));
}

TEST(LiveTasks, AWaitTakesTheTaskOutAndLogsTheOnesThatAreLeft)
{
    LogCapture log;
    const auto first = std::make_shared<TestTask>();
    const auto second = std::make_shared<TestTask>();
    TestTask::s_iosTaskArray().append(first);
    TestTask::s_iosTaskArray().append(second);
    first->waitDone(0);
    EXPECT_THAT(log.debugLines(), ElementsAre(testing::MatchesRegex("s_iosTaskArray:\\(<task 0x.*>\\)")));
    EXPECT_EQ(first.use_count(), 1);
    second->waitDone(0);
    EXPECT_EQ(log.debugLines().size(), 1U) << "an empty list is not logged";
}

TEST(LiveTasks, OneOfManyIsTakenOutWithoutALookAtTheOthers)
{
    const auto cost = costOf([] {
        detail::LiveTaskList list(0);
        std::vector<std::shared_ptr<TestTask>> tasks(100'000);
        for (auto &task : tasks) {
            task = std::make_shared<TestTask>();
            list.append(task);
        }
        for (const auto &task : tasks)
            list.remove(task.get());
        if (!list.text().isNull())
            std::abort();
    });
    EXPECT_TRUE(cost.isDone);
    EXPECT_LT(cost.processorSeconds, 2 * sanitizerFactor);
}

TEST(LiveTasks, TheCoreItselfAddsNone)
{
    LogCapture log;
    const auto task = std::make_shared<TestTask>();
    task->doComplete(true);
    EXPECT_EQ(task.use_count(), 1);
    task->waitDone();
    EXPECT_THAT(log.debugLines(), IsEmpty());
}
