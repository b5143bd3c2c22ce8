// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"
#include "tests/support/LogCapture.h"

#include <kelvane/common/MultiAsyncTask.h>

#include <gmock/gmock.h>

using namespace kelvane;
using kelvane::testsupport::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ItemListener : public SyncItemCompletedDelegate {
public:
    void syncItemDidCompleted(IAsyncTask &task, const std::shared_ptr<SyncCompletedNotification> &child) override
    {
        senders.push_back(&task);
        results.push_back(child->result());
        children.push_back(child);
    }
    std::vector<IAsyncTask *> senders;
    std::vector<std::uint64_t> results;
    std::vector<std::shared_ptr<SyncCompletedNotification>> children;
};

std::shared_ptr<AsyncTaskIOS> child(AsyncTaskIOS::WorkCallback work)
{
    return std::make_shared<AsyncTaskIOS>(std::move(work));
}

std::shared_ptr<AsyncTaskIOS> succeedingChild()
{
    return child([](AsyncTaskIOS &, const Object &) { return true; });
}

} // namespace

TEST(MultiTask, WithoutChildrenSucceedsAndItsWorkReportsNothing)
{
    std::vector<std::int32_t> percents;
    const auto task = std::make_shared<MultiAsyncTask>();
    task->setIsSubTask(true); // leaves only what the work reports
    task->addBaseAsyncTaskProgressChanged([&](BaseAsyncTask &, std::int32_t percent) { percents.push_back(percent); });
    EXPECT_TRUE(task->start(true));
    EXPECT_THAT(percents, IsEmpty());
}

TEST(MultiTask, WithoutChildrenKeepsAFailureThatItStartedWith)
{
    const auto task = std::make_shared<MultiAsyncTask>();
    task->setIsSuccess(false);
    EXPECT_FALSE(task->start(true));
}

TEST(MultiTask, RunsItsChildrenInOrderOnItsOwnThreadAndConsumesThem)
{
    std::vector<int> order;
    const auto task = std::make_shared<MultiAsyncTask>();
    for (int i = 0; i < 3; ++i)
        task->addTask(child([&order, i](AsyncTaskIOS &running, const Object &) {
            EXPECT_TRUE(running.synchronous());
            order.push_back(i);
            return true;
        }));
    task->addTask(nullptr);
    EXPECT_EQ(task->tasks().size(), 3U);
    EXPECT_TRUE(task->start(true));
    EXPECT_THAT(order, ElementsAre(0, 1, 2));
    EXPECT_THAT(task->tasks(), IsEmpty());
}

TEST(MultiTask, FoldsTheChildrensProgressIntoOne)
{
    std::vector<std::int32_t> percents;
    const auto task = std::make_shared<MultiAsyncTask>();
    task->addTask(succeedingChild());
    task->addTask(succeedingChild());
    task->addTask(child([](AsyncTaskIOS &running, const Object &) {
        running.onProgress(50);
        running.onProgress(150);
        running.onProgress(-50);
        running.onProgress(100);
        return true;
    }));
    task->addTask(succeedingChild());
    task->addBaseAsyncTaskProgressChanged([&](BaseAsyncTask &, std::int32_t percent) { percents.push_back(percent); });
    EXPECT_TRUE(task->start(true));
    // Each child reports 0 and 100 itself: it is a task of its own here, not a sub-task.
    EXPECT_THAT(percents, ElementsAre(0, 0, 25, 25, 50, 50, 62, 75, 37, 75, 75, 100));
}

TEST(MultiTask, ProgressOutsideARunIsIgnored)
{
    const auto task = std::make_shared<MultiAsyncTask>();
    task->onTaskProgressChanged(50);
    EXPECT_EQ(task->lastPercent(), 0);
}

TEST(MultiTask, StartsTheChildrenAfterAFailureAsFailedWithItsError)
{
    bool hasThirdWorked = false;
    const auto exception = std::make_shared<const Exception>("Second");
    const auto first = succeedingChild();
    const auto second = child([&](AsyncTaskIOS &running, const Object &) {
        running.setErrorCode(2);
        running.setErrorText("second failed");
        running.setError(exception);
        return false;
    });
    const auto third = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &running, const Object &) {
        hasThirdWorked = true;
        EXPECT_FALSE(running.isSuccess());
        EXPECT_EQ(running.errorCode(), 2);
        EXPECT_EQ(running.errorText(), "second failed");
        running.setErrorCode(3);
        return running.isSuccess();
    });
    const auto task = std::make_shared<MultiAsyncTask>();
    for (const auto &each : {first, second, third})
        task->addTask(each);
    EXPECT_FALSE(task->start(true));
    EXPECT_TRUE(hasThirdWorked) << "children are never skipped";
    EXPECT_TRUE(first->isSuccess());
    EXPECT_EQ(task->errorCode(), 3) << "the last failure wins";
    EXPECT_EQ(task->errorText(), "second failed");
    EXPECT_EQ(task->error(), nullptr) << "code and text are copied, the exception is not";
    EXPECT_EQ(task->result(), AsyncTaskResultFailed);
}

