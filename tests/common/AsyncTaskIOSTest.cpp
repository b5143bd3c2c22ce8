// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"
#include "tests/support/LogCapture.h"

#include <kelvane/common/AsyncTaskIOS.h>

#include <gmock/gmock.h>

#include <latch>
#include <stdexcept>
#include <thread>

using namespace kelvane;
using kelvane::testsupport::LogCapture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

Object stateOf(int number)
{
    return Object::of(number);
}

int numberOf(const Object &state)
{
    return state.isNull() ? -1 : *state.as<int>();
}

std::shared_ptr<AsyncTaskIOS> succeeding()
{
    return std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) { return true; });
}

/// The percentages that a task reports.
std::vector<std::int32_t> &recordProgress(AsyncTaskIOS &task, std::vector<std::int32_t> &into)
{
    task.addBaseAsyncTaskProgressChanged([&into](BaseAsyncTask &, std::int32_t percent) { into.push_back(percent); });
    return into;
}

struct Thrown {}; // no exception object

} // namespace

// Construction -----------------------------------------------------------------------------------------------------

TEST(TaskConstruction, EachInitialiserSetsWhatItNames)
{
    const auto journal = std::make_shared<Journal>();
    const auto delegate = std::make_shared<RecordingDelegate>(journal, "d");
    const auto work = [&](AsyncTaskIOS &, const Object &state) {
        journal->add("work " + std::to_string(numberOf(state)));
        return true;
    };
    const auto completed = [&](AsyncTaskIOS &task) {
        journal->add("completed " + std::to_string(numberOf(task.userState())));
    };

    EXPECT_TRUE(std::make_shared<AsyncTaskIOS>()->userState().isNull());
    EXPECT_EQ(numberOf(std::make_shared<AsyncTaskIOS>(stateOf(1))->userState()), 1);

    std::make_shared<AsyncTaskIOS>(completed, stateOf(2))->start(true);
    EXPECT_THAT(journal->lines(), ElementsAre("completed 2"));

    const auto withDelegate = std::make_shared<AsyncTaskIOS>(delegate, stateOf(3));
    EXPECT_EQ(withDelegate->delegate(), delegate);
    EXPECT_EQ(numberOf(withDelegate->userState()), 3);

    std::make_shared<AsyncTaskIOS>(work, stateOf(4))->start(true);
    EXPECT_THAT(journal->lines(), ElementsAre("completed 2", "work 4"));

    const auto withBoth = std::make_shared<AsyncTaskIOS>(work, stateOf(5), delegate, stateOf(6));
    EXPECT_EQ(withBoth->delegate(), delegate);
    EXPECT_EQ(numberOf(withBoth->userState()), 6);
    EXPECT_EQ(numberOf(withBoth->workUserState()), 5);

    std::make_shared<AsyncTaskIOS>(work, stateOf(7), completed, stateOf(8))->start(true);
    EXPECT_THAT(journal->lines(), ElementsAre("completed 2", "work 4", "work 7", "completed 8"));
}

TEST(TaskConstruction, BlocksCanBeReplaced)
{
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) { return false; });
    task->setAsyncTaskWorkCallback([&](AsyncTaskIOS &, const Object &) {
        journal->add("new work");
        return true;
    });
    task->setAsyncTaskCallback([&](AsyncTaskIOS &) { journal->add("new completion"); });
    EXPECT_TRUE(task->start(true));
    EXPECT_THAT(journal->lines(), ElementsAre("new work", "new completion"));
}

// Starting and running ---------------------------------------------------------------------------------------------

TEST(TaskStart, SynchronouslyRunsOnTheCallersThread)
{
    std::thread::id ran;
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &running, const Object &) {
        ran = std::this_thread::get_id();
        EXPECT_TRUE(running.synchronous());
        EXPECT_TRUE(running.isExecuting());
        EXPECT_EQ(running.taskState(), AsyncTaskStateWorking);
        return true;
    });
    EXPECT_TRUE(task->start(true));
    EXPECT_EQ(ran, std::this_thread::get_id());
    EXPECT_EQ(task->taskState(), AsyncTaskStateFinished);
    EXPECT_TRUE(task->completedSynchronously());
}

