// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncResult.h>
#include <kelvane/common/AsyncTaskResultCode.h>
#include <kelvane/common/AsyncTaskState.h>
#include <kelvane/common/detail/ListenerChain.h>
#include <kelvane/common/IAsyncTask2.h>
#include <kelvane/common/IAsyncTaskDelegate.h>
#include <kelvane/common/IAsyncTaskStepEvent.h>
#include <kelvane/common/SyncCompletedNotification.h>
#include <kelvane/foundation/Block.h>

#include <vector>

namespace kelvane {

namespace detail {
class LiveTaskList;
}

/// The core of a long-running job: its outcome, its progress and steps, its listeners, and the ways to wait for it.
/// It runs no work itself: AsyncTaskIOS does, and the kinds built on it.
///
/// Threads: any thread, any operation. Listeners are told on the thread that reports, completes, cancels or waits. A
/// listener added or removed while the task runs takes part from the next notification on.
/// Ownership: made with std::make_shared; keeps its delegates, blocks, callbacks and objects alive.
/// Errors: the outcome is carried by isSuccess, isCancelled, errorCode, errorText and error; no wait or completion
/// throws. What a listener throws is logged as an error, and the other listeners and the waiters notice nothing.
///
/// Order of notifications: progress (delegates, then blocks), steps (delegates), then once the task ends the
/// delegates' asyncTaskFinished, the completion blocks, the completion callbacks; then waiters wake.
class KELVANE_EXPORT BaseAsyncTask : public AsyncResult, public IAsyncTask2, public SyncCompletedNotification {
public:
    using ProgressChangedBlock = Block<void(BaseAsyncTask &task, std::int32_t percent)>;
    using CompletedBlock = Block<void(BaseAsyncTask &task, const Object &userState)>;
    using CancelBlock = Block<void(BaseAsyncTask &task)>;
    using WaitingBlock = Block<void(BaseAsyncTask &task)>;

    BaseAsyncTask();
    /// @selector initWithCompleted:UserState:
    explicit BaseAsyncTask(std::shared_ptr<IAsyncTaskDelegate> delegate, Object userState = {});
    ~BaseAsyncTask() override;

    // Listeners ------------------------------------------------------------------------------------------------------

    /// Appends a delegate unless it is null or present already.
    void addBaseAsyncDelegate(const std::shared_ptr<IAsyncTaskDelegate> &delegate);
    void removeBaseAsyncDelegate(const std::shared_ptr<IAsyncTaskDelegate> &delegate);
    /// Intended: adds, never replaces. Applications set a delegate of their own beside the one the task was made with.
    void setDelegate(std::shared_ptr<IAsyncTaskDelegate> delegate) override;
    [[nodiscard]] std::shared_ptr<IAsyncTaskDelegate> delegate() const override;

    /// Each of these appends a block unless it is null or present already and returns it: the handle to remove it by.
    ProgressChangedBlock addBaseAsyncTaskProgressChanged(ProgressChangedBlock block);
    /// Intended: kept, but never called. The news of a cancel goes to the progress blocks, where views wait for it.
    CancelBlock addBaseAsyncTaskCancel(CancelBlock block);
    CompletedBlock addBaseAsyncTaskCompleted(CompletedBlock block);
    WaitingBlock addBaseAsyncTaskWaiting(WaitingBlock block);
    void removeBaseAsyncTaskProgressChanged(const ProgressChangedBlock &block);
    void removeBaseAsyncTaskCancel(const CancelBlock &block);
    void removeBaseAsyncTaskCompleted(const CompletedBlock &block);
    void removeBaseAsyncTaskWaiting(const WaitingBlock &block);

    /// @selector addCompleteEvent:userState:
    /// Registers a callback, once, that is sent asyncTaskFinished() when the task ends and sees `userState` as the
    /// task's userState meanwhile. If the task has completed already it is told at once, also when it was registered
    /// before.
    void addCompleteEvent(const std::shared_ptr<IAsyncTaskDelegate> &callback, Object userState = {});
    void removeCompletedCallback(const std::shared_ptr<IAsyncTaskDelegate> &callback);
    [[nodiscard]] bool findCompletedCallback(const std::shared_ptr<IAsyncTaskDelegate> &callback) const;
    /// Tells the callbacks registered at this moment, each under its own user state.
    void fireCompletedCallbacks();

