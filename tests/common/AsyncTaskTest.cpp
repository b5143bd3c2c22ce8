// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"
#include "tests/support/LogCapture.h"

#include <kelvane/common/AsyncTask.h>

#include <gmock/gmock.h>

#include <chrono>
#include <latch>
#include <thread>

using namespace kelvane;
using kelvane::testsupport::LogCapture;
using testing::ElementsAre;
using Clock = std::chrono::steady_clock;

namespace {

class Worker : public AsyncTaskCallbackDelegate {
public:
    explicit Worker(std::optional<bool> answer, std::shared_ptr<Journal> journal = std::make_shared<Journal>())
        : _answer(answer),
          _journal(std::move(journal))
    {
    }
    std::optional<bool> asyncTaskCallback(AsyncTask & /*task*/, const Object & /*userState*/) override
    {
        _journal->add("delegate work");
        return _answer;
    }
    void asyncTaskCancel(AsyncTask & /*task*/) override { _journal->add("delegate cancel"); }

private:
    std::optional<bool> _answer;
    std::shared_ptr<Journal> _journal;
};

std::shared_ptr<AsyncTask> taskWith(AsyncTask::WorkCallback work)
{
    auto task = std::make_shared<AsyncTask>();
    task->setTaskWorkCallbackBlock(std::move(work));
    return task;
}

struct Thrown {};

} // namespace

TEST(OperationTask, StartsSynchronousUnnamedAndWithoutAnOutcome)
{
    AsyncTask task;
    EXPECT_TRUE(task.synchronous());
    EXPECT_TRUE(task.taskName().isNull());
    EXPECT_FALSE(task.isCompleted());
    EXPECT_FALSE(task.isSucceed());
    EXPECT_EQ(AsyncTask("named").taskName(), "named");
}

TEST(OperationTask, KeepsItsProperties)
{
    AsyncTask task;
    task.setTaskName("name");
    task.setUserState(Object::of(1));
    task.setErrorText("text");
    const auto result = std::make_shared<TaskResult>(Value(5));
    task.setTaskResult(result);
    EXPECT_EQ(task.taskName(), "name");
    EXPECT_EQ(*task.userState().as<int>(), 1);
    EXPECT_EQ(task.errorText(), "text");
    EXPECT_EQ(task.taskResult(), result);
    result->setValue("other");
    EXPECT_EQ(task.taskResult()->value(), Value("other"));
}

TEST(OperationTask, ItsDelegateIsReplacedNotAdded)
{
    const auto journal = std::make_shared<Journal>();
    AsyncTask task;
    task.setDelegate(std::make_shared<RecordingDelegate>(journal, "first"));
    task.setDelegate(std::make_shared<RecordingDelegate>(journal, "second"));
    task.setProgress(33.9);
    EXPECT_DOUBLE_EQ(task.progress(), 33.9);
    EXPECT_THAT(journal->lines(), ElementsAre("second:progress 33"));
}

TEST(OperationTask, WithoutWorkFails)
{
    const auto task = std::make_shared<AsyncTask>();
    task->startTask();
    EXPECT_TRUE(task->isCompleted());
    EXPECT_FALSE(task->isSucceed());
}

TEST(OperationTask, RunsSynchronouslyOnThisThreadReportingZero)
{
    const auto journal = std::make_shared<Journal>();
    const auto caller = std::this_thread::get_id();
    const auto task = taskWith([&](AsyncTask &running, const Object &state) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_FALSE(running.isCompleted());
        EXPECT_EQ(*state.as<int>(), 4);
        return true;
    });
    task->setUserState(Object::of(4));
    task->setProgress(50);
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    task->startTask();
    EXPECT_TRUE(task->isSucceed());
    EXPECT_TRUE(task->isFinished());
    EXPECT_THAT(journal->lines(), ElementsAre("d:progress 0"));
}

struct DecisionCase {
    std::optional<bool> block;
    std::optional<bool> delegate;
    bool hasDelegate;
    bool outcome;
};

class OperationTaskDecision : public testing::TestWithParam<DecisionCase> {};

TEST_P(OperationTaskDecision, IsTheDelegatesIfItAnswersElseTheBlocks)
{
    const auto &row = GetParam();
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTask>();
    std::vector<std::string> expected;
    if (row.block) {
        task->setTaskWorkCallbackBlock([&](AsyncTask &, const Object &) {
            journal->add("block work");
            return *row.block;
        });
        expected.emplace_back("block work");
    }
    if (row.hasDelegate) {
        task->setTaskCallbackDelegate(std::make_shared<Worker>(row.delegate, journal));
        expected.emplace_back("delegate work");
    }
    task->startTask();
    EXPECT_EQ(task->isSucceed(), row.outcome);
    EXPECT_EQ(journal->lines(), expected);
}

