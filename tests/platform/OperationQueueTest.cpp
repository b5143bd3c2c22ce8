// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/OperationQueue.h>

#include "ThreadCount.h"

#include <kelvane/foundation/Exception.h>
#include <tests/support/LogCapture.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::ElementsAre;

namespace {

constexpr const char *threadName = "kelvane-ops";

class Work : public Operation {
public:
    explicit Work(std::function<void()> body) : _body(std::move(body)) {}
    void main() override { _body(); }

private:
    const std::function<void()> _body;
};

std::shared_ptr<Work> work(std::function<void()> body)
{
    return std::make_shared<Work>(std::move(body));
}

/// Counts how many are inside at once.
class Concurrency {
public:
    void enter()
    {
        const int now = _inside.fetch_add(1) + 1;
        int most = _most.load();
        while (now > most && !_most.compare_exchange_weak(most, now)) {}
    }
    void leave() { _inside.fetch_sub(1); }
    int most() const { return _most.load(); }

private:
    std::atomic<int> _inside{0}, _most{0};
};

} // namespace

TEST(OperationQueue, RunsWhatIsAddedAndLetsItGo)
{
    OperationQueue queue(100);
    std::atomic<int> runs{0};
    auto operation = work([&] { ++runs; });
    const std::weak_ptr<Operation> watched = operation;
    queue.addOperation(std::move(operation));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(OperationQueue, KeepsAnOperationAliveWhileItWaits)
{
    OperationQueue queue(1);
    std::latch gate(1);
    queue.addOperation(work([&] { gate.wait(); }));
    auto waiting = work([] {});
    const std::weak_ptr<Operation> watched = waiting;
    queue.addOperation(std::move(waiting));
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(queue.operationCount(), 2);
    gate.count_down();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(watched.expired());
}

TEST(OperationQueue, IgnoresNull)
{
    OperationQueue queue(1);
    queue.addOperation(nullptr);
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(OperationQueue, WaitingForAnEmptyQueueReturnsAtOnce)
{
    OperationQueue queue(1);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(queue.operationCount(), 0);
}

TEST(OperationQueue, WithLimit1RunsInTheOrderOfAdding)
{
    OperationQueue queue(1);
    std::vector<int> order; // written by one operation at a time
    for (int i = 0; i < 5000; ++i)
        queue.addOperation(work([&order, i] { order.push_back(i); }));
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(order.size(), 5000U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(OperationQueue, ALimitBelow1CountsAs1)
{
    OperationQueue queue(0);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 1);
    queue.setMaxConcurrentOperationCount(-5);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 1);
    std::atomic<bool> ran{false};
    queue.addOperation(work([&] { ran = true; }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(ran);
}

TEST(OperationQueue, HundredBlockedOnesRunAtOnceAndTheNextStartsWhenOneEnds)
{
    OperationQueue queue(100);
    std::latch allRun(100), oneEnds(1), othersEnd(1), nextRuns(1);
    std::atomic<bool> hasOneEnded{false};
    bool startedAfterTheEnd = false;
    for (int i = 0; i < 100; ++i) {
        queue.addOperation(work([&, i] {
            allRun.count_down();
            (i == 42 ? oneEnds : othersEnd).wait();
            if (i == 42)
                hasOneEnded = true;
        }));
    }
    queue.addOperation(work([&] {
        startedAfterTheEnd = hasOneEnded;
        nextRuns.count_down();
    }));
    allRun.wait();
    EXPECT_EQ(queue.operationCount(), 101);
    EXPECT_FALSE(nextRuns.try_wait());
    oneEnds.count_down();
    nextRuns.wait();
    EXPECT_TRUE(startedAfterTheEnd);
    othersEnd.count_down();
    queue.waitUntilAllOperationsAreFinished();
}

TEST(OperationQueue, NeverRunsMoreThanTheLimitAtOnce)
{
    OperationQueue queue(7);
    Concurrency concurrency;
    std::latch sevenRun(7);
    for (int i = 0; i < 500; ++i) {
        queue.addOperation(work([&, i] {
            concurrency.enter();
            if (i < 7)
                sevenRun.arrive_and_wait();
            std::this_thread::yield();
            concurrency.leave();
        }));
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(concurrency.most(), 7);
}

TEST(OperationQueue, OneWithoutALimitRunsAllAtOnce)
{
    OperationQueue queue(OperationQueue::unlimited);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 0x7fffffffffffffff);
    std::latch allRun(300);
    for (int i = 0; i < 300; ++i)
        queue.addOperation(work([&] { allRun.arrive_and_wait(); }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(allRun.try_wait());
}

TEST(OperationQueue, OperationsThatWaitForLaterOnesDoNotLockUp)
{
    OperationQueue queue(100);
    constexpr int depth = 99;
    std::atomic<int> ended{0};
    std::function<void(int)> nest = [&](int level) {
        if (level < depth) {
            std::latch inner(1);
            queue.addOperation(work([&] {
                nest(level + 1);
                inner.count_down();
            }));
            inner.wait();
        }
        ++ended;
    };
    queue.addOperation(work([&] { nest(1); }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ended, depth);
}

TEST(OperationQueue, ABlockedOneAmongShortOnesHoldsNobodyUp)
{
    OperationQueue queue(2);
    std::latch lastRuns(1);
    queue.addOperation(work([&] { lastRuns.wait(); })); // waits for the end of all that follow
    for (int i = 0; i < 20000; ++i)
        queue.addOperation(std::make_shared<Operation>());
    queue.addOperation(work([&] { lastRuns.count_down(); }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(lastRuns.try_wait());
}

TEST(OperationQueue, ABlockInTheMiddleOfAFloodIsSteppedAround)
{
    OperationQueue queue(100);
    std::atomic<int> runs{0};
    std::latch lastRuns(1);
    constexpr int count = 50000;
    for (int i = 0; i < count; ++i) {
        if (i % 1000 == 500) // 50 of them block until the end is reached
            queue.addOperation(work([&] { lastRuns.wait(); }));
        else
            queue.addOperation(work([&] { ++runs; }));
    }
    queue.addOperation(work([&] { lastRuns.count_down(); }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, count - 50);
}

TEST(OperationQueue, ARaisedLimitTakesEffectWhileTheOldOneIsUsedUp)
{
    OperationQueue queue(1);
    std::latch secondRuns(1);
    queue.addOperation(work([&] { secondRuns.wait(); }));
    queue.addOperation(work([&] { secondRuns.count_down(); }));
    queue.setMaxConcurrentOperationCount(2);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 2);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(secondRuns.try_wait());
}

TEST(OperationQueue, ALoweredLimitHoldsAsSoonAsTheRunningOnesHaveEnded)
{
    OperationQueue queue(4);
    std::latch fourRun(4), fourEnd(1);
    for (int i = 0; i < 4; ++i) {
        queue.addOperation(work([&] {
            fourRun.count_down();
            fourEnd.wait();
        }));
    }
    fourRun.wait();
    queue.setMaxConcurrentOperationCount(1);
    Concurrency concurrency;
    for (int i = 0; i < 200; ++i) {
        queue.addOperation(work([&] {
            concurrency.enter();
            std::this_thread::yield();
            concurrency.leave();
        }));
    }
    fourEnd.count_down();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(concurrency.most(), 1);
}

TEST(OperationQueue, AFinishedOperationMayBeAddedAgain)
{
    OperationQueue queue(1);
    std::atomic<int> runs{0};
    const auto operation = work([&] { ++runs; });
    queue.addOperation(operation);
    queue.waitUntilAllOperationsAreFinished();
    queue.addOperation(operation);
    queue.addOperation(operation); // and may wait twice
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, 3);
}

TEST(OperationQueue, OneCancelledBeforeItsTurnFinishesWithoutRunning)
{
    OperationQueue queue(1);
    std::latch gate(1);
    queue.addOperation(work([&] { gate.wait(); }));
    std::atomic<bool> ran{false};
    const auto operation = work([&] { ran = true; });
    queue.addOperation(operation);
    operation->cancel();
    gate.count_down();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(operation->isFinished());
    EXPECT_FALSE(ran);
}

TEST(OperationQueue, WhatAnOperationThrowsEndsInOneErrorLine)
{
    const LogCapture log;
    OperationQueue queue(1);
    const auto throwsStandard = work([] { throw std::runtime_error("disk gone"); });
    const auto throwsOwn = work([] { throw Exception("UnplugException", "cable pulled"); });
    const auto throwsOther = work([] { throw 7; });
    std::atomic<bool> ranAfter{false};
    queue.addOperation(throwsStandard);
    queue.addOperation(throwsOwn);
    queue.addOperation(throwsOther);
    queue.addOperation(work([&] { ranAfter = true; }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_THAT(log.errorLines(),
        ElementsAre("uncaught exception on a queue thread: std::runtime_error: disk gone",
            "uncaught exception on a queue thread: UnplugException: cable pulled",
            "uncaught exception of unknown type on a queue thread"));
    EXPECT_TRUE(throwsStandard->isFinished() && throwsOwn->isFinished() && throwsOther->isFinished());
    EXPECT_TRUE(ranAfter);
}

TEST(OperationQueue, TheDestructorWaitsForItsOperations)
{
    std::atomic<int> runs{0};
    {
        OperationQueue queue(3);
        for (int i = 0; i < 1000; ++i)
            queue.addOperation(work([&] { ++runs; }));
    }
    EXPECT_EQ(runs, 1000);
}

TEST(OperationQueue, HasNoThreadBeforeTheFirstOperation)
{
    ASSERT_TRUE(waitUntilNoThreadIsNamed(threadName));
    OperationQueue queue(100);
    EXPECT_EQ(threadsNamed(threadName), 0);
    queue.addOperation(work([] { EXPECT_GE(threadsNamed(threadName), 1); }));
    queue.waitUntilAllOperationsAreFinished();
}

TEST(OperationQueue, ThreadsWithoutWorkGoAway)
{
    ASSERT_TRUE(waitUntilNoThreadIsNamed(threadName));
    OperationQueue queue(100);
    std::latch allRun(100);
    for (int i = 0; i < 100; ++i)
        queue.addOperation(work([&] { allRun.arrive_and_wait(); }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_GE(threadsNamed(threadName), 90); // they stay for a while, to be used again
    EXPECT_TRUE(waitUntilNoThreadIsNamed(threadName));

    std::atomic<bool> ran{false};
    queue.addOperation(work([&] { ran = true; })); // and come back
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(ran);
}

TEST(OperationQueue, ThreadsOfADestroyedQueueGoAway)
{
    {
        OperationQueue queue(10);
        std::latch allRun(10);
        for (int i = 0; i < 10; ++i)
            queue.addOperation(work([&] { allRun.arrive_and_wait(); }));
    }
    EXPECT_TRUE(waitUntilNoThreadIsNamed(threadName));
}

TEST(OperationQueue, AFloodOfShortOperationsIsWorkedOffByFewThreads)
{
    // The best of many, because threads are made while the system keeps those that there are from running.
    constexpr int few = 60;
    int fewest = 1000;
    for (int round = 0; round < 20 && fewest > few; ++round) {
        ASSERT_TRUE(waitUntilNoThreadIsNamed(threadName));
        OperationQueue queue(100);
        for (int i = 0; i < 100000; ++i)
            queue.addOperation(std::make_shared<Operation>());
        queue.waitUntilAllOperationsAreFinished();
        fewest = std::min(fewest, threadsNamed(threadName));
    }
    EXPECT_LE(fewest, few);
}

TEST(OperationQueue, ManyAddersLoseNothingAndKeepTheirOrder)
{
    OperationQueue queue(1);
    constexpr int adderCount = 8;
    constexpr int each = 2000;
    std::vector<std::vector<int>> order(adderCount);
    std::latch start(adderCount);
    std::vector<std::thread> adders;
    for (int adder = 0; adder < adderCount; ++adder) {
        adders.emplace_back([&, adder] {
            start.arrive_and_wait();
            for (int i = 0; i < each; ++i)
                queue.addOperation(work([&, adder, i] { order[static_cast<std::size_t>(adder)].push_back(i); }));
        });
    }
    for (auto &adder : adders)
        adder.join();
    queue.waitUntilAllOperationsAreFinished();
    for (const auto &own : order) {
        EXPECT_EQ(own.size(), std::size_t{each});
        EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
    }
}

TEST(OperationQueue, SingleOperationsWithPausesOfAllLengthsAreAllServed)
{
    // Walks the moments at which a thread goes from looking to sleeping.
    OperationQueue queue(4);
    std::atomic<int> runs{0};
    for (int i = 0; i < 3000; ++i) {
        queue.addOperation(work([&] { ++runs; }));
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(i % 60);
        while (std::chrono::steady_clock::now() < end) {}
        if (i % 3 == 0)
            queue.waitUntilAllOperationsAreFinished();
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, 3000);
}

TEST(OperationQueue, SeveralMayWaitForItsEnd)
{
    OperationQueue queue(2);
    std::latch gate(1), allWait(4);
    std::atomic<bool> ended{false};
    queue.addOperation(work([&] {
        gate.wait();
        ended = true;
    }));
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] {
            allWait.count_down();
            queue.waitUntilAllOperationsAreFinished();
            EXPECT_TRUE(ended);
        });
    }
    allWait.wait();
    gate.count_down();
    for (auto &waiter : waiters)
        waiter.join();
}

#if defined(__GLIBC__)
#include <pthread.h>

namespace {

/// As long as it lives the system makes no thread, because each would get a stack larger than the address space.
class NoNewThreads {
public:
    NoNewThreads()
    {
        pthread_getattr_default_np(&_usual);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 50U);
        EXPECT_EQ(pthread_setattr_default_np(&huge), 0);
        pthread_attr_destroy(&huge);
    }
    ~NoNewThreads()
    {
        pthread_setattr_default_np(&_usual);
        pthread_attr_destroy(&_usual);
    }

private:
    pthread_attr_t _usual{};
};

} // namespace

TEST(OperationQueue, WithoutAnyThreadToBeHadTheAddingThreadRunsTheOperation)
{
    OperationQueue queue(100);
    std::thread::id ranOn;
    {
        const NoNewThreads none;
        queue.addOperation(work([&] { ranOn = std::this_thread::get_id(); }));
        EXPECT_EQ(ranOn, std::this_thread::get_id());
        EXPECT_EQ(queue.operationCount(), 0);
    }
    queue.addOperation(work([&] { ranOn = std::this_thread::get_id(); }));
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST(OperationQueue, WithoutFurtherThreadsOperationsWaitForTheOnesThatThereAre)
{
    OperationQueue queue(100);
    std::latch running(1), gate(1);
    std::thread::id firstThread;
    queue.addOperation(work([&] {
        firstThread = std::this_thread::get_id();
        running.count_down();
        gate.wait();
    }));
    running.wait();
    const NoNewThreads none;
    std::atomic<int> runs{0};
    for (int i = 0; i < 100; ++i)
        queue.addOperation(work([&] { ++runs; }));
    gate.count_down();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(runs, 100);
}
#endif
