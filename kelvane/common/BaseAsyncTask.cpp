// SPDX-License-Identifier: Apache-2.0

// The outcome of a task, its end, and the ways to wait for it. Who is told of what: BaseAsyncTaskNotifications.cpp.
#include <kelvane/common/BaseAsyncTask.h>

#include <kelvane/common/detail/AtScopeEnd.h>
#include <kelvane/common/detail/DoneSignal.h>
#include <kelvane/common/detail/LiveTaskList.h>
#include <kelvane/platform/ZenLogger.h>

#include <limits>
#include <mutex>

namespace kelvane {

BaseAsyncTask::BaseAsyncTask() = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value, as all that is kept
BaseAsyncTask::BaseAsyncTask(std::shared_ptr<IAsyncTaskDelegate> delegate, Object userState)
{
    addBaseAsyncDelegate(delegate);
    AsyncResult::setUserState(std::move(userState));
}

BaseAsyncTask::~BaseAsyncTask() = default;

detail::LiveTaskList &BaseAsyncTask::s_iosTaskArray()
{
    static auto *const tasks = new detail::LiveTaskList(100); // never destroyed: tasks may outlive static objects
    return *tasks;
}

void BaseAsyncTask::doComplete(bool isSuccess)
{
    setIsSuccess(isSuccess);
    onComplete();
}

void BaseAsyncTask::doComplete(bool isSuccess, std::shared_ptr<const Exception> exception)
{
    setIsSuccess(isSuccess);
    if (exception)
        setErrorText(exception->name());
    setError(std::move(exception));
    onComplete();
}

void BaseAsyncTask::fireCompleted(bool isSuccess)
{
    doComplete(isSuccess);
}

void BaseAsyncTask::fireCompletedException(std::shared_ptr<const Exception> exception)
{
    doComplete(false, std::move(exception));
}

void BaseAsyncTask::onComplete()
{
    {
        const std::lock_guard guard(syncRoot());
        if (!isCompleted() && !isCancelled())
            setIsCompleted(true);
    }
    // The signal is raised whatever an overridden onCompleted() throws: waiters must not pay for it.
    const detail::AtScopeEnd raiseSignal([this] { fireCompletedEvent(); });
    onCompleted();
}

void BaseAsyncTask::cancel()
{
    {
        // In one step with the completion's own test, so that a task never is both completed and cancelled.
        const std::lock_guard guard(syncRoot());
        if (isCompleted() || _isCancelled.exchange(true))
            return;
    }
    setIsSuccess(false);
    onCanceling();
    if (synchronous() || taskState() == AsyncTaskStateIdle)
        onComplete();
}

void BaseAsyncTask::sleep(std::int32_t milliseconds)
{
    constexpr std::int32_t slice = 500;
    if (milliseconds <= slice) {
        waitDoneInternal(milliseconds);
        return;
    }
    while (!isCancelled() && !isCompleted())
        waitDoneInternal(slice);
}

bool BaseAsyncTask::waitDone()
{
    return waitDone(std::numeric_limits<std::int32_t>::max());
}

bool BaseAsyncTask::waitDone(std::int32_t timeoutMs)
{
    onWaiting();
    return waitDoneInternal(timeoutMs);
}

Value BaseAsyncTask::waitResult(std::int32_t timeoutMs)
{
    return waitDone(timeoutMs) ? Value(result()) : Value();
}

bool BaseAsyncTask::waitDoneInternal(std::int32_t timeoutMs)
{
    const auto self = weak_from_this().lock(); // a listener may drop the last other reference meanwhile
    std::shared_ptr<ConditionLock> signal;
    {
        const std::lock_guard guard(syncRoot());
        if (!isCompleted() && !isCancelled())
            signal = waitCondition();
    }
    if (signal)
        (void)detail::waitForSignal(*signal, timeoutMs); // the outcome is returned, not whether the time was up
    const bool outcome = isSuccessCompleted();
    s_iosTaskArray().remove(this);
    if (auto &logger = ZenLogger::defaultLogger(); logger.isDebugEnabled())
        if (const String left = s_iosTaskArray().text(); !left.isNull())
            logger.ZenLogDebug(String("s_iosTaskArray:") + left);
    return outcome;
}

void BaseAsyncTask::setResult(std::uint64_t result)
{
    switch (result) {
    case AsyncTaskResultSuccess:
        setIsSuccess(true);
        break;
    case AsyncTaskResultFailed:
    case AsyncTaskResultError:
        setIsSuccess(false);
        break;
    case AsyncTaskResultCancelled:
        setIsCancelled(true);
        setIsSuccess(false);
        break;
    default:
        break;
    }
}

std::uint64_t BaseAsyncTask::result() const
{
    if (_iosResult.get() == AsyncTaskResultIOSUpload)
        return AsyncTaskResultIOSUpload;
    if (isSuccess())
        return AsyncTaskResultSuccess;
    return isCancelled() ? AsyncTaskResultCancelled : AsyncTaskResultFailed;
}

void BaseAsyncTask::setIOSUploadResult(std::uint64_t result)
{
    _iosResult.set(result);
}

bool BaseAsyncTask::isSuccessCompleted() const
{
    return isCompleted() && isSuccess();
}

Value BaseAsyncTask::taskResult() const
{
    return isSuccess();
}

bool BaseAsyncTask::canContinue() const
{
    return !isCancelled() && !isCompleted();
}

void BaseAsyncTask::disposeTask() {}

} // namespace kelvane
