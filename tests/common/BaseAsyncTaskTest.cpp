// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"
#include "tests/support/LogCapture.h"

#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/common/BaseAsyncTask.h>

#include <gmock/gmock.h>

using namespace kelvane;
using kelvane::testsupport::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Opens what kinds of tasks may reach, and can be put into any state.
class TestTask : public BaseAsyncTask {
public:
    using AsyncResult::setIsCompleted;
    using AsyncResult::setSynchronous;
    using BaseAsyncTask::BaseAsyncTask;
    using BaseAsyncTask::setTaskState;
};

struct Fixture : testing::Test {
    std::shared_ptr<TestTask> task = std::make_shared<TestTask>();
    std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    std::shared_ptr<RecordingDelegate> first = std::make_shared<RecordingDelegate>(journal, "first");
    std::shared_ptr<RecordingDelegate> second = std::make_shared<RecordingDelegate>(journal, "second");
};

class TaskListeners : public Fixture {};
class TaskOutcome : public Fixture {};
class TaskCompletion : public Fixture {};
class TaskCancel : public Fixture {};
class TaskSteps : public Fixture {};

Object stateOf(int number)
{
    return Object::of(number);
}

} // namespace

// Construction and properties --------------------------------------------------------------------------------------

TEST_F(TaskOutcome, StartsAsASuccessThatIsNotOverYet)
{
    EXPECT_TRUE(task->isSuccess());
    EXPECT_FALSE(task->isCompleted());
    EXPECT_FALSE(task->isCancelled());
    EXPECT_FALSE(task->isSuccessCompleted());
    EXPECT_TRUE(task->canContinue());
    EXPECT_EQ(task->taskState(), AsyncTaskStateIdle);
    EXPECT_EQ(task->result(), AsyncTaskResultSuccess);
    EXPECT_EQ(task->errorCode(), 0);
    EXPECT_TRUE(task->errorText().isNull());
    EXPECT_EQ(task->error(), nullptr);
    EXPECT_EQ(task->delegate(), nullptr);
    EXPECT_FALSE(task->asyncState());
}

TEST_F(TaskOutcome, InitWithCompletedAddsTheDelegateAndSetsTheUserState)
{
    const auto state = stateOf(5);
    const auto made = std::make_shared<TestTask>(first, state);
    EXPECT_EQ(made->delegate(), first);
    EXPECT_EQ(made->userState(), state);
    EXPECT_TRUE(made->asyncState());
}

TEST_F(TaskOutcome, KeepsItsPlainProperties)
{
    const auto object = stateOf(1);
    const auto result = stateOf(2);
    task->setSyncObject(object);
    task->setUserResult(result);
    task->setErrorCode(-7);
    task->setErrorText("text");
    task->setLastLenght(99);
    EXPECT_EQ(task->syncObject(), object);
    EXPECT_EQ(task->userResult(), result);
    EXPECT_EQ(task->errorCode(), -7);
    EXPECT_EQ(task->errorText(), "text");
    EXPECT_EQ(task->lastLenght(), 99);
}

TEST_F(TaskOutcome, SettingTheProgressPercentageTellsNobody)
{
    task->setDelegate(first);
    task->setProgressPercentage(40);
    EXPECT_EQ(task->lastPercent(), 40);
    EXPECT_EQ(task->progressPercentage(), 40);
    EXPECT_THAT(journal->lines(), IsEmpty());
}

TEST_F(TaskOutcome, CompletedSynchronouslyNeedsBoth)
{
    EXPECT_FALSE(task->completedSynchronously());
    task->setIsCompleted(true);
    EXPECT_FALSE(task->completedSynchronously());
    task->setSynchronous(true);
    EXPECT_TRUE(task->completedSynchronously());
}

struct ResultCase {
    std::uint64_t set;
    bool isSuccess;
    bool isCancelled;
    std::uint64_t result;
};

class SetResult : public testing::TestWithParam<ResultCase> {};

