// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"

#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/DummyAsyncTask.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <thread>

using namespace kelvane;
using testing::ElementsAre;
using Clock = std::chrono::steady_clock;

namespace {

using Work = AsyncTaskIOS::WorkCallback;

std::shared_ptr<AsyncTaskIOS> taskWith(Work work, Object state = {})
{
    return std::make_shared<AsyncTaskIOS>(std::move(work), std::move(state));
}

std::shared_ptr<AsyncTaskIOS> completed(bool isSuccess)
{
    auto task = taskWith([isSuccess](AsyncTaskIOS &, const Object &) { return isSuccess; });
    task->start(true);
    return task;
}

/// A task that works until it is told to end.
class BlockedTask {
public:
    BlockedTask()
        : task(taskWith([this](AsyncTaskIOS &, const Object &) {
              _isWorking.count_down();
              _mayEnd.wait();
              return true;
          }))
    {
        task->startTask();
        _isWorking.wait();
    }
    ~BlockedTask()
    {
        std::latch hasEnded(1);
        const auto handle =
            task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { hasEnded.count_down(); });
        _mayEnd.count_down();
        hasEnded.wait();
        task->waitDone();
    }

private:
    std::latch _isWorking{1};
    std::latch _mayEnd{1};

public:
    const std::shared_ptr<AsyncTaskIOS> task;
};

/// A task that is never completed, and counts how often it is asked.
class LookedAtTask : public BaseAsyncTask {
public:
    [[nodiscard]] bool isCompleted() const override
    {
        ++looks;
        return false;
    }
    mutable std::atomic<int> looks = 0;
};

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

Object stateOf(int number)
{
    return Object::of(number);
}

int numberOf(const Object &state)
{
    return state.isNull() ? -1 : *state.as<int>();
}

} // namespace

// Child execution --------------------------------------------------------------------------------------------------

TEST(ExecuteTask, RunsTheChildOnThisThreadWithItsProgressInThePresentStep)
{
    std::vector<std::int32_t> percents;
    std::thread::id ran;
    const auto child = taskWith([&](AsyncTaskIOS &running, const Object &) {
        ran = std::this_thread::get_id();
        EXPECT_TRUE(running.isSubTask());
        running.reportStepProgress(50);
        return true;
    });
    const auto parent = taskWith([&](AsyncTaskIOS &running, const Object &) {
        running.incStepCount(2);
        const bool isSuccess = running.executeTask(child);
        running.incStep();
        return isSuccess;
    });
    parent->addBaseAsyncTaskProgressChanged(
        [&](BaseAsyncTask &, std::int32_t percent) { percents.push_back(percent); });
    EXPECT_TRUE(parent->start(true));
    EXPECT_EQ(ran, std::this_thread::get_id());
    EXPECT_THAT(percents, ElementsAre(0, 25, 50, 100));
    EXPECT_EQ(parent->childTaskArray(), nullptr);
}

TEST(ExecuteTask, StopsForwardingOnceTheChildHasRun)
{
    const auto child = completed(true);
    child->reset();
    const auto parent = std::make_shared<AsyncTaskIOS>();
    parent->executeTask(child);
    parent->setProgressPercentage(0);
    child->onProgress(70);
    EXPECT_EQ(parent->lastPercent(), 0);
}

TEST(ExecuteTask, OfNullOrUnderACancelledParentIsFalse)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    EXPECT_FALSE(parent->executeTask(nullptr));
    EXPECT_FALSE(parent->executeTask(nullptr, stateOf(1)));
    parent->cancel();
    const auto child = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    EXPECT_FALSE(parent->executeTask(child));
    EXPECT_FALSE(child->isStarted());
    EXPECT_FALSE(child->isSubTask());
}

TEST(ExecuteTask, GivesTheChildTheStateOnlyWhereTheParentHasOneOfItsOwn)
{
    int seen = 0;
    const auto work = [&](AsyncTaskIOS &, const Object &state) {
        seen = numberOf(state);
        return true;
    };
    const auto without = std::make_shared<AsyncTaskIOS>();
    without->executeTask(taskWith(work, stateOf(1)), stateOf(2));
    EXPECT_EQ(seen, 1);

    const auto with = taskWith({}, stateOf(3));
    with->executeTask(taskWith(work, stateOf(1)), stateOf(2));
    EXPECT_EQ(seen, 2);
    with->executeTask(taskWith(work, stateOf(1)));
    EXPECT_EQ(seen, 3);
    with->executeIAsyncTask(taskWith(work, stateOf(1)));
    EXPECT_EQ(seen, -1) << "executeIAsyncTask: hands on nil";
}

