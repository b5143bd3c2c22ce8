// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskCallbackDelegate.h>
#include <kelvane/common/IAsyncTask.h>
#include <kelvane/common/IAsyncTaskDelegate.h>
#include <kelvane/common/TaskResult.h>
#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/detail/AtomicProperty.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/ConditionLock.h>
#include <kelvane/platform/Monitor.h>
#include <kelvane/platform/Operation.h>

namespace kelvane {

namespace detail {
class LiveTaskList;
}
class OperationQueue;

/// The operation task: a second, lighter kind of task. Its work is a block, a callback delegate, or both; it runs at
/// once on the caller's thread (the default) or on one shared queue without a limit.
///
/// Threads: any thread, any operation.
/// Ownership: made with std::make_shared; keeps its blocks, delegates and objects. A queued task is kept alive until it
/// has been waited for, whatever that wait returns: wait for every task that you queue.
/// Errors: a failure is a false isSucceed. An exception object that the work throws is logged and is a failure; any
/// other kind is passed on once the task is complete. What the delegate throws is logged and goes no further.
class KELVANE_EXPORT AsyncTask : public Operation, public IAsyncTask {
public:
    using WorkCallback = Block<bool(AsyncTask &task, const Object &userState)>;
    using FinishCallback = Block<void(AsyncTask &task, const Object &userState)>;

    AsyncTask();
    /// @selector initWithTaskName:
    explicit AsyncTask(String taskName);
    ~AsyncTask() override;

    /// The work.
    void setTaskWorkCallbackBlock(WorkCallback work);
    /// A block that kinds of tasks call when their run ends, as AsyncExecuteProcessTask does. This class never does.
    void setTaskFinishCallbackBlock(FinishCallback finish);

    /// Starts as `synchronous` says.
    void startTask();
    /// @selector startTask:
    /// Sets `synchronous`, and runs the task on this thread or adds it to the shared queue.
    void startTask(bool synchronous);
    /// Keeps `task` and adds it to the shared queue.
    void addTaskOperation(const std::shared_ptr<AsyncTask> &task);
    /// Tells the callback delegate, unless the task has completed, and cancels the operation: one that has not started
    /// never runs its work. Running work goes on.
    void cancel() override;

    void doComplete(bool isSucceed);
    /// @selector DoComplete:Exception:
    void DoComplete(bool isSucceed, String errorText);
    void complete();

    /// Intended: -1 ms. Answers at once whether the task is finished or signalled.
    bool waitDone() override;
    /// True once the task is done; false when the time is up. Intended: a task whose work threw raises no signal, so
    /// that a wait begun before its end runs into the time-out; ask isFinished() then.
    bool waitDone(std::int32_t timeoutMs) override;
    void createCondition();
    /// Raises the done signal if somebody waits; forces it up, with an error line, if it cannot be had in a second.
    void fireCompletedEvent();

    void main() override;

    [[nodiscard]] String taskName() const { return _taskName.get(); }
    void setTaskName(String taskName) { _taskName.set(std::move(taskName)); }
    [[nodiscard]] Object userState() const { return _userState.get(); }
    void setUserState(Object userState) { _userState.set(std::move(userState)); }
    [[nodiscard]] std::shared_ptr<AsyncTaskCallbackDelegate> taskCallbackDelegate() const
    {
        return _taskCallbackDelegate.get();
    }
    void setTaskCallbackDelegate(std::shared_ptr<AsyncTaskCallbackDelegate> delegate)
    {
        _taskCallbackDelegate.set(std::move(delegate));
    }
    /// Hears of progress. Intended: setting it replaces the one before, other than for the step-driven tasks.
    [[nodiscard]] std::shared_ptr<IAsyncTaskDelegate> delegate() const override { return _delegate.get(); }
    void setDelegate(std::shared_ptr<IAsyncTaskDelegate> delegate) override { _delegate.set(std::move(delegate)); }
    [[nodiscard]] double progress() const { return _progress.get(); }
    /// Stores the progress and tells the delegate, cut to a whole number.
    void setProgress(double progress);
    [[nodiscard]] bool isCompleted() const override { return _isCompleted.get(); }
    /// Intended: always false. The operation's own cancel is another thing, which start() knows of.
    [[nodiscard]] bool isCancelled() const override { return false; }
    [[nodiscard]] bool isSucceed() const { return _isSucceed.get(); }
    [[nodiscard]] bool synchronous() const { return _synchronous.get(); }
    void setSynchronous(bool synchronous) { _synchronous.set(synchronous); }
    [[nodiscard]] String errorText() const { return _errorText.get(); }
    void setErrorText(String errorText) { _errorText.set(std::move(errorText)); }
    [[nodiscard]] std::shared_ptr<TaskResult> taskResult() const { return _taskResult.get(); }
    void setTaskResult(std::shared_ptr<TaskResult> result) { _taskResult.set(std::move(result)); }

protected:
    [[nodiscard]] FinishCallback finishCallback() const { return _finishCallback.get(); }
    /// The done signal, null as long as nobody has waited: a condition lock at 0 until it is raised, at 1 from then on.
    [[nodiscard]] std::shared_ptr<ConditionLock> conditionLock();

private:
    static OperationQueue &base_op();
    static detail::LiveTaskList &s_baseTaskArray();

    Monitor _monitor;
    std::shared_ptr<ConditionLock> _conditionLock; // guarded by _monitor
    bool _isSignalled = false; // guarded by _monitor
    detail::AtomicProperty<String> _taskName;
    detail::AtomicProperty<Object> _userState;
    detail::AtomicProperty<std::shared_ptr<AsyncTaskCallbackDelegate>> _taskCallbackDelegate;
    detail::AtomicProperty<WorkCallback> _workCallback;
    detail::AtomicProperty<FinishCallback> _finishCallback;
    detail::AtomicValue<double> _progress;
    detail::AtomicValue<bool> _isCompleted;
    detail::AtomicValue<bool> _isSucceed;
    detail::AtomicValue<bool> _synchronous{true};
    detail::AtomicProperty<String> _errorText;
    detail::AtomicProperty<std::shared_ptr<TaskResult>> _taskResult;
    detail::AtomicProperty<std::shared_ptr<IAsyncTaskDelegate>> _delegate;
};

} // namespace kelvane
