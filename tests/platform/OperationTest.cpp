// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Operation.h>

#include <gtest/gtest.h>

#include <latch>
#include <stdexcept>
#include <thread>

using kelvane::Operation;

namespace {

// Tasks are made by the hundred thousand.
static_assert(sizeof(Operation) <= 32);

class Counting : public Operation {
public:
    int runs = 0;
    void main() override { ++runs; }
    std::shared_ptr<Counting> shared() { return sharedFrom(this); }
};

} // namespace

TEST(Operation, StartRunsMainOnTheCallingThread)
{
    struct Probe : Operation {
        std::thread::id thread;
        bool wasExecuting = false;
        void main() override
        {
            thread = std::this_thread::get_id();
            wasExecuting = isExecuting() && !isFinished();
        }
    } operation;
    EXPECT_FALSE(operation.isExecuting());
    EXPECT_FALSE(operation.isFinished());
    operation.start();
    EXPECT_EQ(operation.thread, std::this_thread::get_id());
    EXPECT_TRUE(operation.wasExecuting);
    EXPECT_FALSE(operation.isExecuting());
    EXPECT_TRUE(operation.isFinished());
}

TEST(Operation, DoesNothingAndFinishesWithoutAMainOfItsOwn)
{
    Operation operation;
    operation.start();
    EXPECT_TRUE(operation.isFinished());
}

TEST(Operation, CancelledBeforeTheStartFinishesWithoutMain)
{
    Counting operation;
    EXPECT_FALSE(operation.isCancelled());
    operation.cancel();
    EXPECT_TRUE(operation.isCancelled());
    operation.start();
    EXPECT_EQ(operation.runs, 0);
    EXPECT_TRUE(operation.isFinished());
}

TEST(Operation, CancelWhileItRunsDoesNotStopMain)
{
    struct Cancelling : Operation {
        bool seen = false;
        void main() override
        {
            cancel();
            seen = isCancelled();
        }
    } operation;
    operation.start();
    EXPECT_TRUE(operation.seen);
    EXPECT_TRUE(operation.isFinished());
}

TEST(Operation, StartLooksAtItsOwnRequestAndNotAtAnOverriddenAnswer)
{
    struct SaysCancelled : Counting {
        bool isCancelled() const override { return true; }
    } says;
    says.start();
    EXPECT_EQ(says.runs, 1);

    struct SaysNothing : Counting {
        bool isCancelled() const override { return false; }
    } silent;
    silent.cancel();
    silent.start();
    EXPECT_EQ(silent.runs, 0);
}

TEST(Operation, AFinishedOneRunsAgain)
{
    Counting operation;
    operation.start();
    operation.start();
    EXPECT_EQ(operation.runs, 2);
    EXPECT_TRUE(operation.isFinished());
}

TEST(Operation, StartWithinMainDoesNothing)
{
    struct Restarting : Operation {
        int runs = 0;
        void main() override
        {
            if (++runs < 10)
                start();
        }
    } operation;
    operation.start();
    EXPECT_EQ(operation.runs, 1);
}

TEST(Operation, StartFromAnotherThreadWhileItRunsDoesNothing)
{
    struct Blocking : Operation {
        std::latch running{1}, end{1};
        int runs = 0;
        void main() override
        {
            ++runs;
            running.count_down();
            end.wait();
        }
    } operation;
    std::thread first([&] { operation.start(); });
    operation.running.wait();
    operation.start();
    EXPECT_TRUE(operation.isExecuting());
    operation.end.count_down();
    first.join();
    EXPECT_EQ(operation.runs, 1);
}

TEST(Operation, AnExceptionOfAnyKindLeavesItFinishedAndIsPassedOn)
{
    struct Throwing : Operation {
        bool standard = true;
        void main() override
        {
            if (standard)
                throw std::runtime_error("no");
            throw 7;
        }
    } operation;
    EXPECT_THROW(operation.start(), std::runtime_error);
    EXPECT_TRUE(operation.isFinished());
    operation.standard = false;
    EXPECT_THROW(operation.start(), int);
    EXPECT_TRUE(operation.isFinished());
    EXPECT_FALSE(operation.isExecuting());
}

TEST(Operation, MayBeDestroyedByWhoeverSeesItFinished)
{
    for (int i = 0; i < 200; ++i) {
        auto operation = std::make_shared<Counting>();
        std::thread starter([raw = operation.get()] { raw->start(); });
        while (!operation->isFinished())
            std::this_thread::yield();
        EXPECT_EQ(operation->runs, 1); // what main() did is visible, without further synchronisation
        operation.reset();
        starter.join();
    }
}

TEST(Operation, SharesItselfUnderTheTypeOfASubclass)
{
    auto operation = std::make_shared<Counting>();
    EXPECT_EQ(operation->shared(), operation);
    EXPECT_EQ(operation.use_count(), 1);
    Counting onTheStack;
    EXPECT_EQ(onTheStack.shared(), nullptr);
}
