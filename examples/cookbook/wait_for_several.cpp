// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <chrono>
#include <cstdio>
#include <thread>

using namespace kelvane;

//! [recipe]
std::shared_ptr<AsyncTaskIOS> started(int milliseconds)
{
    auto task = std::make_shared<AsyncTaskIOS>([=](AsyncTaskIOS &running, const Object &) {
        for (int passed = 0; passed < milliseconds && running.canContinue(); ++passed)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return true;
    });
    task->startTask(); // the group waits, it starts nothing
    return task;
}

int main()
{
    const AsyncTaskIOS::Tasks three = {started(10), started(20), started(30)};
    auto all = std::make_shared<ParallelAsyncTask>(three, 0, nullptr);
    std::puts(all->waitDone() ? "all three succeeded" : "one of them failed");

    auto quick = started(1);
    auto slow = started(1'000'000);
    auto first = std::make_shared<ParallelAsyncTask>(AsyncTaskIOS::Tasks{slow, quick}, 1, quick);
    std::puts(first->waitDone() ? "the quick one came first" : "the other one came first");
    first->disposeTask(); // cancels the one that still runs
    std::puts(slow->isCancelled() ? "the slow one is cancelled" : "?");
}
//! [recipe]