TEST(ExecuteTask, CopiesTheChildsErrorFieldsWhateverItsOutcome)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const auto child = taskWith([](AsyncTaskIOS &running, const Object &) {
        running.setErrorCode(7);
        running.setErrorText("text");
        return true;
    });
    EXPECT_TRUE(parent->executeTask(child));
    EXPECT_EQ(parent->errorCode(), 7);
    EXPECT_EQ(parent->errorText(), "text");
    EXPECT_TRUE(parent->executeTask(taskWith([](AsyncTaskIOS &, const Object &) { return true; })));
    EXPECT_EQ(parent->errorCode(), 0);
    EXPECT_TRUE(parent->errorText().isNull());
}

TEST(ExecuteTask, ACancelOfTheParentReachesTheChildFirst)
{
    const auto journal = std::make_shared<Journal>();
    std::shared_ptr<AsyncTaskIOS> parent;
    const auto child = taskWith([&](AsyncTaskIOS &running, const Object &) {
        parent->cancel();
        EXPECT_TRUE(running.isCancelled());
        return running.canContinue();
    });
    child->setDelegate(std::make_shared<RecordingDelegate>(journal, "child"));
    parent = taskWith([&](AsyncTaskIOS &running, const Object &) { return running.executeTask(child); });
    parent->setDelegate(std::make_shared<RecordingDelegate>(journal, "parent"));
    EXPECT_FALSE(parent->start(true));
    const auto lines = journal->lines();
    const auto childCancel = std::find(lines.begin(), lines.end(), "child:cancel");
    const auto parentCancel = std::find(lines.begin(), lines.end(), "parent:cancel");
    EXPECT_LT(childCancel, parentCancel);
    EXPECT_NE(parentCancel, lines.end());
}

TEST(ExecuteIAsyncTask, RunsAChildThatIsNotStartedAndWaitsForOneThatIs)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const auto fresh = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    EXPECT_TRUE(parent->executeIAsyncTask(fresh, nullptr));
    EXPECT_TRUE(fresh->isSubTask());

    const auto started = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    started->startTask();
    EXPECT_TRUE(parent->executeIAsyncTask(started, nullptr));
    EXPECT_FALSE(started->isSubTask());

    EXPECT_TRUE(parent->executeIAsyncTask(nullptr, nullptr)) << "nothing to wait for";
    EXPECT_FALSE(parent->executeIAsyncTask(nullptr));
}

TEST(ExecuteIAsyncTask, WaitsForAKindOfTaskThatItCannotStart)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const auto dummy = std::make_shared<DummyAsyncTask>(true, DummyAsyncTask::AsyncCallback(), nullptr);
    EXPECT_TRUE(parent->executeIAsyncTask(dummy, nullptr));
    EXPECT_TRUE(parent->executeIAsyncTask(dummy));
}

// Child wait -------------------------------------------------------------------------------------------------------

TEST(WaitTaskDone, ReturnsTheChildsOutcomeAndCopiesItsError)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const auto child = completed(false);
    child->setErrorCode(5);
    EXPECT_FALSE(parent->waitTaskDone(child));
    EXPECT_EQ(parent->errorCode(), 5);
    EXPECT_TRUE(parent->waitTaskDone(completed(true)));
    EXPECT_EQ(parent->errorCode(), 0);
}

TEST(WaitTaskDone, OfNullIsTrueWithATimeOutAloneAndFalseInTheFullForm)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    EXPECT_TRUE(parent->waitTaskDone(nullptr, 10));
    EXPECT_TRUE(parent->waitTaskDone(nullptr));
    EXPECT_FALSE(parent->waitTaskDone(nullptr, nullptr, 10));
    EXPECT_FALSE(parent->waitTaskDone(nullptr, AsyncTaskIOS::Tasks{}));
}

TEST(WaitTaskDone, UnderACancelledParentIsFalse)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    parent->cancel();
    EXPECT_FALSE(parent->waitTaskDone(completed(true)));
}

TEST(WaitTaskDone, WithChildrenTasksDoesNotWait)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const BlockedTask child;
    parent->setErrorCode(9);
    EXPECT_FALSE(parent->waitTaskDone(child.task, AsyncTaskIOS::Tasks{child.task}));
    EXPECT_EQ(parent->errorCode(), 9) << "nothing is copied from a child that has not completed";
    EXPECT_TRUE(parent->waitTaskDone(completed(true), AsyncTaskIOS::Tasks{}));
}

TEST(WaitTaskDone, FoldsTheChildsProgressInWhereStepsAreDeclared)
{
    std::latch parentWaits(1);
    const auto child = taskWith([&](AsyncTaskIOS &running, const Object &) {
        parentWaits.wait();
        running.reportStepProgress(50);
        return true;
    });
    child->addBaseAsyncTaskWaiting([&](BaseAsyncTask &) { parentWaits.count_down(); });
    std::vector<std::int32_t> percents;
    const auto parent = taskWith([&](AsyncTaskIOS &running, const Object &) {
        running.incStepCount(2);
        return running.waitTaskDone(child);
    });
    parent->addBaseAsyncTaskProgressChanged(
        [&](BaseAsyncTask &, std::int32_t percent) { percents.push_back(percent); });
    child->startTask();
    EXPECT_TRUE(parent->start(true));
    EXPECT_THAT(percents, testing::Contains(25));
}

