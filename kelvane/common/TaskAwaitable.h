// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>

#include <atomic>
#include <coroutine>

namespace kelvane {

/// Starts a task on the shared queue from a coroutine and suspends it until the task ends:
///
///     bool isSuccess = co_await startAndAwait(task);
///
/// True for success, false for a failure or a cancel; where an exception ended the work, it is thrown as an Exception.
/// The coroutine goes on on the thread that runs the task, inside the notification of its end: waiters for the task
/// wake once it suspends again or returns. A task that was started before is not awaited: its present outcome is the
/// result. Await named tasks, as above: g++ 12 mixes up temporaries of several co_await expressions in one coroutine.
class TaskAwaitable {
public:
    explicit TaskAwaitable(std::shared_ptr<AsyncTaskIOS> task) : _task(std::move(task)) {}

    [[nodiscard]] bool await_ready() const { return !_task || _task->isStarted(); }
    void await_suspend(std::coroutine_handle<> waiting)
    {
        // The coroutine may go on, and this object be gone, before startTask() returns.
        const auto task = _task;
        const auto isResumed = std::make_shared<std::atomic<bool>>(false); // a task may tell of its end twice
        task->addBaseAsyncTaskCompleted([waiting, isResumed](BaseAsyncTask &, const Object &) {
            if (!isResumed->exchange(true))
                waiting.resume();
        });
        task->startTask();
    }
    bool await_resume() const
    {
        if (!_task)
            return false;
        if (const auto error = _task->error())
            throw *error;
        return _task->isSuccess();
    }

private:
    std::shared_ptr<AsyncTaskIOS> _task;
};

[[nodiscard]] inline TaskAwaitable startAndAwait(std::shared_ptr<AsyncTaskIOS> task)
{
    return TaskAwaitable(std::move(task));
}

} // namespace kelvane