TEST(TaskStart, AsynchronouslyReturnsAtOnceAndRunsOnAnotherThread)
{
    std::latch mayWork(1);
    std::thread::id ran;
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
        mayWork.wait();
        ran = std::this_thread::get_id();
        return true;
    });
    EXPECT_TRUE(task->startTask());
    EXPECT_TRUE(task->isStarted());
    EXPECT_FALSE(task->isCompleted());
    mayWork.count_down();
    EXPECT_TRUE(task->waitDone());
    EXPECT_NE(ran, std::this_thread::get_id());
    EXPECT_FALSE(task->synchronous());
}

TEST(TaskStart, GivesTheWorkItsUserState)
{
    int seen = 0;
    const auto task = std::make_shared<AsyncTaskIOS>(
        [&](AsyncTaskIOS &, const Object &state) {
            seen = numberOf(state);
            return true;
        },
        stateOf(1));
    task->start(true, stateOf(2));
    EXPECT_EQ(seen, 2);
    task->reset();
    task->start(true);
    EXPECT_EQ(seen, 2) << "start: keeps the present one";
}

TEST(TaskStart, ClearsTheStepsSoThatTheyAreDeclaredInsideTheWork)
{
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &running, const Object &) {
        EXPECT_EQ(running.stepCount(), 0);
        EXPECT_EQ(running.stepIndex(), 0);
        return true;
    });
    task->setStepCount(9);
    task->start(true);
}

TEST(TaskStart, ASecondStartWaitsForTheFirstRunAndReturnsItsOutcome)
{
    std::latch isWorking(1);
    std::latch secondWaits(1);
    int runs = 0;
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
        ++runs;
        isWorking.count_down();
        secondWaits.wait();
        return true;
    });
    task->startTask();
    isWorking.wait();
    task->addBaseAsyncTaskWaiting([&](BaseAsyncTask &) { secondWaits.count_down(); });
    EXPECT_TRUE(task->start(true));
    EXPECT_TRUE(task->isSuccessCompleted());
    EXPECT_EQ(runs, 1);
}

TEST(TaskStart, OfAFinishedFailedTaskReturnsFalse)
{
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) { return false; });
    EXPECT_FALSE(task->start(true));
    EXPECT_FALSE(task->startTask());
}

TEST(TaskStart, WithoutWorkTheOutcomeIsThePresentSuccess)
{
    EXPECT_TRUE(std::make_shared<AsyncTaskIOS>()->start(true));
    const auto failed = std::make_shared<AsyncTaskIOS>();
    failed->setIsSuccess(false);
    EXPECT_FALSE(failed->start(true));
}

TEST(TaskStart, WithAPresetFailureHandsOnCodeTextAndException)
{
    const auto exception = std::make_shared<const Exception>("Preset");
    const auto task = std::make_shared<AsyncTaskIOS>();
    EXPECT_FALSE(task->start(true, false, false, 12, "text", exception));
    EXPECT_FALSE(task->isSuccess());
    EXPECT_EQ(task->errorCode(), 12);
    EXPECT_EQ(task->errorText(), "text");
    EXPECT_EQ(task->error(), exception);
    EXPECT_EQ(task->result(), AsyncTaskResultFailed);
}

TEST(TaskStart, WithAPresetSuccessIgnoresTheErrorAndRunsTheWork)
{
    const auto task = succeeding();
    EXPECT_TRUE(task->start(true, true, false, 12, "text", nullptr));
    EXPECT_EQ(task->errorCode(), 0);
    EXPECT_TRUE(task->errorText().isNull());
}

TEST(TaskStart, APresetSuccessDoesNotTurnAFailureIntoASuccess)
{
    const auto task = std::make_shared<AsyncTaskIOS>();
    task->setIsSuccess(false);
    EXPECT_FALSE(task->start(true, true, false, 0, {}, nullptr));
}

TEST(TaskStart, WithAPresetCancelSkipsTheWork)
{
    bool hasWorked = false;
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) { return hasWorked = true; });
    EXPECT_FALSE(task->start(true, true, true, 0, {}, nullptr));
    EXPECT_FALSE(hasWorked);
    EXPECT_TRUE(task->isCancelled());
    EXPECT_FALSE(task->isCompleted());
}

