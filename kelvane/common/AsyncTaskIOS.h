// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/BaseAsyncTask.h>

#include <vector>

namespace kelvane {

/// A task that runs work: a block given to it, or a subclass's onWork(). Started asynchronously it runs on one shared
/// queue (100 tasks at once), started synchronously on the caller's thread. It turns steps into a percentage, runs
/// other tasks inside itself with their progress folded into its own, and waits for one, all or any of them.
///
/// Threads: any thread, any operation; step counts belong to the thread that runs the work.
/// Ownership: made with std::make_shared. The queue keeps the task alive until it has ended.
/// Errors: an exception object (anything derived from std::exception) that the work throws ends the task as failed,
/// with `error` set and `errorText` its description, and three error lines in the log. Anything else that is thrown is
/// passed on after the task has ended: to the caller of a synchronous start, or into one error line of the queue.
///
///     auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &running, const Object &) {
///         running.incStepCount(2);
///         …; running.incStep();
///         …; running.incStep();
///         return true;
///     });
///     task->startTask();
///     bool isSuccess = task->waitDone();
class KELVANE_EXPORT AsyncTaskIOS : public BaseAsyncTask {
public:
    /// The work: returns whether it succeeded. `workUserState` is what the task was started or made with.
    using WorkCallback = Block<bool(AsyncTaskIOS &task, const Object &workUserState)>;
    /// Called once the task ends, before the delegates.
    using AsyncTaskCallback = Block<void(AsyncTaskIOS &task)>;
    using Tasks = std::vector<std::shared_ptr<IAsyncTask>>;

    AsyncTaskIOS();
    /// @selector initWithUserState:
    explicit AsyncTaskIOS(Object userState);
    /// @selector initWithTaskCallback:completeUserState:
    explicit AsyncTaskIOS(AsyncTaskCallback completed, Object userState = {});
    /// @selector initWithCompleted:UserState:
    explicit AsyncTaskIOS(std::shared_ptr<IAsyncTaskDelegate> delegate, Object userState = {});
    /// @selector initWithWorkCallback:workUserState:
    explicit AsyncTaskIOS(WorkCallback work, Object workUserState = {});
    /// @selector initWithWorkCallback:workUserState:SyncCompletedDelegate:completeUserState:
    AsyncTaskIOS(
        WorkCallback work, Object workUserState, std::shared_ptr<IAsyncTaskDelegate> delegate, Object userState = {});
    /// @selector initWithWorkCallback:workUserState:asyncCallback:completeUserState:
    AsyncTaskIOS(WorkCallback work, Object workUserState, AsyncTaskCallback completed, Object userState = {});
    ~AsyncTaskIOS() override;

    void setAsyncTaskCallback(AsyncTaskCallback completed);
    void setAsyncTaskWorkCallback(WorkCallback work);

    // Starting -------------------------------------------------------------------------------------------------------

    using Operation::start;
    /// @selector start:workUserState:
    /// Runs the task on this thread and returns its outcome, or adds it to the shared queue and returns true at once.
    /// A task that was started before is waited for instead, and its outcome returned. Sets the step counts to 0:
    /// steps are declared inside the work.
    bool start(bool synchronous, Object workUserState);
    /// The same with the present workUserState.
    bool start(bool synchronous);
    /// @selector start:isSuccess:isCancelled:errorCode:errorText:exception:
    /// Starts a task whose outcome is given beforehand: a group hands its own failure on to the tasks that follow. Only
    /// a task that is not started takes it; false for any other.
    bool start(bool synchronous, bool isSuccess, bool isCancelled, std::int32_t errorCode, String errorText,
        std::shared_ptr<const Exception> exception);
    /// Starts on the shared queue.
    bool startTask();
    [[nodiscard]] bool isStarted() const;
    /// Makes the task startable again. Success, cancel, error and progress stay as they are, and so does a done signal
    /// that was raised: who waited before is not made to wait again.
    void reset();

    // Children -------------------------------------------------------------------------------------------------------

    /// @selector executeTask:workUserState:
    /// Runs `child` on this thread, with its progress as progress of the present step, its error fields copied here
    /// whatever its outcome, and a cancel of this task reaching it. The child gets `workUserState` only if this task
    /// has a workUserState of its own; else it keeps its own. Returns its outcome; false for null, or once this task
    /// is cancelled.
    bool executeTask(const std::shared_ptr<AsyncTaskIOS> &child, Object workUserState);
    /// The same with this task's workUserState.
    bool executeTask(const std::shared_ptr<AsyncTaskIOS> &child);
    bool executeIAsyncTask(const std::shared_ptr<IAsyncTask> &child);
    /// @selector executeIAsyncTask:workUserState:
    /// Runs a child that is not started, waits for one that is.
    bool executeIAsyncTask(const std::shared_ptr<IAsyncTask> &child, Object workUserState);

