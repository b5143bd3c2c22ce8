// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>

#include <atomic>
#include <future>

namespace kelvane {

/// Starts `task` on the shared queue and gives its outcome as a future: true for success, false for a failure or a
/// cancel. Where an exception ended the work, get() throws it as an Exception.
///
/// The future is ready when the task tells its listeners of its end. A task that was started before gives a future
/// that is not valid(): its end may have passed already.
[[nodiscard]] inline std::future<bool> startAsFuture(const std::shared_ptr<AsyncTaskIOS> &task)
{
    if (!task || task->isStarted())
        return {};
    struct Shared {
        std::promise<bool> promise;
        std::atomic<bool> isKept = false; // a task may tell of its end twice
    };
    const auto shared = std::make_shared<Shared>();
    auto future = shared->promise.get_future();
    task->addBaseAsyncTaskCompleted([shared](BaseAsyncTask &ended, const Object &) {
        if (shared->isKept.exchange(true))
            return;
        if (const auto error = ended.error())
            shared->promise.set_exception(std::make_exception_ptr(*error));
        else
            shared->promise.set_value(ended.isSuccess());
    });
    task->startTask();
    return future;
}

} // namespace kelvane