TEST_P(SetResult, MapsOntoTheFlags)
{
    TestTask task;
    task.setIsSuccess(GetParam().set != 1);
    task.setResult(GetParam().set);
    EXPECT_EQ(task.isSuccess(), GetParam().isSuccess);
    EXPECT_EQ(task.isCancelled(), GetParam().isCancelled);
    EXPECT_EQ(task.result(), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Table, SetResult,
    testing::Values(ResultCase{1, true, false, 1}, ResultCase{2, false, false, 2}, ResultCase{3, false, false, 2},
        ResultCase{4, false, true, 4}, ResultCase{5, true, false, 1}, ResultCase{0, true, false, 1},
        ResultCase{99, true, false, 1}));

TEST_F(TaskOutcome, ResultThreeLeavesACancelledTaskAtFour)
{
    task->setResult(4);
    task->setResult(3);
    EXPECT_EQ(task->result(), AsyncTaskResultCancelled);
}

TEST_F(TaskOutcome, SuccessComesBeforeCancelled)
{
    task->setResult(4);
    task->setIsSuccess(true);
    EXPECT_EQ(task->result(), AsyncTaskResultSuccess);
}

TEST_F(TaskOutcome, OverrideOfFiveWinsOverEverything)
{
    task->setIOSUploadResult(5);
    EXPECT_EQ(task->result(), 5U);
    task->setResult(2);
    EXPECT_EQ(task->result(), 5U);
    task->cancel();
    EXPECT_EQ(task->result(), 5U);
}

TEST_F(TaskOutcome, OtherOverridesHaveNoEffect)
{
    for (const std::uint64_t other : {0, 1, 2, 3, 4, 6, 100}) {
        task->setIOSUploadResult(other);
        EXPECT_EQ(task->result(), AsyncTaskResultSuccess);
    }
}

TEST_F(TaskOutcome, TaskResultIsTheSuccessAsAValue)
{
    EXPECT_EQ(task->taskResult(), Value(true));
    task->setResult(2);
    EXPECT_EQ(task->taskResult(), Value(false));
    EXPECT_EQ(task->taskResult().kind(), Value::Kind::Bool);
}

// Listeners --------------------------------------------------------------------------------------------------------

TEST_F(TaskListeners, SettingTwoDelegatesKeepsBothAndAnswersTheSecond)
{
    task->setDelegate(first);
    task->setDelegate(second);
    EXPECT_EQ(task->delegate(), second);
    task->onTaskCompleted();
    EXPECT_THAT(journal->lines(), ElementsAre("first:finished", "second:finished"));
}

TEST_F(TaskListeners, ADelegateIsAddedOnceAndNullNever)
{
    task->addBaseAsyncDelegate(first);
    task->addBaseAsyncDelegate(first);
    task->addBaseAsyncDelegate(nullptr);
    task->onTaskCompleted();
    EXPECT_THAT(journal->lines(), ElementsAre("first:finished"));
}

TEST_F(TaskListeners, ARemovedDelegateHearsNothingMore)
{
    task->addBaseAsyncDelegate(first);
    task->addBaseAsyncDelegate(second);
    task->removeBaseAsyncDelegate(second);
    task->onTaskCompleted();
    EXPECT_THAT(journal->lines(), ElementsAre("first:finished"));
    EXPECT_EQ(task->delegate(), first);
    task->removeBaseAsyncDelegate(first);
    EXPECT_EQ(task->delegate(), nullptr);
}

TEST_F(TaskListeners, ABlockAddedTwiceIsTheSameHandleAndCalledOnce)
{
    int calls = 0;
    const BaseAsyncTask::ProgressChangedBlock block([&](BaseAsyncTask &, std::int32_t) { ++calls; });
    const auto handle = task->addBaseAsyncTaskProgressChanged(block);
    EXPECT_TRUE(isSameObject(handle, task->addBaseAsyncTaskProgressChanged(block)));
    task->onProgress(1);
    EXPECT_EQ(calls, 1);
    task->removeBaseAsyncTaskProgressChanged(handle);
    task->onProgress(2);
    EXPECT_EQ(calls, 1);
}

TEST_F(TaskListeners, ANullBlockGivesNullInEveryChain)
{
    EXPECT_TRUE(task->addBaseAsyncTaskProgressChanged(nullptr).isNull());
    EXPECT_TRUE(task->addBaseAsyncTaskCancel(nullptr).isNull());
    EXPECT_TRUE(task->addBaseAsyncTaskCompleted(nullptr).isNull());
    EXPECT_TRUE(task->addBaseAsyncTaskWaiting(nullptr).isNull());
}

TEST_F(TaskListeners, BlocksOfEachChainCanBeRemoved)
{
    int calls = 0;
    const auto completed = task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { ++calls; });
    const auto waiting = task->addBaseAsyncTaskWaiting([&](BaseAsyncTask &) { ++calls; });
    const auto cancel = task->addBaseAsyncTaskCancel([&](BaseAsyncTask &) { ++calls; });
    task->removeBaseAsyncTaskCompleted(completed);
    task->removeBaseAsyncTaskWaiting(waiting);
    task->removeBaseAsyncTaskCancel(cancel);
    task->onTaskCompleted();
    task->onStartWait();
    task->cancel();
    EXPECT_EQ(calls, 0);
}