TEST(TaskStart, APresetIsRefusedByAStartedTask)
{
    const auto task = succeeding();
    task->start(true);
    EXPECT_FALSE(task->start(true, true, false, 0, {}, nullptr));
    EXPECT_TRUE(task->isSuccess());
}

TEST(TaskStart, AfterAResetRunsAgain)
{
    int runs = 0;
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
        ++runs;
        return true;
    });
    task->start(true);
    task->setErrorCode(3);
    task->reset();
    EXPECT_FALSE(task->isStarted());
    EXPECT_FALSE(task->isCompleted());
    EXPECT_TRUE(task->isSuccess());
    EXPECT_EQ(task->errorCode(), 3);
    EXPECT_EQ(task->lastPercent(), 100);
    task->startTask();
    EXPECT_TRUE(task->waitDone());
    EXPECT_EQ(runs, 2);
}

TEST(TaskStart, AResetDoesNotTakeTheCancelBack)
{
    const auto task = succeeding();
    task->cancel();
    task->reset();
    EXPECT_TRUE(task->isCancelled());
    EXPECT_FALSE(task->start(true));
}

TEST(TaskRun, TellsStatesProgressAndEndInOrder)
{
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTaskIOS>(
        [&](AsyncTaskIOS &, const Object &) {
            journal->add("work");
            return true;
        },
        nullptr, [&](AsyncTaskIOS &ended) { journal->add("completion block " + std::to_string(ended.taskState())); });
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { journal->add("completed chain"); });
    task->start(true);
    EXPECT_THAT(journal->lines(),
        ElementsAre("d:progress 0", "d:lenght 0", "work", "d:progress 100", "d:lenght 0", "completion block 3",
            "d:finished", "completed chain"));
}

TEST(TaskRun, ReportsExactlyZeroAndHundredWhereTheWorkReportsNothing)
{
    std::vector<std::int32_t> percents;
    const auto task = succeeding();
    recordProgress(*task, percents);
    task->startTask();
    task->waitDone();
    EXPECT_THAT(percents, ElementsAre(0, 100));
}

TEST(TaskRun, ReportsNoHundredForAFailureNorASecondOne)
{
    std::vector<std::int32_t> percents;
    const auto failing = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) { return false; });
    recordProgress(*failing, percents);
    failing->start(true);
    EXPECT_THAT(percents, ElementsAre(0));

    percents.clear();
    const auto complete = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &task, const Object &) {
        task.reportStepProgress(100);
        return true;
    });
    recordProgress(*complete, percents);
    complete->start(true);
    EXPECT_THAT(percents, ElementsAre(0, 100));
}

TEST(TaskRun, AChildReportsNeitherZeroNorHundred)
{
    std::vector<std::int32_t> percents;
    const auto task = succeeding();
    task->setIsSubTask(true);
    recordProgress(*task, percents);
    task->start(true);
    EXPECT_THAT(percents, IsEmpty());
}

// Steps and progress -----------------------------------------------------------------------------------------------

struct StepCase {
    std::int32_t count;
    std::int32_t index;
    std::int32_t report;
    std::int32_t expected;
};

class StepProgress : public testing::TestWithParam<StepCase> {};

