// SPDX-License-Identifier: Apache-2.0
#include "tests/common/RecordingDelegate.h"

#include <kelvane/common/ParallelAsyncTask.h>

#include <gmock/gmock.h>

#include <latch>
#include <thread>

using namespace kelvane;
using testing::ElementsAre;
using testing::IsEmpty;
using Tasks = AsyncTaskIOS::Tasks;

namespace {

std::shared_ptr<AsyncTaskIOS> completed(bool isSuccess, int code = 0)
{
    auto task = std::make_shared<AsyncTaskIOS>([=](AsyncTaskIOS &running, const Object &) {
        running.setErrorCode(code);
        if (code != 0) {
            running.setErrorText("failed");
            running.setError(std::make_shared<const Exception>("Child"));
        }
        return isSuccess;
    });
    task->start(true);
    return task;
}

std::shared_ptr<AsyncTaskIOS> idle()
{
    return std::make_shared<AsyncTaskIOS>();
}

} // namespace

TEST(ParallelTask, WaitsForAllAndSucceedsIfAllDid)
{
    const auto journal = std::make_shared<Journal>();
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{completed(true), completed(true)}, 0U, nullptr,
        std::make_shared<RecordingDelegate>(journal, "d"), Object::of(3));
    EXPECT_EQ(*group->userState().as<int>(), 3);
    EXPECT_TRUE(group->waitDone(1000));
    EXPECT_TRUE(group->isSuccessCompleted());
    EXPECT_EQ(group->taskResult(), Value(1));
    EXPECT_THAT(journal->lines(), ElementsAre("d:finished"));
}

TEST(ParallelTask, WaitingForAllFailsIfOneFailedAndCopiesNoError)
{
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{completed(true), completed(false, 9)}, 0U, nullptr);
    EXPECT_FALSE(group->waitDone(1000));
    EXPECT_TRUE(group->isCompleted());
    EXPECT_FALSE(group->isSuccess());
    EXPECT_EQ(group->errorCode(), 0);
    EXPECT_EQ(group->taskResult(), Value(2));
}

TEST(ParallelTask, WaitingForAllLeavesASuccessFlagThatWasClearedBefore)
{
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{completed(true)}, 0U, nullptr);
    group->setIsSuccess(false);
    EXPECT_FALSE(group->waitDone(1000));
    EXPECT_TRUE(group->isCompleted());
}

TEST(ParallelTask, AnExpiredWaitForAllLeavesItUncompleted)
{
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{idle()}, 0U, nullptr);
    EXPECT_FALSE(group->waitDone(100));
    EXPECT_FALSE(group->isCompleted());
    EXPECT_TRUE(group->isSuccess());
    EXPECT_FALSE(group->waitDone(-1)) << "-1 means nothing special where all are waited for";
    EXPECT_FALSE(group->isCompleted());
}

struct FirstCase {
    std::uint64_t mode;
    bool hasOneTask;
    bool winnerIsOneTask;
    bool winnerSucceeds;
    bool outcome;
    bool copiesError;
};

class ParallelFirst : public testing::TestWithParam<FirstCase> {};

TEST_P(ParallelFirst, TakesItsOutcomeFromTheWinner)
{
    const auto &row = GetParam();
    const auto winner = completed(row.winnerSucceeds, 7);
    const auto other = idle();
    const std::shared_ptr<IAsyncTask> oneTask = !row.hasOneTask ? nullptr : row.winnerIsOneTask ? winner : other;
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{other, winner}, row.mode, oneTask);
    EXPECT_EQ(group->waitDone(0), row.outcome);
    EXPECT_TRUE(group->isCompleted());
    EXPECT_EQ(group->errorCode(), row.copiesError ? 7 : 0);
    EXPECT_EQ(group->errorText().isNull(), !row.copiesError);
    EXPECT_EQ(group->error() != nullptr, row.copiesError);
    EXPECT_EQ(group->taskResult(), row.outcome ? Value(true) : Value(2));
}

INSTANTIATE_TEST_SUITE_P(Table, ParallelFirst,
    testing::Values(FirstCase{1, true, true, true, true, false}, FirstCase{1, true, false, true, false, true},
        FirstCase{1, true, true, false, false, true}, FirstCase{1, false, false, true, true, false},
        FirstCase{1, false, false, false, false, false}, FirstCase{2, true, true, true, false, true},
        FirstCase{2, true, false, true, true, false}, FirstCase{2, true, false, false, false, true},
        FirstCase{99, true, false, true, true, false}, FirstCase{99, false, false, true, true, false}));

TEST(ParallelTask, AnExpiredWaitForTheFirstCompletesItOnlyForMinusOne)
{
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{idle()}, 1U, nullptr);
    EXPECT_FALSE(group->waitDone(0));
    EXPECT_FALSE(group->isCompleted());
    EXPECT_FALSE(group->waitDone(-1));
    EXPECT_TRUE(group->isCompleted());
    EXPECT_FALSE(group->isSuccess());
}

TEST(ParallelTask, EachWaitThatSeesTheChildrenReadyTellsItsListenersAgain)
{
    const auto journal = std::make_shared<Journal>();
    const auto group = std::make_shared<ParallelAsyncTask>(
        Tasks{completed(true)}, 1U, nullptr, std::make_shared<RecordingDelegate>(journal, "d"));
    EXPECT_TRUE(group->waitDone(0));
    EXPECT_TRUE(group->waitDone(0));
    EXPECT_THAT(journal->lines(), ElementsAre("d:finished", "d:finished"));
}

TEST(ParallelTask, WaitingWithoutATimeWaitsForAChildThatStillWorks)
{
    std::latch mayEnd(1);
    const auto child = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
        mayEnd.wait();
        return true;
    });
    child->startTask();
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{child}, 1U, child);
    std::thread waiter([&] { EXPECT_TRUE(group->waitDone()); });
    while (!group->childTaskArray())
        std::this_thread::yield();
    mayEnd.count_down();
    waiter.join();
}

TEST(ParallelTask, DisposingCancelsTheChildrenAndForgetsThem)
{
    const auto child = idle();
    const auto group = std::make_shared<ParallelAsyncTask>(Tasks{child}, 0U, nullptr);
    EXPECT_EQ(group->tasks().size(), 1U);
    group->disposeTask();
    EXPECT_TRUE(child->isCancelled());
    EXPECT_THAT(group->tasks(), IsEmpty());
    group->disposeTask();
}

TEST(ParallelTask, CancelsItsChildrenWhenItGoes)
{
    const auto child = idle();
    const auto done = completed(true);
    std::make_shared<ParallelAsyncTask>(Tasks{child, done}, 0U, nullptr).reset();
    EXPECT_TRUE(child->isCancelled());
    EXPECT_FALSE(done->isCancelled());
}

TEST(ParallelTask, MayBeDisposedOfWhileItsChildrenFinish)
{
    for (int round = 0; round < 100; ++round) {
        Tasks children;
        for (int i = 0; i < 4; ++i)
            children.push_back(std::make_shared<AsyncTaskIOS>());
        const auto group = std::make_shared<ParallelAsyncTask>(children, 0U, nullptr);
        for (const auto &child : children)
            std::static_pointer_cast<AsyncTaskIOS>(child)->startTask();
        group->disposeTask();
        for (const auto &child : children) {
            const auto task = std::static_pointer_cast<AsyncTaskIOS>(child);
            while (task->taskState() != AsyncTaskStateFinished)
                std::this_thread::yield();
            EXPECT_NE(task->isCompleted(), task->isCancelled());
        }
    }
}