TEST_F(TaskListeners, ProgressIsStoredUnclampedAndToldWithItsLenghtToEachDelegateThenToBlocks)
{
    task->setDelegate(first);
    task->setDelegate(second);
    task->addBaseAsyncTaskProgressChanged([&](BaseAsyncTask &reporter, std::int32_t percent) {
        EXPECT_EQ(&reporter, task.get());
        journal->add("block:progress " + std::to_string(percent));
    });
    task->setLastLenght(7);
    task->onProgress(150);
    EXPECT_EQ(task->lastPercent(), 150);
    EXPECT_THAT(journal->lines(),
        ElementsAre(
            "first:progress 150", "first:lenght 7", "second:progress 150", "second:lenght 7", "block:progress 150"));
}

TEST_F(TaskListeners, RepeatedProgressIsToldEachTime)
{
    task->setDelegate(first);
    task->onProgress(-5);
    task->onProgress(-5);
    EXPECT_THAT(
        journal->lines(), ElementsAre("first:progress -5", "first:lenght 0", "first:progress -5", "first:lenght 0"));
}

TEST_F(TaskListeners, WaitingIsToldToDelegatesThenToBlocks)
{
    task->setDelegate(first);
    task->addBaseAsyncTaskWaiting([&](BaseAsyncTask &) { journal->add("block:waiting"); });
    task->waitDone(0);
    EXPECT_THAT(journal->lines(), ElementsAre("first:waiting", "block:waiting"));
}

TEST_F(TaskListeners, AThrowingListenerIsLoggedAndTheOthersHearAllTheSame)
{
    LogCapture log;
    task->addBaseAsyncTaskCompleted([](BaseAsyncTask &, const Object &) { throw Exception("Name", "reason"); });
    task->addBaseAsyncTaskCompleted([](BaseAsyncTask &, const Object &) { throw 5; });
    task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { journal->add("reached"); });
    task->doComplete(true);
    EXPECT_THAT(journal->lines(), ElementsAre("reached"));
    EXPECT_TRUE(task->isSuccessCompleted());
    EXPECT_THAT(log.errorLines(),
        ElementsAre("listener of a completion block threw Name: reason",
            "listener of a completion block threw something that is no exception object"));
}

TEST_F(TaskListeners, AListenerMayAddAndRemoveListenersWhileItIsTold)
{
    BaseAsyncTask::ProgressChangedBlock self;
    self = task->addBaseAsyncTaskProgressChanged([&](BaseAsyncTask &, std::int32_t) {
        task->removeBaseAsyncTaskProgressChanged(self);
        task->addBaseAsyncTaskProgressChanged([&](BaseAsyncTask &, std::int32_t) { journal->add("later"); });
    });
    task->onProgress(1);
    EXPECT_THAT(journal->lines(), IsEmpty());
    task->onProgress(2);
    EXPECT_THAT(journal->lines(), ElementsAre("later"));
}

// Completion -------------------------------------------------------------------------------------------------------

TEST_F(TaskCompletion, TellsDelegatesThenBlocksThenCallbacks)
{
    task->setUserState(stateOf(3));
    task->setDelegate(first);
    task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &ended, const Object &state) {
        EXPECT_TRUE(ended.isCompleted());
        journal->add("block:" + std::to_string(*state.as<int>()));
    });
    task->addCompleteEvent(second, stateOf(4));
    task->doComplete(true);
    EXPECT_TRUE(task->isSuccessCompleted());
    EXPECT_THAT(journal->lines(), ElementsAre("first:finished", "block:3", "second:finished"));
}

TEST_F(TaskCompletion, ASecondCompletionTellsEverybodyAgain)
{
    task->setDelegate(first);
    task->doComplete(true);
    task->doComplete(false);
    EXPECT_THAT(journal->lines(), ElementsAre("first:finished", "first:finished"));
    EXPECT_TRUE(task->isCompleted());
    EXPECT_FALSE(task->isSuccess());
}

TEST_F(TaskCompletion, ACancelledTaskIsNeverMarkedCompleted)
{
    task->setResult(4);
    task->onComplete();
    EXPECT_FALSE(task->isCompleted());
}

TEST_F(TaskCompletion, AnExceptionsNameBecomesTheErrorText)
{
    const auto exception = std::make_shared<const Exception>("Name", "reason");
    task->doComplete(false, exception);
    EXPECT_EQ(task->error(), exception);
    EXPECT_EQ(task->errorText(), "Name");
    EXPECT_EQ(task->result(), AsyncTaskResultFailed);
}