INSTANTIATE_TEST_SUITE_P(Table, OperationTaskDecision,
    testing::Values(DecisionCase{true, {}, false, true}, DecisionCase{false, {}, false, false},
        DecisionCase{{}, true, true, true}, DecisionCase{{}, false, true, false},
        DecisionCase{true, false, true, false}, DecisionCase{false, true, true, true},
        DecisionCase{true, {}, true, true}, DecisionCase{{}, {}, true, false}));

TEST(OperationTask, DoCompleteSetsTheOutcome)
{
    AsyncTask task;
    task.doComplete(true);
    EXPECT_TRUE(task.isCompleted());
    EXPECT_TRUE(task.isSucceed());
    AsyncTask failed;
    failed.DoComplete(false, "why");
    EXPECT_TRUE(failed.isCompleted());
    EXPECT_FALSE(failed.isSucceed());
    EXPECT_EQ(failed.errorText(), "why");
}

TEST(OperationTask, AnExceptionObjectIsLoggedRaisesNoSignalAndFails)
{
    LogCapture log;
    const auto task = taskWith([](AsyncTask &, const Object &) -> bool { throw Exception("Name", "reason"); });
    task->startTask();
    EXPECT_TRUE(task->isCompleted());
    EXPECT_FALSE(task->isSucceed());
    EXPECT_THAT(log.infoLines(), ElementsAre("ERROR: reason"));
}

TEST(OperationTask, AnExceptionLeavesASignalThatSomebodyWaitsForDown)
{
    class Task : public AsyncTask {
    public:
        using AsyncTask::conditionLock;
    };
    LogCapture log;
    const auto task = std::make_shared<Task>();
    task->setTaskWorkCallbackBlock([](AsyncTask &, const Object &) -> bool { throw Exception("Name", "reason"); });
    task->createCondition();
    task->startTask();
    EXPECT_TRUE(task->isCompleted());
    EXPECT_EQ(task->conditionLock()->condition(), 0) << "a wait begun before runs into its time-out";
    EXPECT_TRUE(task->waitDone(0)) << "one begun now sees that the task is finished";
}

TEST(OperationTask, ABlocksSuccessStandsIfOnlyTheDelegateThrew)
{
    class Thrower : public AsyncTaskCallbackDelegate {
        std::optional<bool> asyncTaskCallback(AsyncTask &, const Object &) override { throw Exception("Name"); }
    };
    LogCapture log;
    const auto task = taskWith([](AsyncTask &, const Object &) { return true; });
    task->setTaskCallbackDelegate(std::make_shared<Thrower>());
    task->startTask();
    EXPECT_TRUE(task->isSucceed());
    EXPECT_THAT(log.infoLines(), ElementsAre("ERROR: Name"));
}

TEST(OperationTask, AnotherKindOfExceptionIsPassedOnOnceComplete)
{
    const auto task = taskWith([](AsyncTask &, const Object &) -> bool { throw Thrown{}; });
    EXPECT_THROW(task->startTask(), Thrown);
    EXPECT_TRUE(task->isCompleted());
    EXPECT_FALSE(task->isSucceed());
}

TEST(OperationTaskWait, WithoutATimeAnswersAtOnce)
{
    std::latch mayEnd(1);
    const auto task = taskWith([&](AsyncTask &, const Object &) {
        mayEnd.wait();
        return true;
    });
    task->startTask(false);
    EXPECT_FALSE(task->waitDone());
    mayEnd.count_down();
    EXPECT_TRUE(task->waitDone(60000));
    EXPECT_TRUE(task->waitDone());
}

TEST(OperationTaskWait, IsOverWhenTheTaskEndsNotWhenTheTimeIs)
{
    std::latch mayEnd(1);
    const auto task = taskWith([&](AsyncTask &, const Object &) {
        mayEnd.wait();
        return true;
    });
    task->startTask(false);
    std::thread ender([&] { mayEnd.count_down(); });
    const auto start = Clock::now();
    EXPECT_TRUE(task->waitDone(60000));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
    ender.join();
}

TEST(OperationTaskWait, NeverMissesASignalRaisedJustBeforeIt)
{
    for (int round = 0; round < 300; ++round) {
        const auto task = taskWith([](AsyncTask &, const Object &) { return true; });
        task->startTask(false);
        ASSERT_TRUE(task->waitDone(60000)) << round;
    }
}

