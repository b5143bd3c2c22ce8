// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTask.h>
#include <kelvane/foundation/Export.h>

#include <cstdint>
#include <memory>

namespace kelvane {

class IAsyncTaskStepEvent;

/// Listens to a task. Override what you want to hear.
///
/// Threads: every message comes on the thread that runs the task (the caller's for a synchronous start, a queue's
/// otherwise), or on the thread that cancels or waits for it. Nothing switches threads for the application.
/// Ownership: tasks keep their delegates alive; `task` is valid for the length of the call.
/// Errors: what a delegate throws is logged and goes no further; the other listeners are told all the same.
class KELVANE_EXPORT IAsyncTaskDelegate {
public:
    virtual ~IAsyncTaskDelegate();

    /// @selector asyncTask:finished:
    /// The task ended; `sender` is the task again. Comes before the completion blocks and before waiters wake. May come
    /// twice for a synchronous task that is cancelled while it works: once from the cancel, once from its end.
    virtual void asyncTaskFinished(IAsyncTask &task, IAsyncTask &sender);
    /// @selector asyncTask:progressChanged:
    virtual void asyncTaskProgressChanged(IAsyncTask &task, std::int32_t percent);
    /// @selector asyncTask:lenghtChanged:
    /// Right after asyncTaskProgressChanged(), with the task's `lastLenght`.
    virtual void asyncTaskLenghtChanged(IAsyncTask &task, std::int64_t lenght);
    /// @selector asyncTask:stepEvent:
    /// The task entered another step than its last one. Setting the event's `cancel` cancels the task.
    virtual void asyncTaskStepEvent(IAsyncTask &task, const std::shared_ptr<IAsyncTaskStepEvent> &event);
    /// @selector asyncTaskCancel:
    virtual void asyncTaskCancel(IAsyncTask &task);
    /// @selector asyncTaskWaiting:
    /// Somebody begins to wait for the task.
    virtual void asyncTaskWaiting(IAsyncTask &task);
};

} // namespace kelvane