    /// @selector waitTaskDone:AsyncTasks:timeout:
    /// Waits for `task` while a cancel of this task reaches all of `tasks` (or just `task`, without any). Its progress
    /// becomes this task's if steps are declared; its error fields are copied if it completed. False for null, or once
    /// this task is cancelled.
    bool waitTaskDone(const std::shared_ptr<IAsyncTask> &task, const Tasks *tasks, std::int32_t timeoutMs);
    /// @selector waitTaskDone:timeout:
    /// The same for `task` alone. Intended: true for null, there is nothing to wait for.
    bool waitTaskDone(const std::shared_ptr<IAsyncTask> &task, std::int32_t timeoutMs);
    bool waitTaskDone(const std::shared_ptr<IAsyncTask> &task);
    /// @selector waitTaskDone:childrenTasks:
    /// Intended: does not wait. Its time-out is -1 ms, so that it answers at once, true for a child that has completed
    /// successfully; callers use it to ask, not to wait.
    bool waitTaskDone(const std::shared_ptr<IAsyncTask> &task, const Tasks &childrenTasks);

    /// @selector waitAll:timeout:
    /// Looks at all tasks every 100 ms, for `timeoutMs` cut to whole seconds (below 1000: one look). Intended: the
    /// number of completed tasks is summed up over the looks, so that the wait may end while some still run, and the
    /// sum is compared before a look, not after it. Applications use it as a bounded grace period.
    bool waitAll(const Tasks &tasks, std::int32_t timeoutMs);
    bool waitAll(const Tasks &tasks);
    /// @selector waitAny:timeout:
    /// Looks at all tasks in the same rhythm; the last completed one, in order, of the first look that finds any. Null
    /// when the time is up, for no tasks, or once this task is cancelled.
    std::shared_ptr<IAsyncTask> waitAny(const Tasks &tasks, std::int32_t timeoutMs);
    std::shared_ptr<IAsyncTask> waitAny(const Tasks &tasks);

    // Steps and progress ---------------------------------------------------------------------------------------------

    /// Reports `percent` (capped at 100, with no lower bound) of the present step; of the whole if there are no steps.
    void reportStepProgress(std::int32_t percent);
    /// @selector reportStepProgress:progress:
    /// The same; `source`, the task that reports, plays no part in the result.
    void reportStepProgress(IAsyncTask *source, std::int32_t percent);
    /// One step is done. Never moves the progress back.
    void incStep();
    /// Declares one more step, or `count` more.
    void incStepCount();
    void incStepCount(std::int32_t count);
    [[nodiscard]] std::int32_t stepCount() const { return _stepCount.get(); }
    void setStepCount(std::int32_t count) { _stepCount.set(count); }
    [[nodiscard]] std::int32_t stepIndex() const { return _stepIndex.get(); }

    /// Whether the task runs inside another one: then it reports neither 0 nor 100 percent by itself.
    [[nodiscard]] bool isSubTask() const { return _isSubTask.get(); }
    void setIsSubTask(bool isSubTask) { _isSubTask.set(isSubTask); }
    [[nodiscard]] Object workUserState() const { return _workUserState.get(); }
    void setWorkUserState(Object workUserState) { _workUserState.set(std::move(workUserState)); }
    /// The tasks that this one runs or waits for, null for none: the ones that its cancel reaches.
    [[nodiscard]] std::shared_ptr<const Tasks> childTaskArray() const { return _childTaskArray.get(); }
    void setChildTaskArray(std::shared_ptr<const Tasks> tasks) { _childTaskArray.set(std::move(tasks)); }

    // Hooks ----------------------------------------------------------------------------------------------------------

    /// The work. Runs on the queue's thread, or the caller's; not at all if the task is cancelled before. Its result is
    /// the task's success. By default the work block, or the present isSuccess without one.
    virtual bool onWork();
    void onCompleted() override;
    void onCanceling() override;
    /// Cancels the children first, then this task.
    void cancel() override;
    /// The whole run: what the queue or the synchronous start calls.
    void main() override;

private:
    static class OperationQueue &iosBase_op();
    ProgressChangedBlock forwardProgressOf(BaseAsyncTask &child);
    void copyErrorOf(const IAsyncTask2 &child);
    bool runWork();
    void noteWorkException(const std::exception &thrown);
    void finish(bool outcome);

    detail::AtomicProperty<AsyncTaskCallback> _asyncCompleted;
    detail::AtomicProperty<WorkCallback> _workCallback;
    detail::AtomicProperty<Object> _workUserState;
    detail::AtomicValue<std::int32_t> _stepCount;
    detail::AtomicValue<std::int32_t> _stepIndex;
    detail::AtomicValue<bool> _isSubTask;
    detail::AtomicProperty<std::shared_ptr<const Tasks>> _childTaskArray;
};

} // namespace kelvane