TEST(WaitTaskDone, ForwardsNothingWithoutSteps)
{
    std::latch parentWaits(1);
    const auto child = taskWith([&](AsyncTaskIOS &running, const Object &) {
        parentWaits.wait();
        running.reportStepProgress(50);
        return true;
    });
    child->addBaseAsyncTaskWaiting([&](BaseAsyncTask &) { parentWaits.count_down(); });
    const auto parent = std::make_shared<AsyncTaskIOS>();
    child->startTask();
    EXPECT_TRUE(parent->waitTaskDone(child));
    EXPECT_EQ(parent->lastPercent(), 0);
}

TEST(WaitTaskDone, ACancelReachesAllOfTheGivenTasks)
{
    const BlockedTask waited;
    const BlockedTask beside;
    const auto parent = std::make_shared<AsyncTaskIOS>();
    std::latch parentWaits(1);
    waited.task->addBaseAsyncTaskWaiting([&](BaseAsyncTask &) { parentWaits.count_down(); });
    std::thread waiter([&] {
        const AsyncTaskIOS::Tasks tasks{waited.task, beside.task};
        parent->waitTaskDone(waited.task, &tasks, 600000);
    });
    parentWaits.wait();
    parent->cancel();
    EXPECT_TRUE(waited.task->isCancelled());
    EXPECT_TRUE(beside.task->isCancelled());
    EXPECT_EQ(parent->childTaskArray(), nullptr);
    waited.task->fireCompletedEvent(); // the waiter need not wait for the worker here
    waiter.join();
}

// Polling waits ----------------------------------------------------------------------------------------------------

TEST(WaitAll, CountsACompletedChildAgainInEveryLook)
{
    const BlockedTask running;
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const auto start = Clock::now();
    EXPECT_TRUE(parent->waitAll({completed(true), running.task}, 10000));
    EXPECT_GE(secondsSince(start), 0.2) << "two looks, each followed by a sleep";
    EXPECT_LT(secondsSince(start), 5);
    EXPECT_FALSE(running.task->isCompleted());
    EXPECT_EQ(parent->childTaskArray(), nullptr);
}

TEST(WaitAll, ComparesBeforeALookSoThatOneLookIsNeverEnough)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    EXPECT_FALSE(parent->waitAll({completed(true)}, 999)) << "no whole second: one look and one sleep";
    EXPECT_TRUE(parent->waitAll({completed(true)}, 1000));
}

TEST(WaitAll, GivesUpWhenTheWholeSecondsAreOver)
{
    const auto task = std::make_shared<LookedAtTask>();
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const auto start = Clock::now();
    EXPECT_FALSE(parent->waitAll({task}, 1500));
    EXPECT_GE(secondsSince(start), 1.0);
    EXPECT_EQ(task->looks, 10) << "cut to one whole second: ten times 0.1 is more than 1, in single precision";
}

TEST(WaitAll, OfNothingIsTrueAtOnceAndOfACancelledParentFalse)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    EXPECT_TRUE(parent->waitAll({}, 0));
    EXPECT_TRUE(parent->waitAll({}));
    parent->cancel();
    EXPECT_FALSE(parent->waitAll({}, 0));
}

TEST(WaitAny, ReturnsTheLastCompletedOneInOrder)
{
    const BlockedTask running;
    const auto first = completed(true);
    const auto second = completed(false);
    const auto parent = std::make_shared<AsyncTaskIOS>();
    EXPECT_EQ(parent->waitAny({first, second, running.task}), second);
    EXPECT_EQ(parent->waitAny({second, running.task, first}, 0), first);
    EXPECT_EQ(parent->childTaskArray(), nullptr);
}

TEST(WaitAny, BelowASecondLooksOnceAndSleepsOnce)
{
    const auto task = std::make_shared<LookedAtTask>();
    const auto parent = std::make_shared<AsyncTaskIOS>();
    const auto start = Clock::now();
    EXPECT_EQ(parent->waitAny({task}, 500), nullptr);
    EXPECT_GE(secondsSince(start), 0.1);
    EXPECT_EQ(task->looks, 1);
}

TEST(WaitAny, OfNothingOrUnderACancelledParentIsNull)
{
    const auto parent = std::make_shared<AsyncTaskIOS>();
    EXPECT_EQ(parent->waitAny({}), nullptr);
    parent->cancel();
    EXPECT_EQ(parent->waitAny({completed(true)}), nullptr);
}

TEST(WaitAny, ACancelReachesTheTasksWaitedFor)
{
    const BlockedTask running;
    const auto parent = std::make_shared<AsyncTaskIOS>();
    std::thread waiter([&] { EXPECT_EQ(parent->waitAny({running.task}, 3000), nullptr); });
    while (!parent->childTaskArray())
        std::this_thread::yield();
    parent->cancel();
    EXPECT_TRUE(running.task->isCancelled());
    waiter.join();
}