TEST_F(TaskCompletion, WithoutAnExceptionTheTextStaysAndTheErrorIsCleared)
{
    task->setErrorText("kept");
    task->setError(std::make_shared<const Exception>("Old"));
    task->doComplete(true, nullptr);
    EXPECT_EQ(task->error(), nullptr);
    EXPECT_EQ(task->errorText(), "kept");
}

TEST_F(TaskCompletion, FireCompletedIsDoComplete)
{
    task->fireCompleted(false);
    EXPECT_TRUE(task->isCompleted());
    EXPECT_FALSE(task->isSuccess());
    const auto other = std::make_shared<TestTask>();
    other->fireCompletedException(std::make_shared<const Exception>("Name"));
    EXPECT_FALSE(other->isSuccess());
    EXPECT_EQ(other->errorText(), "Name");
}

namespace {

/// A completion callback that writes down the user state that it sees.
class StateSeer : public IAsyncTaskDelegate {
public:
    void asyncTaskFinished(IAsyncTask &task, IAsyncTask & /*sender*/) override
    {
        const auto state = dynamic_cast<BaseAsyncTask &>(task).userState();
        seen.push_back(state.isNull() ? -1 : *state.as<int>());
    }
    std::vector<int> seen;
};

} // namespace

TEST_F(TaskCompletion, EachCallbackSeesItsOwnUserState)
{
    const auto own = stateOf(1);
    task->setUserState(own);
    const auto with = std::make_shared<StateSeer>();
    const auto without = std::make_shared<StateSeer>();
    task->addCompleteEvent(with, stateOf(2));
    task->addCompleteEvent(without);
    task->doComplete(true);
    EXPECT_THAT(with->seen, ElementsAre(2));
    EXPECT_THAT(without->seen, ElementsAre(-1));
    EXPECT_EQ(task->userState(), own);
}

TEST_F(TaskCompletion, UserStateIsPutBackWithoutCallbacksToo)
{
    const auto own = stateOf(1);
    task->setUserState(own);
    task->fireCompletedCallbacks();
    EXPECT_EQ(task->userState(), own);
}

TEST_F(TaskCompletion, ACallbackIsRegisteredOnceAndNullNever)
{
    const auto seer = std::make_shared<StateSeer>();
    task->addCompleteEvent(seer, stateOf(1));
    task->addCompleteEvent(seer, stateOf(2));
    task->addCompleteEvent(nullptr, stateOf(3));
    EXPECT_TRUE(task->findCompletedCallback(seer));
    EXPECT_FALSE(task->findCompletedCallback(std::make_shared<StateSeer>()));
    task->doComplete(true);
    EXPECT_THAT(seer->seen, ElementsAre(1));
}

TEST_F(TaskCompletion, ARemovedCallbackIsNotTold)
{
    const auto seer = std::make_shared<StateSeer>();
    task->addCompleteEvent(seer);
    task->removeCompletedCallback(seer);
    task->removeCompletedCallback(seer);
    EXPECT_FALSE(task->findCompletedCallback(seer));
    task->doComplete(true);
    EXPECT_THAT(seer->seen, IsEmpty());
}

TEST_F(TaskCompletion, ACallbackRegisteredAfterTheEndIsToldAtOnceUnderItsOwnUserState)
{
    const auto own = stateOf(1);
    task->setUserState(own);
    task->doComplete(true);
    const auto seer = std::make_shared<StateSeer>();
    task->addCompleteEvent(seer, stateOf(9));
    EXPECT_THAT(seer->seen, ElementsAre(9));
    EXPECT_EQ(task->userState(), own);
}

TEST_F(TaskCompletion, TheLateCallComesAlsoForACallbackThatWasRegisteredBefore)
{
    const auto seer = std::make_shared<StateSeer>();
    task->addCompleteEvent(seer, stateOf(1));
    task->doComplete(true);
    task->addCompleteEvent(seer, stateOf(2));
    EXPECT_THAT(seer->seen, ElementsAre(1, 2));
}

// Cancel -----------------------------------------------------------------------------------------------------------

TEST_F(TaskCancel, OfATaskNeverStartedEndsItAtOnce)
{
    task->setDelegate(first);
    task->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("first:cancel", "first:finished"));
    EXPECT_TRUE(task->isCancelled());
    EXPECT_FALSE(task->isCompleted());
    EXPECT_EQ(task->result(), AsyncTaskResultCancelled);
    EXPECT_FALSE(task->waitDone());
    EXPECT_FALSE(task->canContinue());
}

