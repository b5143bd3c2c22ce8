// SPDX-License-Identifier: Apache-2.0

// Two things at once, again and again: what matters is that nothing is lost, nobody hangs and no sanitizer objects.
#include <kelvane/common/AsyncTaskIOS.h>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

using namespace kelvane;

namespace {

/// Runs both on two threads at the same moment.
template <class First, class Second>
void race(First first, Second second)
{
    std::latch start(2);
    std::thread other([&] {
        start.arrive_and_wait();
        second();
    });
    start.arrive_and_wait();
    first();
    other.join();
}

/// Counts how often a task ended.
class EndCounter : public IAsyncTaskDelegate {
public:
    void asyncTaskFinished(IAsyncTask &, IAsyncTask &) override { ++count; }
    std::atomic<int> count = 0;
};

} // namespace

TEST(TaskStress, ACancelAgainstTheEndLeavesATaskEitherCompletedOrCancelled)
{
    for (int round = 0; round < 500; ++round) {
        const auto counter = std::make_shared<EndCounter>();
        const auto task = std::make_shared<AsyncTaskIOS>();
        task->setDelegate(counter);
        race([&] { task->startTask(); }, [&] { task->cancel(); });
        while (task->taskState() != AsyncTaskStateFinished && task->taskState() != AsyncTaskStateCompleting)
            std::this_thread::yield();
        task->waitDone();
        EXPECT_NE(task->isCompleted(), task->isCancelled());
    }
}

TEST(TaskStress, AWaitAgainstTheEndAlwaysReturnsTheOutcome)
{
    for (int round = 0; round < 500; ++round) {
        const auto task = std::make_shared<BaseAsyncTask>();
        race([&] { task->doComplete(true); }, [&] { EXPECT_TRUE(task->waitDone()); });
    }
}

TEST(TaskStress, ACallbackAddedAgainstTheEndIsTold)
{
    for (int round = 0; round < 500; ++round) {
        const auto counter = std::make_shared<EndCounter>();
        const auto task = std::make_shared<BaseAsyncTask>();
        race([&] { task->doComplete(true); }, [&] { task->addCompleteEvent(counter); });
        EXPECT_GE(counter->count, 1);
    }
}

TEST(TaskStress, TwoStartsRunTheWorkOnce)
{
    for (int round = 0; round < 500; ++round) {
        std::atomic<int> runs = 0;
        const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
            ++runs;
            return true;
        });
        race([&] { task->startTask(); }, [&] { task->startTask(); });
        EXPECT_TRUE(task->waitDone());
        EXPECT_EQ(runs, 1);
    }
}

TEST(TaskStress, AHundredThousandTasksGoThroughTheSharedQueue)
{
    constexpr int count = 100000;
    std::atomic<int> runs = 0;
    std::vector<std::shared_ptr<AsyncTaskIOS>> tasks;
    tasks.reserve(count);
    for (int i = 0; i < count; ++i) {
        tasks.push_back(std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
            runs.fetch_add(1, std::memory_order_relaxed);
            return true;
        }));
        tasks.back()->startTask();
    }
    for (const auto &task : tasks)
        ASSERT_TRUE(task->waitDone());
    EXPECT_EQ(runs, count);
}

TEST(TaskStress, TasksStartedFromInsideTasksAllRun)
{
    constexpr int width = 64;
    std::atomic<int> runs = 0;
    std::vector<std::shared_ptr<AsyncTaskIOS>> tasks;
    for (int i = 0; i < width; ++i) {
        tasks.push_back(std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
            const auto inner = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
                ++runs;
                return true;
            });
            inner->startTask();
            return inner->waitDone();
        }));
        tasks.back()->startTask();
    }
    for (const auto &task : tasks)
        EXPECT_TRUE(task->waitDone());
    EXPECT_EQ(runs, width);
}

TEST(TaskStress, ADelegateMayDropTheLastReferenceToItsTaskWhenItEnds)
{
    class Dropper : public IAsyncTaskDelegate {
    public:
        explicit Dropper(std::latch &hasDropped) : _hasDropped(hasDropped) {}
        void asyncTaskFinished(IAsyncTask &, IAsyncTask &) override
        {
            task.reset();
            _hasDropped.count_down();
        }
        std::shared_ptr<AsyncTaskIOS> task;

    private:
        std::latch &_hasDropped;
    };
    for (int round = 0; round < 200; ++round) {
        std::latch hasDropped(1);
        auto dropper = std::make_shared<Dropper>(hasDropped);
        auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) { return true; });
        task->setDelegate(dropper);
        auto &bare = *task;
        dropper->task = std::move(task);
        bare.startTask();
        hasDropped.wait();
    }
}

TEST(TaskStress, ListenersComeAndGoWhileATaskReports)
{
    const auto task = std::make_shared<AsyncTaskIOS>();
    std::atomic<bool> isOver = false;
    std::thread reporter([&] {
        for (int i = 0; i < 20000; ++i)
            task->onProgress(i % 100);
        isOver = true;
    });
    std::atomic<int> heard = 0;
    while (!isOver) {
        const auto block = task->addBaseAsyncTaskProgressChanged([&](BaseAsyncTask &, std::int32_t) { ++heard; });
        task->removeBaseAsyncTaskProgressChanged(block);
    }
    reporter.join();
}
