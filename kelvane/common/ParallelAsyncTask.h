// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/IMultiAsyncTask.h>

namespace kelvane {

/// A group of tasks that its owner started: waiting for the group waits for all of them, or for the first.
///
/// It starts nothing itself. Its outcome is decided by the call of waitDone() that sees the children ready; each such
/// call completes it, and tells its listeners, again.
///
/// Threads: any thread, any operation; waitDone() blocks its caller in looks every 100 ms (see waitAll()).
/// Ownership: keeps the children, and cancels them when it is disposed of or destroyed. Keeps neither the
/// distinguished child nor the winner alive.
class KELVANE_EXPORT ParallelAsyncTask : public AsyncTaskIOS, public IMultiAsyncTask {
public:
    /// @selector initwithTasks:ParallelResult:oneTask:completedHandler:userState:
    /// `parallelResult` 0 waits for all children, and succeeds if all did. 1 waits for the first child, and succeeds if
    /// that succeeded and is `oneTask`; any other number, if it succeeded and is not `oneTask`. Without a `oneTask` the
    /// winner's own success decides.
    ParallelAsyncTask(Tasks tasks, std::uint64_t parallelResult, const std::shared_ptr<IAsyncTask> &oneTask,
        std::shared_ptr<IAsyncTaskDelegate> completedHandler = {}, Object userState = {});
    ~ParallelAsyncTask() override;

    /// The children; none after disposeTask().
    [[nodiscard]] Tasks tasks() const override;

    using AsyncTaskIOS::waitDone;
    /// Waits as the mode says and completes this task with what it saw. A time-out that expires changes nothing, but
    /// for exactly -1 ms in the modes that wait for the first: that completes this task as failed.
    bool waitDone(std::int32_t timeoutMs) override;
    /// The winner's result if there is one and this task succeeded, else this task's result code.
    [[nodiscard]] Value taskResult() const override;
    /// Cancels the children and lets them go.
    void disposeTask() override;

private:
    void waitForAll(std::int32_t timeoutMs);
    void waitForFirst(std::int32_t timeoutMs);

    detail::AtomicProperty<std::shared_ptr<const Tasks>> _tasks;
    const std::uint64_t _parallelResult;
    const bool _hasOneTask;
    const std::weak_ptr<IAsyncTask> _oneTask;
    detail::AtomicProperty<std::weak_ptr<IAsyncTask>> _resultTask;
};

} // namespace kelvane
