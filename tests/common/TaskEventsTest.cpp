// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"

#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/common/DummyAsyncTask.h>
#include <kelvane/common/SyncItemAsyncTask.h>
#include <kelvane/common/SyncItemEvent.h>

#include <gmock/gmock.h>

using namespace kelvane;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Object stateOf(int number)
{
    return Object::of(number);
}

class ItemListener : public SyncItemCompletedDelegate {
public:
    explicit ItemListener(std::shared_ptr<Journal> journal) : _journal(std::move(journal)) {}
    void syncItemDidCompleted(IAsyncTask &task, const std::shared_ptr<SyncCompletedNotification> &notification) override
    {
        _journal->add("item completed");
        event = std::dynamic_pointer_cast<SyncItemEvent>(notification);
        lastTask = &task;
        wasCompleted = task.isCompleted();
    }

    std::shared_ptr<SyncItemEvent> event;
    IAsyncTask *lastTask = nullptr;
    bool wasCompleted = false;

private:
    std::shared_ptr<Journal> _journal;
};

/// An item in a state of the test's choosing.
class FixedItem : public IDataItem {
public:
    explicit FixedItem(DataItemState state, std::shared_ptr<Journal> journal = std::make_shared<Journal>())
        : _state(state),
          _journal(std::move(journal))
    {
    }
    void attach(const std::shared_ptr<IDataItemList> & /*list*/) override {}
    void detach() override {}
    void beginEdit() override {}
    void endEdit() override {}
    void cancelEdit() override {}
    void acceptChanges() override { _journal->add("accept"); }
    void rejectChanges() override {}
    void deleteItem() override {}
    void setModified() override {}
    [[nodiscard]] DataItemState itemState() const override { return _state; }

private:
    DataItemState _state;
    std::shared_ptr<Journal> _journal;
};

} // namespace

// Step events ------------------------------------------------------------------------------------------------------

TEST(StepEvent, CarriesItsFields)
{
    const auto task = std::make_shared<BaseAsyncTask>();
    AsyncTaskStepEvent event(task, "copy", 1LL << 40, "index");
    EXPECT_EQ(event.parentTask(), task);
    EXPECT_EQ(event.name(), "copy");
    EXPECT_EQ(event.value(), 1LL << 40);
    EXPECT_EQ(event.valueName(), "index");
    EXPECT_TRUE(event.userValue().isNull());
    EXPECT_FALSE(event.cancel());
    EXPECT_FALSE(event.handled());
    const auto value = stateOf(1);
    event.setUserValue(value);
    event.setCancel(true);
    event.setHandled(true);
    EXPECT_EQ(event.userValue(), value);
    EXPECT_TRUE(event.cancel());
    EXPECT_TRUE(event.handled());
}

TEST(StepEvent, IsTheSameStepByIdentityOfStringsAndUserValueAndByNumber)
{
    const String name("copy");
    const String valueName("index");
    const AsyncTaskStepEvent event(nullptr, name, 1, valueName);
    EXPECT_EQ(event.isSameStep(nullptr), false);
    EXPECT_EQ(event.isSameStep(&event), true);

    const AsyncTaskStepEvent twin(nullptr, name, 1, valueName);
    EXPECT_EQ(event.isSameStep(&twin), true);
    const AsyncTaskStepEvent otherText(nullptr, String("copy"), 1, valueName);
    EXPECT_EQ(event.isSameStep(&otherText), false);
    const AsyncTaskStepEvent otherValueText(nullptr, name, 1, String("index"));
    EXPECT_EQ(event.isSameStep(&otherValueText), false);
    const AsyncTaskStepEvent otherNumber(nullptr, name, 2, valueName);
    EXPECT_EQ(event.isSameStep(&otherNumber), false);
    AsyncTaskStepEvent otherUserValue(nullptr, name, 1, valueName);
    otherUserValue.setUserValue(stateOf(1));
    EXPECT_EQ(event.isSameStep(&otherUserValue), false);
}

TEST(StepEvent, WithoutItsTaskIsStillTheSameStep)
{
    const auto task = std::make_shared<BaseAsyncTask>();
    AsyncTaskStepEvent event(task, "copy", 1, "index");
    event.setUserValue(stateOf(1));
    const auto remembered = event.withoutTask();
    EXPECT_EQ(remembered->parentTask(), nullptr);
    EXPECT_EQ(event.isSameStep(remembered.get()), true);
}

