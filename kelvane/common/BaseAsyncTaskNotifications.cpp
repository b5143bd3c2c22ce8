// SPDX-License-Identifier: Apache-2.0

// The listeners of a task and who is told of what, in which order.
#include <kelvane/common/BaseAsyncTask.h>

#include <kelvane/common/detail/Notify.h>

#include <algorithm>
#include <mutex>

namespace kelvane {

using detail::notify;

void BaseAsyncTask::addBaseAsyncDelegate(const std::shared_ptr<IAsyncTaskDelegate> &delegate)
{
    _delegateChain.add(delegate);
}

void BaseAsyncTask::removeBaseAsyncDelegate(const std::shared_ptr<IAsyncTaskDelegate> &delegate)
{
    _delegateChain.remove(delegate);
}

void BaseAsyncTask::setDelegate(std::shared_ptr<IAsyncTaskDelegate> delegate)
{
    addBaseAsyncDelegate(delegate);
}

std::shared_ptr<IAsyncTaskDelegate> BaseAsyncTask::delegate() const
{
    return _delegateChain.last();
}

BaseAsyncTask::ProgressChangedBlock BaseAsyncTask::addBaseAsyncTaskProgressChanged(ProgressChangedBlock block)
{
    _progressChangedChain.add(block);
    return block;
}

BaseAsyncTask::CancelBlock BaseAsyncTask::addBaseAsyncTaskCancel(CancelBlock block)
{
    _cancelChain.add(block);
    return block;
}

BaseAsyncTask::CompletedBlock BaseAsyncTask::addBaseAsyncTaskCompleted(CompletedBlock block)
{
    _taskCompletedChain.add(block);
    return block;
}

BaseAsyncTask::WaitingBlock BaseAsyncTask::addBaseAsyncTaskWaiting(WaitingBlock block)
{
    _taskWaitingChain.add(block);
    return block;
}

void BaseAsyncTask::removeBaseAsyncTaskProgressChanged(const ProgressChangedBlock &block)
{
    _progressChangedChain.remove(block);
}

void BaseAsyncTask::removeBaseAsyncTaskCancel(const CancelBlock &block)
{
    _cancelChain.remove(block);
}

void BaseAsyncTask::removeBaseAsyncTaskCompleted(const CompletedBlock &block)
{
    _taskCompletedChain.remove(block);
}

void BaseAsyncTask::removeBaseAsyncTaskWaiting(const WaitingBlock &block)
{
    _taskWaitingChain.remove(block);
}

void BaseAsyncTask::addCompleteEvent(const std::shared_ptr<IAsyncTaskDelegate> &callback, Object userState)
{
    if (!callback)
        return;
    {
        const std::lock_guard guard(syncRoot());
        if (!findCompletedCallback(callback))
            _completedCallbacks.push_back({callback, userState});
    }
    if (!isCompleted())
        return;
    Object remembered = AsyncResult::userState();
    AsyncResult::setUserState(std::move(userState));
    notify("asyncTask:finished:", [&] { callback->asyncTaskFinished(*this, *this); });
    AsyncResult::setUserState(std::move(remembered));
}

void BaseAsyncTask::removeCompletedCallback(const std::shared_ptr<IAsyncTaskDelegate> &callback)
{
    CompletedCallback removed; // destroyed after the lock is gone
    const std::lock_guard guard(syncRoot());
    const auto entry = std::find_if(_completedCallbacks.begin(), _completedCallbacks.end(),
        [&](const CompletedCallback &other) { return other.callback == callback; });
    if (entry == _completedCallbacks.end())
        return;
    removed = std::move(*entry);
    _completedCallbacks.erase(entry);
}

bool BaseAsyncTask::findCompletedCallback(const std::shared_ptr<IAsyncTaskDelegate> &callback) const
{
    const std::lock_guard guard(const_cast<BaseAsyncTask *>(this)->syncRoot());
    return std::any_of(_completedCallbacks.begin(), _completedCallbacks.end(),
        [&](const CompletedCallback &entry) { return entry.callback == callback; });
}

void BaseAsyncTask::fireCompletedCallbacks()
{
    std::vector<CompletedCallback> snapshot;
    {
        const std::lock_guard guard(syncRoot());
        snapshot = _completedCallbacks;
    }
    Object remembered = AsyncResult::userState();
    for (const auto &entry : snapshot) {
        AsyncResult::setUserState(entry.userState);
        notify("asyncTask:finished:", [&] { entry.callback->asyncTaskFinished(*this, *this); });
    }
    AsyncResult::setUserState(std::move(remembered));
}

void BaseAsyncTask::onTaskCompleted()
{
    _delegateChain.forEach([this](const auto &delegate) {
        notify("asyncTask:finished:", [&] { delegate->asyncTaskFinished(*this, *this); });
    });
    _taskCompletedChain.forEach([this](const CompletedBlock &block) {
        notify("a completion block", [&] { block(*this, AsyncResult::userState()); });
    });
}

void BaseAsyncTask::onProgressChanged()
{
    _delegateChain.forEach([this](const auto &delegate) {
        notify("asyncTask:progressChanged:", [&] { delegate->asyncTaskProgressChanged(*this, lastPercent()); });
        notify("asyncTask:lenghtChanged:", [&] { delegate->asyncTaskLenghtChanged(*this, lastLenght()); });
    });
    _progressChangedChain.forEach([this](const ProgressChangedBlock &block) {
        notify("a progress block", [&] { block(*this, lastPercent()); });
    });
}

void BaseAsyncTask::onStepChanged(const std::shared_ptr<IAsyncTaskStepEvent> &event)
{
    if (!event)
        return;
    const auto last = _lastStepEvent.get();
    const auto isSame = event->isSameStep(last.get());
    if (isSame.has_value() && !*isSame) {
        _delegateChain.forEach([&](const auto &delegate) {
            notify("asyncTask:stepEvent:", [&] { delegate->asyncTaskStepEvent(*this, event); });
        });
        const auto remembered = event->withoutTask();
        _lastStepEvent.set(remembered ? remembered : event);
    }
    if (event->cancel())
        cancel();
}

void BaseAsyncTask::onBaseAsyncTaskCancel()
{
    _delegateChain.forEach(
        [this](const auto &delegate) { notify("asyncTaskCancel:", [&] { delegate->asyncTaskCancel(*this); }); });
    // Intended: the progress chain, not the cancel chain.
    _progressChangedChain.forEach([this](const ProgressChangedBlock &block) {
        notify("a progress block", [&] { block(*this, lastPercent()); });
    });
}

void BaseAsyncTask::onStartWait()
{
    _delegateChain.forEach(
        [this](const auto &delegate) { notify("asyncTaskWaiting:", [&] { delegate->asyncTaskWaiting(*this); }); });
    _taskWaitingChain.forEach([this](const WaitingBlock &block) { notify("a waiting block", [&] { block(*this); }); });
}

void BaseAsyncTask::onWaiting()
{
    onStartWait();
}

void BaseAsyncTask::onCanceling()
{
    onBaseAsyncTaskCancel();
}

void BaseAsyncTask::onCompleted()
{
    onTaskCompleted();
    fireCompletedCallbacks();
}

void BaseAsyncTask::onProgress(std::int32_t percent)
{
    _lastPercent.set(percent);
    onProgressChanged();
}

} // namespace kelvane