TEST_F(TaskCancel, OfAStartedAsynchronousTaskOnlyNotifies)
{
    task->setDelegate(first);
    task->setTaskState(AsyncTaskStateWorking);
    task->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("first:cancel"));
    EXPECT_TRUE(task->isCancelled());
    EXPECT_FALSE(task->isSuccess());
}

TEST_F(TaskCancel, OfASynchronousTaskEndsItAtOnce)
{
    task->setDelegate(first);
    task->setTaskState(AsyncTaskStateWorking);
    task->setSynchronous(true);
    task->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("first:cancel", "first:finished"));
}

TEST_F(TaskCancel, ReachesTheProgressBlocksAndNeverTheCancelBlocks)
{
    task->setProgressPercentage(30);
    task->addBaseAsyncTaskCancel([&](BaseAsyncTask &) { journal->add("cancel block"); });
    task->addBaseAsyncTaskProgressChanged(
        [&](BaseAsyncTask &, std::int32_t percent) { journal->add("progress block " + std::to_string(percent)); });
    task->setDelegate(first);
    task->setTaskState(AsyncTaskStateWorking);
    task->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("first:cancel", "progress block 30"));
}

TEST_F(TaskCancel, IsIgnoredOnceCompletedOrCancelled)
{
    task->setDelegate(first);
    task->doComplete(true);
    task->cancel();
    EXPECT_FALSE(task->isCancelled());
    EXPECT_TRUE(task->isSuccess());
    EXPECT_THAT(journal->lines(), ElementsAre("first:finished"));

    const auto other = std::make_shared<TestTask>(second, nullptr);
    other->cancel();
    other->cancel();
    EXPECT_THAT(journal->lines(), ElementsAre("first:finished", "second:cancel", "second:finished"));
}

// Steps ------------------------------------------------------------------------------------------------------------

namespace {

std::shared_ptr<AsyncTaskStepEvent> step(const std::shared_ptr<BaseAsyncTask> &task, const String &name)
{
    return std::make_shared<AsyncTaskStepEvent>(task, name, 1, String());
}

/// A kind of event that cannot tell whether it is the same as another.
class MuteEvent : public AsyncTaskStepEvent {
public:
    using AsyncTaskStepEvent::AsyncTaskStepEvent;
    [[nodiscard]] std::optional<bool> isSameStep(const IAsyncTaskStepEvent *) const override { return std::nullopt; }
};

} // namespace

TEST_F(TaskSteps, ANewStepReachesTheDelegatesInOrderAndARepeatedOneNobody)
{
    task->setDelegate(first);
    task->setDelegate(second);
    const String copying("copy");
    task->onStepChanged(step(task, copying));
    task->onStepChanged(step(task, copying));
    task->onStepChanged(step(task, "copy"));
    EXPECT_THAT(
        journal->lines(), ElementsAre("first:step copy", "second:step copy", "first:step copy", "second:step copy"));
}

TEST_F(TaskSteps, AnEventThatCannotTellReachesNobody)
{
    task->setDelegate(first);
    task->onStepChanged(std::make_shared<MuteEvent>(task, "mute", 0, "value"));
    EXPECT_THAT(journal->lines(), IsEmpty());
}

TEST_F(TaskSteps, ADelegateCancelsTheTaskFromInsideAStep)
{
    first->cancelsSteps = true;
    task->setDelegate(first);
    task->setTaskState(AsyncTaskStateWorking);
    task->onStepChanged(step(task, "copy"));
    EXPECT_TRUE(task->isCancelled());
    EXPECT_THAT(journal->lines(), ElementsAre("first:step copy", "first:cancel"));
}

TEST_F(TaskSteps, ARepeatedStepWithCancelSetCancelsTheTask)
{
    task->setTaskState(AsyncTaskStateWorking);
    const auto event = step(task, "copy");
    task->onStepChanged(event);
    EXPECT_FALSE(task->isCancelled());
    event->setCancel(true);
    task->onStepChanged(event);
    EXPECT_TRUE(task->isCancelled());
}

TEST_F(TaskSteps, RememberingAStepDoesNotKeepTheTaskAlive)
{
    task->onStepChanged(step(task, "copy"));
    const std::weak_ptr<TestTask> watched = task;
    task.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(TaskSteps, ANullEventIsIgnored)
{
    task->setDelegate(first);
    task->onStepChanged(nullptr);
    EXPECT_THAT(journal->lines(), IsEmpty());
}