TEST(MultiTask, AChildThatSucceedsAfterAFailureDoesNotMendTheWhole)
{
    const auto last = succeedingChild();
    const auto task = std::make_shared<MultiAsyncTask>();
    task->addTask(child([](AsyncTaskIOS &, const Object &) { return false; }));
    task->addTask(last);
    EXPECT_FALSE(task->start(true));
    EXPECT_TRUE(last->isSuccess());
}

TEST(MultiTask, AnExceptionFromAChildIsLoggedAndTheOthersRun)
{
    class ThrowingChild : public AsyncTaskIOS {
        void onCompleted() override { throw Exception("Name", "the reason"); }
    };
    LogCapture log;
    bool hasRun = false;
    const auto task = std::make_shared<MultiAsyncTask>();
    task->addTask(std::make_shared<ThrowingChild>());
    task->addTask(child([&](AsyncTaskIOS &, const Object &) { return hasRun = true; }));
    EXPECT_TRUE(task->start(true)) << "the exception changes no success by itself";
    EXPECT_TRUE(hasRun);
    EXPECT_THAT(log.errorLines(), ElementsAre("MultiAsync Task Execute Error: the reason"));
}

TEST(MultiTask, ACancelStartsTheLaterChildrenCancelled)
{
    bool hasSecondWorked = false;
    const auto second = child([&](AsyncTaskIOS &, const Object &) { return hasSecondWorked = true; });
    const auto task = std::make_shared<MultiAsyncTask>();
    task->addTask(child([&](AsyncTaskIOS &running, const Object &) {
        task->cancel();
        EXPECT_FALSE(running.isCancelled()) << "the running child is not reached";
        return true;
    }));
    task->addTask(second);
    task->startTask();
    while (task->taskState() != AsyncTaskStateFinished)
        task->waitDone(1);
    EXPECT_FALSE(hasSecondWorked);
    EXPECT_TRUE(second->isStarted());
    EXPECT_TRUE(second->isCancelled());
    EXPECT_EQ(task->result(), AsyncTaskResultCancelled);
}

TEST(MultiTask, TellsTheItemListenerOfEachChildAndTheAllListenerOnceBeforeItsOwn)
{
    const auto journal = std::make_shared<Journal>();
    const auto all = std::make_shared<RecordingDelegate>(journal, "all");
    const auto own = std::make_shared<RecordingDelegate>(journal, "own");
    const auto items = std::make_shared<ItemListener>();
    const auto task = std::make_shared<MultiAsyncTask>(own, all, items, Object::of(7));
    const auto first = succeedingChild();
    const auto second = child([](AsyncTaskIOS &, const Object &) { return false; });
    task->addTask(first);
    task->addTask(second);
    task->setIsSubTask(true);
    task->addBaseAsyncTaskCompleted(
        [&](BaseAsyncTask &, const Object &state) { journal->add("block " + std::to_string(*state.as<int>())); });
    task->start(true);
    EXPECT_THAT(items->senders, ElementsAre(task.get(), task.get()));
    EXPECT_THAT(items->results, ElementsAre(AsyncTaskResultSuccess, AsyncTaskResultFailed));
    EXPECT_EQ(items->children[0].get(), first.get());
    const auto lines = journal->lines();
    EXPECT_THAT(std::vector<std::string>(lines.end() - 3, lines.end()),
        ElementsAre("all:sync completed", "own:finished", "block 7"));
    EXPECT_EQ(all->lastNotification.get(), task.get()) << "the group is both sender and notification";
    items->children.clear();
    all->lastNotification.reset();
}

TEST(MultiTask, DoesNotKeepItsCompletionListenersAlive)
{
    auto items = std::make_shared<ItemListener>();
    auto all = std::make_shared<RecordingDelegate>(std::make_shared<Journal>(), "all");
    const auto task = std::make_shared<MultiAsyncTask>(nullptr, all, items);
    const std::weak_ptr<ItemListener> watchedItems = items;
    const std::weak_ptr<RecordingDelegate> watchedAll = all;
    items.reset();
    all.reset();
    EXPECT_TRUE(watchedItems.expired());
    EXPECT_TRUE(watchedAll.expired());
    task->addTask(succeedingChild());
    EXPECT_TRUE(task->start(true));
}

TEST(MultiTask, AChildAddedDuringTheRunRunsToo)
{
    bool hasRun = false;
    const auto task = std::make_shared<MultiAsyncTask>();
    task->addTask(child([&](AsyncTaskIOS &, const Object &) {
        task->addTask(child([&](AsyncTaskIOS &, const Object &) { return hasRun = true; }));
        return true;
    }));
    EXPECT_TRUE(task->start(true));
    EXPECT_TRUE(hasRun);
}
