// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/AsyncTask.h>

#include <kelvane/common/detail/AtScopeEnd.h>
#include <kelvane/common/detail/DoneSignal.h>
#include <kelvane/common/detail/LiveTaskList.h>
#include <kelvane/common/detail/Notify.h>
#include <kelvane/foundation/detail/Numbers.h>
#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/OperationQueue.h>
#include <kelvane/platform/ZenLogger.h>

#include <mutex>

namespace kelvane {

AsyncTaskCallbackDelegate::~AsyncTaskCallbackDelegate() = default;

std::optional<bool> AsyncTaskCallbackDelegate::asyncTaskCallback(AsyncTask & /*task*/, const Object & /*userState*/)
{
    return std::nullopt;
}

void AsyncTaskCallbackDelegate::asyncTaskCancel(AsyncTask & /*task*/) {}

TaskResult::~TaskResult() = default;

AsyncTask::AsyncTask() = default;
AsyncTask::AsyncTask(String taskName) : _taskName(std::move(taskName)) {}
AsyncTask::~AsyncTask() = default;

// Neither the queue nor the list is ever destroyed: work may run while the process ends.

OperationQueue &AsyncTask::base_op()
{
    static auto *const queue = new OperationQueue(OperationQueue::unlimited);
    return *queue;
}

detail::LiveTaskList &AsyncTask::s_baseTaskArray()
{
    static auto *const tasks = new detail::LiveTaskList(0);
    return *tasks;
}

void AsyncTask::setTaskWorkCallbackBlock(WorkCallback work)
{
    _workCallback.set(std::move(work));
}

void AsyncTask::setTaskFinishCallbackBlock(FinishCallback finish)
{
    _finishCallback.set(std::move(finish));
}

void AsyncTask::startTask()
{
    startTask(synchronous());
}

void AsyncTask::startTask(bool synchronous)
{
    setSynchronous(synchronous);
    if (synchronous)
        start();
    else
        addTaskOperation(sharedFrom(this));
}

void AsyncTask::addTaskOperation(const std::shared_ptr<AsyncTask> &task)
{
    s_baseTaskArray().append(task);
    try {
        base_op().addOperation(task);
    } catch (...) {
        s_baseTaskArray().remove(task.get()); // it will never run, so nobody will wait for it
        throw;
    }
}

void AsyncTask::main()
{
    bool isSuccess = false;
    setProgress(0);
    try {
        if (const WorkCallback work = _workCallback.get())
            isSuccess = work(*this, userState());
        if (const auto worker = taskCallbackDelegate())
            isSuccess = worker->asyncTaskCallback(*this, userState()).value_or(isSuccess);
        fireCompletedEvent();
    } catch (const std::exception &thrown) {
        // Intended: no signal is raised, and a success that the block has returned stands if only the delegate threw.
        ZenLogger::defaultLogger().ZenLogInfo(String("ERROR: ") + Exception::from(thrown)->description());
        _isSucceed.set(false);
    } catch (...) {
        doComplete(isSuccess);
        throw;
    }
    doComplete(isSuccess);
}

void AsyncTask::cancel()
{
    if (!isCompleted() && !isCancelled())
        if (const auto worker = taskCallbackDelegate())
            detail::notify("asyncTaskCancel:", [&] { worker->asyncTaskCancel(*this); });
    Operation::cancel();
}

void AsyncTask::doComplete(bool isSucceed)
{
    _isSucceed.set(isSucceed);
    complete();
}

void AsyncTask::DoComplete(bool isSucceed, String errorText)
{
    _isSucceed.set(isSucceed);
    setErrorText(std::move(errorText));
    complete();
}

void AsyncTask::complete()
{
    _isCompleted.set(true);
}

void AsyncTask::setProgress(double progress)
{
    _progress.set(progress);
    if (const auto listener = delegate())
        detail::notify("asyncTask:progressChanged:",
            [&] { listener->asyncTaskProgressChanged(*this, detail::saturate<std::int32_t>(progress)); });
}

bool AsyncTask::waitDone()
{
    return waitDone(-1);
}

bool AsyncTask::waitDone(std::int32_t timeoutMs)
{
    const auto self = weak_from_this().lock(); // the list may hold the last other reference
    bool isDone = isFinished();
    {
        const detail::AtScopeEnd forget([this] { s_baseTaskArray().remove(this); });
        if (!isDone) {
            createCondition();
            isDone = detail::waitForSignal(*_conditionLock, timeoutMs);
        }
    }
    if (auto &logger = ZenLogger::defaultLogger(); logger.isDebugEnabled()) {
        const String left = s_baseTaskArray().text();
        logger.ZenLogDebug(String("s_baseTaskArray:") + (left.isNull() ? String("()") : left));
    }
    return isDone;
}

std::shared_ptr<ConditionLock> AsyncTask::conditionLock()
{
    const std::lock_guard guard(_monitor);
    return _conditionLock;
}

void AsyncTask::createCondition()
{
    const std::lock_guard guard(_monitor);
    // A signal raised before anybody waited counts: between it and isFinished() a waiter would miss the end.
    if (!_conditionLock)
        _conditionLock = std::make_shared<ConditionLock>(_isSignalled ? 1 : 0);
}

void AsyncTask::fireCompletedEvent()
{
    const std::lock_guard guard(_monitor);
    _isSignalled = true;
    if (_conditionLock && !detail::raiseSignal(*_conditionLock))
        ZenLogger::defaultLogger().ZenLogError("unexpected fireCompleteEvent");
}

} // namespace kelvane