    // Ending, cancelling, waiting ------------------------------------------------------------------------------------

    /// Stores the outcome and ends the task.
    void doComplete(bool isSuccess);
    /// @selector doComplete:errorException:
    /// The same; the exception (null included) becomes `error`, its name `errorText`.
    void doComplete(bool isSuccess, std::shared_ptr<const Exception> exception);
    void fireCompleted(bool isSuccess);
    void fireCompletedException(std::shared_ptr<const Exception> exception);
    /// The one way in which a task ends: marks it completed unless it was cancelled, tells the listeners, raises the
    /// done signal. Intended: tells them again on each call; a task cancelled at work ends twice, and callers rely
    /// on hearing of both.
    void onComplete();

    /// Marks the task cancelled and tells the listeners. Ends it at once if it is synchronous or was never started; a
    /// started asynchronous task is ended by its worker. Nothing happens if it completed or was cancelled before.
    void cancel() override;
    /// Waits for the end of the task in slices. Intended: above 500 ms the total is not looked at, the wait ends with
    /// the task only; callers use it as "sleep until there is news of the task". No waiting notice is sent.
    void sleep(std::int32_t milliseconds);
    bool waitDone() override;
    /// Blocks until the task ends or the time is up. The outcome is returned: a task that still runs gives false, as a
    /// failed or cancelled one does. A cancelled task is not waited for.
    bool waitDone(std::int32_t timeoutMs) override;
    Value waitResult(std::int32_t timeoutMs) override;

    // Outcome --------------------------------------------------------------------------------------------------------

    /// 1 sets success, 2 and 3 clear it, 4 records a cancel, anything else changes nothing.
    void setResult(std::uint64_t result) override;
    /// 5 if that override is stored; else 1 success, 4 cancelled, 2 failed, tested in this order.
    [[nodiscard]] std::uint64_t result() const override;
    /// Stores the override; only 5 has an effect.
    void setIOSUploadResult(std::uint64_t result);
    [[nodiscard]] bool isSuccessCompleted() const;
    /// isSuccess as a value.
    [[nodiscard]] Value taskResult() const override;
    /// Neither cancelled nor completed: work asks this to know whether to go on.
    [[nodiscard]] bool canContinue() const;

    [[nodiscard]] bool isCompleted() const override { return AsyncResult::isCompleted(); }
    [[nodiscard]] bool isCancelled() const override { return _isCancelled.get(); }
    [[nodiscard]] bool isSuccess() const { return _isSuccess.get(); }
    void setIsSuccess(bool isSuccess) { _isSuccess.set(isSuccess); }
    [[nodiscard]] std::int32_t errorCode() const override { return _errorCode.get(); }
    void setErrorCode(std::int32_t errorCode) override { _errorCode.set(errorCode); }
    [[nodiscard]] String errorText() const override { return _errorText.get(); }
    void setErrorText(String errorText) override { _errorText.set(std::move(errorText)); }
    [[nodiscard]] std::shared_ptr<const Exception> error() const override { return _exceptionError.get(); }
    void setError(std::shared_ptr<const Exception> error) { _exceptionError.set(std::move(error)); }

