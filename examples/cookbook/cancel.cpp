// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <chrono>
#include <cstdio>
#include <thread>

using namespace kelvane;

//! [recipe]
bool workForHours(AsyncTaskIOS &task, const Object &)
{
    for (int piece = 1; piece <= 1'000'000; ++piece) {
        if (!task.canContinue())
            return false; // somebody cancelled: leave everything tidy, and end
        task.reportStepProgress(piece / 10'000);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

int main()
{
    auto task = std::make_shared<AsyncTaskIOS>(&workForHours);
    const auto ended = startAsFuture(task);
    if (!task->waitDone(100))
        std::puts("it takes too long");

    task->cancel(); // what a Cancel button calls, from whatever thread: it only asks
    std::puts(task->waitDone() ? "?" : "cancelled: nobody waits for the task any more ...");
    ended.wait(); // ... unless it asks for the end of the work itself
    std::puts(task->taskState() >= AsyncTaskStateCompleting ? "the work has ended" : "?");
    std::puts(task->result() == AsyncTaskResultCancelled ? "result: cancelled" : "?");
}
//! [recipe]