TEST(SyncItemEventRecord, CarriesItsFields)
{
    SyncItemEvent event;
    EXPECT_EQ(event.action(), 0U);
    EXPECT_EQ(event.result(), 0U);
    EXPECT_EQ(event.progressPercentage(), 0);
    event.setAction(3);
    event.setUserState(stateOf(1));
    event.setSyncObject(stateOf(2));
    event.setErrorText("text");
    event.setResult(2);
    event.setErrorCode(4);
    event.setProgressPercentage(50);
    EXPECT_EQ(event.action(), 3U);
    EXPECT_EQ(*event.userState().as<int>(), 1);
    EXPECT_EQ(*event.syncObject().as<int>(), 2);
    EXPECT_EQ(event.errorText(), "text");
    EXPECT_EQ(event.result(), 2U);
    EXPECT_EQ(event.errorCode(), 4);
    EXPECT_EQ(event.progressPercentage(), 50);
}

// Sync-item tasks --------------------------------------------------------------------------------------------------

struct ActionCase {
    DataItemState state;
    std::uint64_t action;
};

class SyncItemAction : public testing::TestWithParam<ActionCase> {};

TEST_P(SyncItemAction, ComesFromTheItemsState)
{
    const auto item = std::make_shared<FixedItem>(GetParam().state);
    const auto task = std::make_shared<SyncItemAsyncTask>(nullptr, nullptr, nullptr, nullptr, nullptr, item);
    EXPECT_EQ(task->action(), GetParam().action);
    EXPECT_EQ(task->dataItem(), item);
    EXPECT_EQ(task->syncObject().as<IDataItem>(), item);
}

INSTANTIATE_TEST_SUITE_P(Table, SyncItemAction,
    testing::Values(ActionCase{DataItemState::Added, 1}, ActionCase{DataItemState::Deleted, 2},
        ActionCase{DataItemState::Modified, 3}, ActionCase{DataItemState::Unchanged, 0},
        ActionCase{DataItemState::Detached, 0}));

TEST(SyncItemTask, WithoutAnItemHasActionZero)
{
    const auto task =
        std::make_shared<SyncItemAsyncTask>(nullptr, nullptr, nullptr, nullptr, nullptr, std::shared_ptr<IDataItem>());
    EXPECT_EQ(task->action(), 0U);
    EXPECT_TRUE(task->start(true));
}

TEST(SyncItemTask, TakesAGivenActionAsItIs)
{
    const auto item = std::make_shared<FixedItem>(DataItemState::Deleted);
    const auto task = std::make_shared<SyncItemAsyncTask>(nullptr, nullptr, nullptr, nullptr, nullptr, 77, item);
    EXPECT_EQ(task->action(), 77U);
}

TEST(SyncItemTask, OnSuccessCommitsTheItemAfterTheListenersAndThenTellsTheItemsListener)
{
    const auto journal = std::make_shared<Journal>();
    const auto item = std::make_shared<FixedItem>(DataItemState::Added, journal);
    const auto listener = std::make_shared<ItemListener>(journal);
    const auto task = std::make_shared<SyncItemAsyncTask>(
        [&](AsyncTaskIOS &running, const Object &state) {
            EXPECT_EQ(*state.as<int>(), 1);
            running.setProgressPercentage(100);
            return true;
        },
        stateOf(1), std::make_shared<RecordingDelegate>(journal, "d"), stateOf(2), listener, item);
    task->setProgressPercentage(1);
    EXPECT_TRUE(task->start(true));
    EXPECT_THAT(journal->lines(), ElementsAre("d:finished", "accept", "item completed"));
    ASSERT_NE(listener->event, nullptr);
    EXPECT_EQ(listener->lastTask, task.get());
    EXPECT_EQ(listener->event->action(), 1U);
    EXPECT_EQ(*listener->event->userState().as<int>(), 2);
    EXPECT_EQ(listener->event->syncObject().as<IDataItem>(), item);
    EXPECT_EQ(listener->event->result(), AsyncTaskResultSuccess);
    EXPECT_EQ(listener->event->errorCode(), 0);
    EXPECT_TRUE(listener->event->errorText().isNull());
}

TEST(SyncItemTask, AFailureCommitsNothingAndIsTold)
{
    const auto journal = std::make_shared<Journal>();
    const auto item = std::make_shared<FixedItem>(DataItemState::Modified, journal);
    const auto listener = std::make_shared<ItemListener>(journal);
    const auto task = std::make_shared<SyncItemAsyncTask>(
        [](AsyncTaskIOS &running, const Object &) {
            running.setErrorCode(28);
            running.setErrorText("no space left");
            return false;
        },
        nullptr, nullptr, nullptr, listener, item);
    EXPECT_FALSE(task->start(true));
    EXPECT_THAT(journal->lines(), ElementsAre("item completed"));
    EXPECT_EQ(listener->event->result(), AsyncTaskResultFailed);
    EXPECT_EQ(listener->event->errorCode(), 28);
    EXPECT_EQ(listener->event->errorText(), "no space left");
    EXPECT_EQ(listener->event->action(), 3U);
}

