// SPDX-License-Identifier: Apache-2.0

// Starting, running and ending a task, its steps and its progress. Its children: AsyncTaskIOSChildren.cpp.
#include <kelvane/common/AsyncTaskIOS.h>

#include <kelvane/common/detail/AtScopeEnd.h>
#include <kelvane/common/detail/LiveTaskList.h>
#include <kelvane/common/detail/Notify.h>
#include <kelvane/foundation/detail/Numbers.h>
#include <kelvane/platform/OperationQueue.h>
#include <kelvane/platform/ZenLogger.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace kelvane {

namespace {

namespace started {
/// Intended: nothing creates this list, so that appending to it has no effect. Kinds of tasks that want to be kept
/// until they were waited for use the core's list of the same name, which is another one.
detail::LiveTaskList *s_iosTaskArray = nullptr;
} // namespace started

std::string joined(const std::vector<String> &lines)
{
    std::string text = "(";
    for (const auto &line : lines) {
        if (text.size() > 1)
            text += ", ";
        text += line.view();
    }
    return text += ")";
}

void logWorkException(const Exception &exception)
{
    auto &logger = ZenLogger::defaultLogger();
    std::vector<String> addresses;
    for (const void *address : exception.callStackReturnAddresses()) {
        char text[32];
        std::snprintf(text, sizeof text, "%p", address);
        addresses.emplace_back(text);
    }
    logger.ZenLogError(String("reason:") + exception.description());
    logger.ZenLogError(String("callStackReturnAddresses:") + String(joined(addresses)));
    logger.ZenLogError(String("callStackSymbols:") + String(joined(exception.callStackSymbols())));
}

} // namespace

AsyncTaskIOS::AsyncTaskIOS() = default;

AsyncTaskIOS::AsyncTaskIOS(Object userState)
{
    setUserState(std::move(userState));
}

AsyncTaskIOS::AsyncTaskIOS(AsyncTaskCallback completed, Object userState)
    : BaseAsyncTask(nullptr, std::move(userState)),
      _asyncCompleted(std::move(completed))
{
}

AsyncTaskIOS::AsyncTaskIOS(std::shared_ptr<IAsyncTaskDelegate> delegate, Object userState)
    : BaseAsyncTask(std::move(delegate), std::move(userState))
{
}

AsyncTaskIOS::AsyncTaskIOS(WorkCallback work, Object workUserState)
    : _workCallback(std::move(work)),
      _workUserState(std::move(workUserState))
{
}

AsyncTaskIOS::AsyncTaskIOS(
    WorkCallback work, Object workUserState, std::shared_ptr<IAsyncTaskDelegate> delegate, Object userState)
    : BaseAsyncTask(std::move(delegate), std::move(userState)),
      _workCallback(std::move(work)),
      _workUserState(std::move(workUserState))
{
}

AsyncTaskIOS::AsyncTaskIOS(WorkCallback work, Object workUserState, AsyncTaskCallback completed, Object userState)
    : BaseAsyncTask(nullptr, std::move(userState)),
      _asyncCompleted(std::move(completed)),
      _workCallback(std::move(work)),
      _workUserState(std::move(workUserState))
{
}

AsyncTaskIOS::~AsyncTaskIOS() = default;

OperationQueue &AsyncTaskIOS::iosBase_op()
{
    static auto *const queue = new OperationQueue(100); // never destroyed: work may run while the process ends
    return *queue;
}

void AsyncTaskIOS::setAsyncTaskCallback(AsyncTaskCallback completed)
{
    _asyncCompleted.set(std::move(completed));
}

void AsyncTaskIOS::setAsyncTaskWorkCallback(WorkCallback work)
{
    _workCallback.set(std::move(work));
}

bool AsyncTaskIOS::start(bool synchronous, Object workUserState)
{
    if (!replaceTaskState(AsyncTaskStateIdle, AsyncTaskStateQueued))
        return waitDone();
    setStepCount(0);
    _stepIndex.set(0);
    setSynchronous(synchronous);
    setWorkUserState(std::move(workUserState));
    if (synchronous) {
        if (isExecuting())
            waitDone();
        else
            Operation::start();
        return isSuccessCompleted();
    }
    const auto self = shared_from_this();
    if (started::s_iosTaskArray)
        started::s_iosTaskArray->append(self);
    try {
        iosBase_op().addOperation(self);
    } catch (...) {
        replaceTaskState(AsyncTaskStateQueued, AsyncTaskStateIdle); // it will never run: a later start() may
        throw;
    }
    return true;
}