TEST_P(StepProgress, IsThePartOfTheWhole)
{
    AsyncTaskIOS task;
    task.setStepCount(GetParam().count);
    for (int i = 0; i < GetParam().index; ++i)
        task.incStep();
    task.reportStepProgress(GetParam().report);
    EXPECT_EQ(task.lastPercent(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, StepProgress,
    testing::Values(StepCase{4, 2, 50, 62}, StepCase{4, 2, 150, 75}, StepCase{0, 0, 130, 100}, StepCase{0, 0, -5, -5},
        StepCase{0, 0, 42, 42}, StepCase{1, 0, 40, 40}, StepCase{1, 1, 40, 100}, StepCase{4, 0, -50, -12},
        StepCase{2147483647, 3, 100, 0}));

TEST(StepCounting, AReportMayMoveTheProgressBack)
{
    AsyncTaskIOS task;
    task.setStepCount(2);
    task.reportStepProgress(100);
    task.reportStepProgress(20);
    EXPECT_EQ(task.lastPercent(), 10);
}

TEST(StepCounting, AStepDoneReportsItsPart)
{
    std::vector<std::int32_t> percents;
    AsyncTaskIOS task;
    recordProgress(task, percents);
    task.incStepCount(3);
    task.incStep();
    EXPECT_EQ(task.stepIndex(), 1);
    task.incStep();
    task.incStep();
    EXPECT_THAT(percents, ElementsAre(33, 66, 100));
}

TEST(StepCounting, AStepBeyondTheLastDoesNothing)
{
    std::vector<std::int32_t> percents;
    AsyncTaskIOS task;
    recordProgress(task, percents);
    task.incStep();
    EXPECT_EQ(task.stepIndex(), 0);
    task.incStepCount();
    EXPECT_EQ(task.stepCount(), 1);
    task.incStep();
    task.incStep();
    EXPECT_EQ(task.stepIndex(), 1);
    EXPECT_THAT(percents, ElementsAre(100));
}

TEST(StepCounting, AStepDoneNeverMovesTheProgressBack)
{
    std::vector<std::int32_t> percents;
    AsyncTaskIOS task;
    task.incStepCount(4);
    task.setProgressPercentage(60);
    recordProgress(task, percents);
    task.incStep();
    task.incStep();
    EXPECT_EQ(task.stepIndex(), 2);
    EXPECT_THAT(percents, IsEmpty());
    task.incStep();
    EXPECT_THAT(percents, ElementsAre(75));
}

// Exceptions -------------------------------------------------------------------------------------------------------

TEST(TaskException, AnExceptionObjectEndsTheTaskAsFailedWithThreeErrorLines)
{
    LogCapture log;
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTaskIOS>(
        [](AsyncTaskIOS &, const Object &) -> bool { throw Exception("Name", "the reason"); });
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    const auto signal = task->waitCondition();
    EXPECT_FALSE(task->start(true));
    EXPECT_FALSE(task->isSuccess());
    EXPECT_TRUE(task->isCompleted());
    ASSERT_NE(task->error(), nullptr);
    EXPECT_EQ(task->error()->name(), "Name");
    EXPECT_EQ(task->errorText(), "the reason");
    EXPECT_EQ(signal->condition(), 1);
    EXPECT_THAT(journal->lines(), ElementsAre("d:progress 0", "d:lenght 0", "d:finished"));
    EXPECT_THAT(log.errorLines(),
        ElementsAre("reason:the reason", StartsWith("callStackReturnAddresses:(0x"), StartsWith("callStackSymbols:(")));
}

TEST(TaskException, AStandardExceptionIsAnExceptionObjectToo)
{
    LogCapture log;
    const auto task = std::make_shared<AsyncTaskIOS>(
        [](AsyncTaskIOS &, const Object &) -> bool { throw std::out_of_range("index 7"); });
    task->startTask();
    EXPECT_FALSE(task->waitDone());
    ASSERT_NE(task->error(), nullptr);
    EXPECT_EQ(task->error()->name(), "std::out_of_range");
    EXPECT_EQ(task->errorText(), "index 7");
    EXPECT_EQ(log.errorLines().size(), 3U);
}

TEST(TaskException, AnotherKindIsPassedOnOnceTheTaskHasEnded)
{
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) -> bool { throw Thrown{}; });
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    EXPECT_THROW(task->start(true), Thrown);
    EXPECT_TRUE(task->isSuccessCompleted()) << "the provisional outcome stands";
    EXPECT_EQ(task->taskState(), AsyncTaskStateFinished);
    EXPECT_EQ(task->error(), nullptr);
    EXPECT_THAT(journal->lines(), ElementsAre("d:progress 0", "d:lenght 0", "d:finished"));
}

TEST(TaskException, AnotherKindOnTheQueueEndsInOneErrorLine)
{
    LogCapture log;
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) -> bool { throw Thrown{}; });
    task->startTask();
    EXPECT_TRUE(task->waitDone());
    while (log.errorLines().empty())
        std::this_thread::yield();
    EXPECT_EQ(log.errorLines().size(), 1U);
}