TEST(SyncItemTask, AnOutcomeOfFiveCommitsNothing)
{
    const auto journal = std::make_shared<Journal>();
    const auto item = std::make_shared<FixedItem>(DataItemState::Added, journal);
    const auto listener = std::make_shared<ItemListener>(journal);
    const auto task = std::make_shared<SyncItemAsyncTask>(
        [](AsyncTaskIOS &, const Object &) { return true; }, nullptr, nullptr, nullptr, listener, item);
    task->setIOSUploadResult(5);
    EXPECT_TRUE(task->start(true));
    EXPECT_THAT(journal->lines(), ElementsAre("item completed"));
    EXPECT_EQ(listener->event->result(), 5U);
}

// Dummy tasks ------------------------------------------------------------------------------------------------------

TEST(DummyTask, WithAnItemListenerTellsItAtOnceWithoutANotificationBeforeItCountsAsCompleted)
{
    const auto journal = std::make_shared<Journal>();
    const auto listener = std::make_shared<ItemListener>(journal);
    DummyAsyncTask task(false, listener, stateOf(4));
    EXPECT_THAT(journal->lines(), ElementsAre("item completed"));
    EXPECT_EQ(listener->event, nullptr);
    EXPECT_FALSE(listener->wasCompleted);
    EXPECT_TRUE(task.isCompleted());
    EXPECT_FALSE(task.isSuccess());
    EXPECT_EQ(*task.userState().as<int>(), 4);
    task.onCompleted();
    EXPECT_EQ(journal->lines().size(), 1U) << "the listener was not kept";
}

TEST(DummyTask, WithAKeptItemListenerTellsItWhenTheCompletionRuns)
{
    const auto journal = std::make_shared<Journal>();
    auto listener = std::make_shared<ItemListener>(journal);
    DummyAsyncTask task(listener, stateOf(4));
    EXPECT_THAT(journal->lines(), IsEmpty());
    EXPECT_TRUE(task.isSuccessCompleted());
    task.addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { journal->add("block"); });
    task.onCompleted();
    EXPECT_THAT(journal->lines(), ElementsAre("item completed", "block"));
    listener.reset(); // not kept alive by the task
    task.onCompleted();
    EXPECT_THAT(journal->lines(), ElementsAre("item completed", "block", "block"));
}

TEST(DummyTask, WithASyncListenerTellsItAndKeepsItAsDelegate)
{
    const auto journal = std::make_shared<Journal>();
    const auto listener = std::make_shared<RecordingDelegate>(journal, "d");
    DummyAsyncTask task(true, listener, stateOf(4));
    EXPECT_THAT(journal->lines(), ElementsAre("d:sync completed"));
    EXPECT_EQ(task.delegate(), listener);
    ASSERT_NE(listener->lastNotification, nullptr);
    EXPECT_EQ(listener->lastNotification->result(), AsyncTaskResultSuccess);
    EXPECT_EQ(*listener->lastNotification->userState().as<int>(), 4);
}

TEST(DummyTask, WithAnErrorTextTellsAnEventThatDoesNotCarryIt)
{
    const auto journal = std::make_shared<Journal>();
    const auto listener = std::make_shared<RecordingDelegate>(journal, "d");
    DummyAsyncTask task(false, "x", listener, nullptr);
    ASSERT_NE(listener->lastNotification, nullptr);
    EXPECT_EQ(listener->lastNotification->result(), AsyncTaskResultFailed);
    EXPECT_EQ(listener->lastNotification->errorCode(), 0);
    EXPECT_TRUE(listener->lastNotification->errorText().isNull());
    EXPECT_TRUE(task.errorText().isNull());
    EXPECT_EQ(task.delegate(), nullptr);
}

TEST(DummyTask, WithABlockCallsItOnceCompleted)
{
    bool wasCompleted = false;
    DummyAsyncTask task(
        true, [&](BaseAsyncTask &made) { wasCompleted = made.isCompleted(); }, nullptr);
    EXPECT_TRUE(wasCompleted);
    DummyAsyncTask without(false, DummyAsyncTask::AsyncCallback(), nullptr);
    EXPECT_FALSE(without.isSuccess());
}

TEST(DummyTask, WaitsReturnItsSuccessAtOnceAndACancelIsIgnored)
{
    for (const bool isSuccess : {true, false}) {
        DummyAsyncTask task(isSuccess, DummyAsyncTask::AsyncCallback(), nullptr);
        EXPECT_EQ(task.waitDone(), isSuccess);
        task.cancel();
        EXPECT_FALSE(task.isCancelled());
        EXPECT_EQ(task.waitDone(0), isSuccess);
    }
}