    /// The caller's context.
    [[nodiscard]] Object userState() const override { return AsyncResult::userState(); }
    void setUserState(Object userState) override { AsyncResult::setUserState(std::move(userState)); }
    /// What the task works on.
    [[nodiscard]] Object syncObject() const override { return _syncObject.get(); }
    void setSyncObject(Object syncObject) override { _syncObject.set(std::move(syncObject)); }
    /// What the work produced.
    [[nodiscard]] Object userResult() const { return _userResult.get(); }
    void setUserResult(Object userResult) { _userResult.set(std::move(userResult)); }
    /// The progress reported last: usually 0 to 100.
    [[nodiscard]] std::int32_t lastPercent() const { return _lastPercent.get(); }
    [[nodiscard]] std::int32_t progressPercentage() const override { return lastPercent(); }
    /// Stores a percentage without telling anybody.
    void setProgressPercentage(std::int32_t percent) override { _lastPercent.set(percent); }
    /// A length that goes out with each progress report; its unit is the task's own.
    [[nodiscard]] std::int32_t lastLenght() const { return _lastLenght.get(); }
    void setLastLenght(std::int32_t lenght) { _lastLenght.set(lenght); }
    [[nodiscard]] AsyncTaskState taskState() const { return _taskState.get(); }

    // Notifications and hooks: called by the core, overridden by kinds of tasks ----------------------------------------

    /// Tells delegates and completion blocks that the task ended.
    virtual void onTaskCompleted();
    /// Tells delegates (percentage, then length) and progress blocks of lastPercent.
    virtual void onProgressChanged();
    /// Tells the delegates of a step that differs from the last one. Cancels the task if a delegate set the event's
    /// `cancel`, or if it was set on an event that reached nobody.
    virtual void onStepChanged(const std::shared_ptr<IAsyncTaskStepEvent> &event);
    /// Tells the delegates of a cancel, then the progress blocks, with the percentage reported last.
    virtual void onBaseAsyncTaskCancel();
    /// Tells delegates and waiting blocks that somebody begins to wait.
    virtual void onStartWait();

    virtual void onWaiting();
    virtual void onCanceling();
    virtual void onCompleted();
    /// Stores the percentage as it is and tells the listeners: no clamping, no skipping of repeated values.
    virtual void onProgress(std::int32_t percent);
    /// Gives up what the task holds. Nothing here.
    virtual void disposeTask();

protected:
    void setTaskState(AsyncTaskState state) { _taskState.set(state); }
    /// Sets `desired` if the state is `expected`; whether it was.
    bool replaceTaskState(AsyncTaskState expected, AsyncTaskState desired)
    {
        return _taskState.replace(expected, desired);
    }
    void setIsCancelled(bool isCancelled) { _isCancelled.set(isCancelled); }
    /// Waits without telling anybody; see waitDone(). @selector waitDoneInternal:
    bool waitDoneInternal(std::int32_t timeoutMs);
    /// The list of live tasks of this class, for kinds that want a task kept until it has been waited for. The core
    /// takes a task out after each wait and never puts one in.
    static detail::LiveTaskList &s_iosTaskArray();

private:
    struct CompletedCallback {
        std::shared_ptr<IAsyncTaskDelegate> callback;
        Object userState;
    };

    detail::AtomicValue<bool> _isCancelled;
    detail::AtomicValue<bool> _isSuccess{true};
    detail::AtomicValue<std::int32_t> _lastPercent;
    detail::AtomicValue<std::int32_t> _lastLenght;
    detail::AtomicValue<std::int32_t> _errorCode;
    detail::AtomicValue<std::uint64_t> _iosResult;
    detail::AtomicValue<AsyncTaskState> _taskState{AsyncTaskStateIdle};
    detail::AtomicProperty<String> _errorText;
    detail::AtomicProperty<std::shared_ptr<const Exception>> _exceptionError;
    detail::AtomicProperty<Object> _syncObject;
    detail::AtomicProperty<Object> _userResult;
    detail::AtomicProperty<std::shared_ptr<IAsyncTaskStepEvent>> _lastStepEvent;
    detail::ListenerChain<std::shared_ptr<IAsyncTaskDelegate>> _delegateChain;
    detail::ListenerChain<ProgressChangedBlock> _progressChangedChain;
    detail::ListenerChain<CancelBlock> _cancelChain;
    detail::ListenerChain<CompletedBlock> _taskCompletedChain;
    detail::ListenerChain<WaitingBlock> _taskWaitingChain;
    std::vector<CompletedCallback> _completedCallbacks; // guarded by syncRoot()
};

} // namespace kelvane
