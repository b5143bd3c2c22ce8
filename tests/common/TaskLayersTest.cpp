// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/common/CancelOnSignal.h>
#include <kelvane/common/TaskAwaitable.h>
#include <kelvane/common/TaskFuture.h>
#include <kelvane/common/TaskObserver.h>
#include <kelvane/common/TypedTask.h>

#include <gmock/gmock.h>

#include <csignal>
#include <latch>
#include <thread>
#include <unistd.h>

using namespace kelvane;
using testing::ElementsAre;

namespace {

std::shared_ptr<AsyncTaskIOS> taskWith(AsyncTaskIOS::WorkCallback work)
{
    return std::make_shared<AsyncTaskIOS>(std::move(work));
}

struct Job {
    struct promise_type {
        std::promise<bool> done;
        Job get_return_object() { return {done.get_future()}; }
        std::suspend_never initial_suspend() { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_value(bool value) { done.set_value(value); }
        void unhandled_exception() { done.set_exception(std::current_exception()); }
    };
    std::future<bool> result;
};

Job await(std::shared_ptr<AsyncTaskIOS> task)
{
    co_return co_await startAndAwait(std::move(task));
}

Job awaitAll(std::vector<std::shared_ptr<AsyncTaskIOS>> tasks)
{
    bool isSuccess = true;
    for (const auto &task : tasks)
        isSuccess = co_await startAndAwait(task) && isSuccess;
    co_return isSuccess;
}

struct Counter {
    int count = 0;
};

} // namespace

TEST(TaskFuture, IsTheOutcome)
{
    EXPECT_TRUE(startAsFuture(taskWith([](AsyncTaskIOS &, const Object &) { return true; })).get());
    EXPECT_FALSE(startAsFuture(taskWith([](AsyncTaskIOS &, const Object &) { return false; })).get());
}

TEST(TaskFuture, ThrowsTheExceptionThatEndedTheWork)
{
    auto future =
        startAsFuture(taskWith([](AsyncTaskIOS &, const Object &) -> bool { throw Exception("Name", "reason"); }));
    EXPECT_THROW(future.get(), Exception);
}

TEST(TaskFuture, OfACancelledTaskIsFalse)
{
    std::latch isWorking(1);
    std::latch mayEnd(1);
    const auto task = taskWith([&](AsyncTaskIOS &running, const Object &) {
        isWorking.count_down();
        mayEnd.wait();
        return running.canContinue();
    });
    auto future = startAsFuture(task);
    isWorking.wait();
    task->cancel();
    mayEnd.count_down();
    EXPECT_FALSE(future.get());
}

TEST(TaskFuture, OfAStartedTaskOrNoneIsInvalid)
{
    const auto task = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    task->start(true);
    EXPECT_FALSE(startAsFuture(task).valid());
    EXPECT_FALSE(startAsFuture(nullptr).valid());
}

TEST(TaskAwaitable, ResumesWithTheOutcome)
{
    EXPECT_TRUE(await(taskWith([](AsyncTaskIOS &, const Object &) { return true; })).result.get());
    EXPECT_FALSE(await(taskWith([](AsyncTaskIOS &, const Object &) { return false; })).result.get());
    EXPECT_FALSE(await(nullptr).result.get());
}

TEST(TaskAwaitable, ThrowsTheExceptionThatEndedTheWork)
{
    auto job = await(taskWith([](AsyncTaskIOS &, const Object &) -> bool { throw std::runtime_error("reason"); }));
    EXPECT_THROW(job.result.get(), Exception);
}

TEST(TaskAwaitable, RunsManyTasksOneAfterTheOther)
{
    std::atomic<int> runs = 0;
    std::vector<std::shared_ptr<AsyncTaskIOS>> tasks;
    for (int i = 0; i < 200; ++i)
        tasks.push_back(taskWith([&runs, i](AsyncTaskIOS &, const Object &) { return runs++ == i; }));
    EXPECT_TRUE(awaitAll(std::move(tasks)).result.get());
    EXPECT_EQ(runs, 200);
}

TEST(TaskAwaitable, DoesNotAwaitATaskThatWasStartedBefore)
{
    const auto task = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    task->start(true);
    EXPECT_TRUE(await(task).result.get());
}

TEST(TaskObserver, HearsWhatItAskedForAndNothingElse)
{
    std::vector<std::string> heard;
    const auto task = taskWith([&](AsyncTaskIOS &running, const Object &) {
        running.setLastLenght(9);
        running.onStepChanged(std::make_shared<AsyncTaskStepEvent>(nullptr, "copy", 1, String()));
        running.waitDone(0);
        running.cancel();
        return false;
    });
    task->setDelegate(makeDelegate({
        .onProgress = [&](IAsyncTask &,
                          std::int32_t percent) { heard.push_back("progress " + std::to_string(percent)); },
        .onLenght = [&](IAsyncTask &, std::int64_t lenght) { heard.push_back("lenght " + std::to_string(lenght)); },
        .onStep = [&](IAsyncTask &, IAsyncTaskStepEvent &event) { heard.push_back("step " + event.name().str()); },
        .onFinished = [&](IAsyncTask &) { heard.emplace_back("finished"); },
        .onCancel = [&](IAsyncTask &) { heard.emplace_back("cancel"); },
        .onWaiting = [&](IAsyncTask &) { heard.emplace_back("waiting"); },
    }));
    task->setDelegate(makeDelegate({}));
    task->start(true);
    EXPECT_THAT(heard, ElementsAre("progress 0", "lenght 0", "step copy", "waiting", "cancel", "finished", "finished"));
}

TEST(TypedTask, GivesTheWorkItsStateByType)
{
    const auto counter = std::make_shared<Counter>();
    const auto task = makeTask(counter, [](AsyncTaskIOS &, Counter &state) { return ++state.count == 1; });
    EXPECT_TRUE(task->start(true));
    EXPECT_EQ(counter->count, 1);
}

TEST(TypedTask, FailsOnAStateOfAnotherType)
{
    const auto counter = std::make_shared<Counter>();
    const auto task = makeTask(counter, [](AsyncTaskIOS &, Counter &state) { return ++state.count == 1; });
    EXPECT_FALSE(task->start(true, Object::of(std::string("another"))));
    EXPECT_EQ(counter->count, 0);
}

TEST(CancelOnSignal, CancelsTheTaskAndKeepsTheProcessAlive)
{
    const auto task = taskWith([](AsyncTaskIOS &running, const Object &) {
        running.sleep(501);
        return running.canContinue();
    });
    {
        const CancelOnSignal guard(task, {SIGUSR1});
        EXPECT_TRUE(guard.isActive());
        EXPECT_EQ(guard.caughtSignal(), 0);
        ::kill(::getpid(), SIGUSR1);
        EXPECT_FALSE(task->start(true));
        EXPECT_EQ(guard.caughtSignal(), SIGUSR1);
    }
    EXPECT_TRUE(task->isCancelled());
}

TEST(CancelOnSignal, ReachesEveryGuardOfTheSignalAndNoOther)
{
    const auto first = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    const auto second = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    const auto other = taskWith([](AsyncTaskIOS &, const Object &) { return true; });
    const CancelOnSignal firstGuard(first, {SIGUSR1});
    const CancelOnSignal otherGuard(other, {SIGUSR2});
    const CancelOnSignal secondGuard(second, {SIGUSR2, SIGUSR1});
    ::kill(::getpid(), SIGUSR1);
    while (!first->isCancelled() || !second->isCancelled())
        std::this_thread::yield();
    EXPECT_FALSE(other->isCancelled());
    EXPECT_EQ(otherGuard.caughtSignal(), 0);
}

TEST(CancelOnSignal, PutsTheHandlingBackThatItFound)
{
    const auto before = std::signal(SIGUSR2, SIG_IGN);
    {
        const CancelOnSignal guard(nullptr, {SIGUSR2});
        const CancelOnSignal inner(nullptr, {SIGUSR2});
        ::kill(::getpid(), SIGUSR2);
        while (inner.caughtSignal() == 0 || guard.caughtSignal() == 0)
            std::this_thread::yield();
    }
    EXPECT_EQ(std::signal(SIGUSR2, before), SIG_IGN);
}