TEST(TaskException, AHookThatThrowsAtTheEndKeepsNobodyWaiting)
{
    class ThrowingTask : public AsyncTaskIOS {
        void onCompleted() override { throw Exception("Hook"); }
    };
    LogCapture log;
    const auto task = std::make_shared<ThrowingTask>();
    const auto signal = task->waitCondition();
    task->startTask();
    EXPECT_TRUE(task->waitDone());
    signal->lockWhenCondition(1);
    signal->unlockWithCondition(1);
    while (log.errorLines().empty())
        std::this_thread::yield();
    EXPECT_THAT(log.errorLines(), ElementsAre(HasSubstr("Hook")));
}

// Cancel -----------------------------------------------------------------------------------------------------------

TEST(TaskIOSCancel, OfATaskNeverStartedTellsOnce)
{
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &) { journal->add("block"); });
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    const auto signal = task->waitCondition();
    task->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("d:cancel", "block", "d:finished"));
    EXPECT_TRUE(task->isCancelled());
    EXPECT_FALSE(task->isCompleted());
    EXPECT_EQ(signal->condition(), 1);
    EXPECT_FALSE(task->waitDone());
    EXPECT_FALSE(task->startTask()) << "it has ended; a start only asks for the outcome";
}

TEST(TaskIOSCancel, OfASynchronousTaskAtWorkEndsItTwice)
{
    const auto journal = std::make_shared<Journal>();
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &running, const Object &) {
        running.cancel();
        return false;
    });
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    task->start(true);
    EXPECT_THAT(journal->lines(), ElementsAre("d:progress 0", "d:lenght 0", "d:cancel", "d:finished", "d:finished"));
    EXPECT_EQ(task->result(), AsyncTaskResultCancelled);
}

TEST(TaskIOSCancel, OfAStartedAsynchronousTaskIsEndedByItsWorker)
{
    const auto journal = std::make_shared<Journal>();
    std::latch isWorking(1);
    std::latch mayEnd(1);
    std::latch hasEnded(1);
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
        isWorking.count_down();
        mayEnd.wait();
        return false;
    });
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { hasEnded.count_down(); });
    task->startTask();
    isWorking.wait();
    task->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("d:progress 0", "d:lenght 0", "d:cancel"));
    EXPECT_FALSE(task->waitDone()) << "a cancelled task is not waited for";
    mayEnd.count_down();
    hasEnded.wait();
    EXPECT_THAT(journal->lines(), ElementsAre("d:progress 0", "d:lenght 0", "d:cancel", "d:waiting", "d:finished"));
    EXPECT_FALSE(task->isCompleted());
}

TEST(TaskIOSCancel, OfAQueuedTaskStillRunsItThroughTheQueueWithoutItsWork)
{
    // One task more than the shared queue takes, so that the last one waits.
    constexpr int limit = 100;
    std::latch allWork(limit);
    std::latch mayEnd(1);
    std::vector<std::shared_ptr<AsyncTaskIOS>> blockers;
    for (int i = 0; i < limit; ++i) {
        blockers.push_back(std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
            allWork.count_down();
            mayEnd.wait();
            return true;
        }));
        blockers.back()->startTask();
    }
    allWork.wait();
    const auto journal = std::make_shared<Journal>();
    bool hasWorked = false;
    std::latch hasEnded(1);
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) { return hasWorked = true; });
    task->setDelegate(std::make_shared<RecordingDelegate>(journal, "d"));
    task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { hasEnded.count_down(); });
    task->startTask();
    EXPECT_EQ(task->taskState(), AsyncTaskStateQueued);
    task->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("d:cancel"));
    mayEnd.count_down();
    hasEnded.wait();
    EXPECT_FALSE(hasWorked);
    EXPECT_THAT(journal->lines(), ElementsAre("d:cancel", "d:finished"));
    for (const auto &blocker : blockers)
        EXPECT_TRUE(blocker->waitDone());
}

TEST(TaskIOSCancel, WorkThatSucceedsInSpiteOfACancelIsASuccess)
{
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &running, const Object &) {
        running.cancel();
        return true;
    });
    task->start(true);
    EXPECT_TRUE(task->isSuccess());
    EXPECT_EQ(task->result(), AsyncTaskResultSuccess);
    EXPECT_FALSE(task->isCompleted());
}
