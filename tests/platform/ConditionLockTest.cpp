// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ConditionLock.h>

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

using kelvane::ConditionLock;
using Clock = std::chrono::steady_clock;
using std::chrono::hours;
using std::chrono::milliseconds;

TEST(ConditionLock, StartsFreeWithItsCondition)
{
    ConditionLock lock(7);
    EXPECT_EQ(lock.condition(), 7);
    EXPECT_TRUE(lock.tryLock());
}

TEST(ConditionLock, AHeldLockIsNotHadByTrying)
{
    ConditionLock lock(0);
    lock.lock();
    EXPECT_FALSE(lock.tryLock());
    EXPECT_FALSE(lock.tryLockWhenCondition(0));
    lock.unlock();
    EXPECT_EQ(lock.condition(), 0);
    EXPECT_TRUE(lock.tryLockWhenCondition(0));
}

TEST(ConditionLock, TryingForAnotherConditionFails)
{
    ConditionLock lock(0);
    EXPECT_FALSE(lock.tryLockWhenCondition(1));
    EXPECT_TRUE(lock.tryLockWhenCondition(0));
    lock.unlockWithCondition(1);
    EXPECT_EQ(lock.condition(), 1);
    EXPECT_TRUE(lock.tryLockWhenCondition(1));
}

TEST(ConditionLock, ADeadlineInThePastTakesWhatCanBeHadAtOnce)
{
    ConditionLock lock(1);
    EXPECT_TRUE(lock.lockWhenCondition(1, Clock::now() - milliseconds(1)));
    lock.unlock();
    EXPECT_FALSE(lock.lockWhenCondition(0, Clock::now() - milliseconds(1)));
    EXPECT_FALSE(lock.lockWhenCondition(0, Clock::time_point::min()));
}

TEST(ConditionLock, WaitsUpToTheDeadlineAndNotLess)
{
    ConditionLock lock(0);
    const auto deadline = Clock::now() + milliseconds(30);
    EXPECT_FALSE(lock.lockWhenCondition(1, deadline));
    EXPECT_GE(Clock::now(), deadline);
    EXPECT_TRUE(lock.tryLock()); // a failed wait takes nothing
}

TEST(ConditionLock, TheRightConditionIsNotEnoughWhileAnotherHoldsTheLock)
{
    ConditionLock lock(1);
    lock.lock();
    EXPECT_FALSE(lock.lockWhenCondition(1, Clock::now() + milliseconds(10)));
    lock.unlock();
    EXPECT_TRUE(lock.lockWhenCondition(1, Clock::now() + milliseconds(10)));
}

TEST(ConditionLock, AWaiterIsWokenByTheConditionBeforeItsDeadline)
{
    ConditionLock lock(0);
    std::latch begun(1);
    std::thread signaller([&] {
        begun.wait();
        lock.lock();
        lock.unlockWithCondition(1);
    });
    begun.count_down();
    const auto start = Clock::now();
    EXPECT_TRUE(lock.lockWhenCondition(1, start + hours(24)));
    EXPECT_LT(Clock::now() - start, hours(1));
    signaller.join();
}

TEST(ConditionLock, TheLongestDeadlineOfATaskIsWaitedFor)
{
    ConditionLock lock(0);
    std::thread signaller([&] { lock.unlockWithCondition(1); });
    EXPECT_TRUE(lock.lockWhenCondition(1, Clock::now() + milliseconds(2147483647)));
    signaller.join();
}

TEST(ConditionLock, TheFarthestDeadlineIsWaitedFor)
{
    ConditionLock lock(0);
    std::thread signaller([&] { lock.unlockWithCondition(1); });
    EXPECT_TRUE(lock.lockWhenCondition(1, Clock::time_point::max()));
    signaller.join();
}

TEST(ConditionLock, AllOf64WaitersPassOneAfterTheOther)
{
    ConditionLock lock(0);
    constexpr int count = 64;
    std::latch begun(count);
    int inside = 0; // guarded by the lock under test
    int passed = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < count; ++i) {
        waiters.emplace_back([&, i] {
            begun.count_down();
            if (i % 2 == 0)
                lock.lockWhenCondition(1);
            else
                ASSERT_TRUE(lock.lockWhenCondition(1, Clock::now() + hours(1)));
            EXPECT_EQ(++inside, 1);
            ++passed;
            --inside;
            lock.unlockWithCondition(1);
        });
    }
    begun.wait();
    lock.lock();
    lock.unlockWithCondition(1);
    for (auto &waiter : waiters)
        waiter.join();
    EXPECT_EQ(passed, count);
}

TEST(ConditionLock, WaitersForDifferentConditionsAreEachWokenByTheirs)
{
    ConditionLock lock(0);
    std::vector<int> order; // guarded by the lock under test
    std::vector<std::thread> waiters;
    constexpr int last = 8;
    for (int condition = last; condition >= 1; --condition) {
        waiters.emplace_back([&, condition] {
            lock.lockWhenCondition(condition);
            order.push_back(condition);
            lock.unlockWithCondition(condition + 1);
        });
    }
    lock.lock();
    lock.unlockWithCondition(1);
    lock.lockWhenCondition(last + 1);
    lock.unlock();
    for (auto &waiter : waiters)
        waiter.join();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(ConditionLock, UnlockingWhatNobodyHoldsSetsTheConditionAndWakes)
{
    ConditionLock lock(0);
    std::thread waiter([&] {
        lock.lockWhenCondition(1);
        lock.unlockWithCondition(1);
    });
    lock.unlockWithCondition(1);
    waiter.join();
    EXPECT_EQ(lock.condition(), 1);
    lock.unlock();
    EXPECT_TRUE(lock.tryLock());
}

TEST(ConditionLock, UnlockingWhatAnotherThreadHoldsFreesIt)
{
    ConditionLock lock(0);
    std::thread([&] { lock.lock(); }).join();
    EXPECT_FALSE(lock.tryLock());
    lock.unlockWithCondition(1);
    EXPECT_TRUE(lock.tryLockWhenCondition(1));
}

TEST(ConditionLock, ExcludesLikeALock)
{
    ConditionLock lock(0);
    int sum = 0; // guarded by the lock under test
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 2000; ++k) {
                lock.lock();
                ++sum;
                lock.unlock();
            }
        });
    }
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(sum, 8000);
}

TEST(ConditionLock, MayBeDestroyedByTheWaiterThatItLetPass)
{
    for (int i = 0; i < 200; ++i) {
        auto lock = std::make_unique<ConditionLock>(0);
        std::thread signaller([raw = lock.get()] { raw->unlockWithCondition(1); });
        lock->lockWhenCondition(1);
        lock->unlock();
        lock.reset();
        signaller.join();
    }
}