bool AsyncTaskIOS::start(bool synchronous)
{
    return start(synchronous, workUserState());
}

bool AsyncTaskIOS::start(bool synchronous, bool isSuccess, bool isCancelled, std::int32_t errorCode, String errorText,
    std::shared_ptr<const Exception> exception)
{
    if (isStarted())
        return false;
    setIsSuccess(this->isSuccess() && isSuccess);
    setIsCancelled(isCancelled);
    if (!isSuccess) {
        setErrorCode(errorCode);
        setErrorText(std::move(errorText));
        setError(std::move(exception));
    }
    return start(synchronous);
}

bool AsyncTaskIOS::startTask()
{
    return start(false);
}

bool AsyncTaskIOS::isStarted() const
{
    return taskState() != AsyncTaskStateIdle;
}

void AsyncTaskIOS::reset()
{
    setTaskState(AsyncTaskStateIdle);
    setIsCompleted(false);
}

void AsyncTaskIOS::main()
{
    setTaskState(AsyncTaskStateWorking);
    if (!isCancelled() && lastPercent() == 0 && !isSubTask())
        onProgress(0);
    const bool provisional = isSuccess();
    bool outcome = provisional;
    try {
        outcome = runWork();
    } catch (...) {
        finish(provisional);
        throw;
    }
    if (outcome && lastPercent() < 100 && !isCancelled() && !isSubTask())
        onProgress(100);
    finish(outcome);
}

/// The outcome of the work, false where an exception object ended it. Other kinds of exceptions leave.
bool AsyncTaskIOS::runWork()
{
    if (isCancelled())
        return false;
    try {
        return onWork();
    } catch (const std::exception &thrown) {
        noteWorkException(thrown);
        return false;
    }
}

void AsyncTaskIOS::noteWorkException(const std::exception &thrown)
{
    try {
        auto exception = Exception::from(thrown);
        setErrorText(exception->description());
        setError(exception);
        logWorkException(*exception);
    } catch (const std::exception &) {
        // No memory to say why. The work has failed all the same.
    }
}

void AsyncTaskIOS::finish(bool outcome)
{
    setTaskState(AsyncTaskStateCompleting);
    const detail::AtScopeEnd markFinished([this] { setTaskState(AsyncTaskStateFinished); });
    doComplete(outcome);
}

bool AsyncTaskIOS::onWork()
{
    setTaskState(AsyncTaskStateWorking);
    const WorkCallback work = _workCallback.get();
    return work ? work(*this, workUserState()) : isSuccess();
}

void AsyncTaskIOS::onCompleted()
{
    setTaskState(AsyncTaskStateCompleting);
    if (const AsyncTaskCallback completed = _asyncCompleted.get())
        detail::notify("the completion block", [&] { completed(*this); });
    BaseAsyncTask::onCompleted();
}

void AsyncTaskIOS::onCanceling()
{
    BaseAsyncTask::onCanceling();
    if (taskState() == AsyncTaskStateIdle && !synchronous())
        onComplete();
}

void AsyncTaskIOS::cancel()
{
    if (const auto children = _childTaskArray.get(); children && !children->empty()) {
        for (const auto &child : *children)
            if (child)
                child->cancel();
        setChildTaskArray(nullptr);
    }
    BaseAsyncTask::cancel();
}

void AsyncTaskIOS::reportStepProgress(std::int32_t percent)
{
    reportStepProgress(nullptr, percent);
}

void AsyncTaskIOS::reportStepProgress(IAsyncTask * /*source*/, std::int32_t percent)
{
    const std::int64_t part = std::min(percent, 100);
    const std::int64_t steps = stepCount();
    const std::int64_t whole = steps >= 1 ? std::min<std::int64_t>((stepIndex() * 100LL + part) / steps, 100) : part;
    onProgress(static_cast<std::int32_t>(whole));
}

void AsyncTaskIOS::incStep()
{
    const std::int32_t steps = stepCount();
    const std::int32_t done = stepIndex();
    if (done >= steps)
        return;
    _stepIndex.set(done + 1);
    const std::int64_t whole = std::min<std::int64_t>((done + 1LL) * 100 / steps, 100);
    if (whole > lastPercent())
        onProgress(static_cast<std::int32_t>(whole));
}

void AsyncTaskIOS::incStepCount()
{
    incStepCount(1);
}

void AsyncTaskIOS::incStepCount(std::int32_t count)
{
    setStepCount(detail::saturate<std::int32_t>(std::int64_t{stepCount()} + count));
}

} // namespace kelvane