TEST(OperationTaskWait, LetsTheTaskGoAndLogsTheOnesThatAreLeft)
{
    LogCapture log;
    const auto first = std::make_shared<AsyncTask>();
    const auto second = std::make_shared<AsyncTask>();
    first->startTask(false);
    second->startTask(false);
    EXPECT_TRUE(first->waitDone(60000));
    EXPECT_TRUE(second->waitDone(60000));
    EXPECT_THAT(log.debugLines(),
        ElementsAre(testing::MatchesRegex("s_baseTaskArray:\\(<task 0x.*>\\)"), "s_baseTaskArray:()"));
}

TEST(OperationTaskWait, AQueuedTaskIsKeptUntilItHasBeenWaitedFor)
{
    auto task = std::make_shared<AsyncTask>();
    const std::weak_ptr<AsyncTask> watched = task;
    task->startTask(false);
    while (!task->isFinished())
        std::this_thread::yield();
    task.reset();
    auto kept = watched.lock();
    ASSERT_NE(kept, nullptr);
    kept->waitDone();
    kept.reset();
    while (!watched.expired())
        std::this_thread::yield(); // the queue may hold it for a moment
}

TEST(OperationTaskWait, ASignalThatNobodyWaitsForIsNotRaised)
{
    class Task : public AsyncTask {
    public:
        using AsyncTask::conditionLock;
    };
    Task task;
    task.fireCompletedEvent();
    EXPECT_EQ(task.conditionLock(), nullptr);
}

TEST(OperationTaskWait, ASignalThatSomebodyHoldsIsForcedUpAfterASecond)
{
    class Task : public AsyncTask {
    public:
        using AsyncTask::conditionLock;
    };
    LogCapture log;
    Task task;
    task.createCondition();
    const auto signal = task.conditionLock();
    ASSERT_NE(signal, nullptr);
    signal->lock();
    const auto start = Clock::now();
    task.fireCompletedEvent();
    EXPECT_GE(Clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(signal->condition(), 1);
    EXPECT_THAT(log.errorLines(), ElementsAre("unexpected fireCompleteEvent"));
}

TEST(OperationTaskCancel, TellsTheDelegateUnlessCompletedAndKeepsTheFlag)
{
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTask>();
    task->setTaskCallbackDelegate(std::make_shared<Worker>(true, journal));
    task->cancel();
    EXPECT_FALSE(task->isCancelled());
    EXPECT_THAT(journal->lines(), ElementsAre("delegate cancel"));

    const auto done = std::make_shared<AsyncTask>();
    done->setTaskCallbackDelegate(std::make_shared<Worker>(true, journal));
    done->startTask();
    done->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("delegate cancel", "delegate work"));
}

TEST(OperationTaskCancel, BeforeTheStartTheWorkNeverRuns)
{
    bool hasWorked = false;
    const auto task = taskWith([&](AsyncTask &, const Object &) { return hasWorked = true; });
    task->cancel();
    task->startTask();
    EXPECT_FALSE(hasWorked);
    EXPECT_TRUE(task->isFinished());
    EXPECT_FALSE(task->isCompleted());
    EXPECT_TRUE(task->waitDone());
}

TEST(OperationTaskCancel, DoesNotStopRunningWork)
{
    std::latch isWorking(1);
    std::latch mayEnd(1);
    const auto task = taskWith([&](AsyncTask &, const Object &) {
        isWorking.count_down();
        mayEnd.wait();
        return true;
    });
    task->startTask(false);
    isWorking.wait();
    task->cancel();
    mayEnd.count_down();
    EXPECT_TRUE(task->waitDone(60000));
    while (!task->isCompleted())
        std::this_thread::yield();
    EXPECT_TRUE(task->isSucceed());
}

TEST(OperationTask, AnyNumberRunAtOnce)
{
    constexpr int count = 150;
    std::latch allWork(count);
    std::vector<std::shared_ptr<AsyncTask>> tasks;
    for (int i = 0; i < count; ++i) {
        tasks.push_back(taskWith([&](AsyncTask &, const Object &) {
            allWork.arrive_and_wait();
            return true;
        }));
        tasks.back()->startTask(false);
    }
    for (const auto &task : tasks)
        EXPECT_TRUE(task->waitDone(60000));
}

TEST(OperationTask, TheFinishBlockIsStoredAndNeverCalledByThisKind)
{
    bool wasCalled = false;
    const auto task = std::make_shared<AsyncTask>();
    task->setTaskFinishCallbackBlock([&](AsyncTask &, const Object &) { wasCalled = true; });
    task->startTask();
    EXPECT_FALSE(wasCalled);
}
