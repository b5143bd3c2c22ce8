// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/MultiAsyncTask.h>

#include <kelvane/common/detail/AtScopeEnd.h>
#include <kelvane/common/detail/Notify.h>
#include <kelvane/foundation/detail/Numbers.h>
#include <kelvane/platform/ZenLogger.h>

#include <algorithm>

namespace kelvane {

MultiAsyncTask::MultiAsyncTask(std::shared_ptr<IAsyncTaskDelegate> completedHandler, Object userState)
    : AsyncTaskIOS(std::move(completedHandler), std::move(userState))
{
}

MultiAsyncTask::MultiAsyncTask(std::shared_ptr<IAsyncTaskDelegate> completedHandler,
    const std::shared_ptr<SyncCompletedDelegate> &allCompleted,
    const std::shared_ptr<SyncItemCompletedDelegate> &itemCompleted, Object userState)
    : AsyncTaskIOS(std::move(completedHandler), std::move(userState)),
      _allCompleteDelegate(allCompleted),
      _itemCompletedDelegate(itemCompleted)
{
}

MultiAsyncTask::~MultiAsyncTask() = default;

void MultiAsyncTask::addTask(std::shared_ptr<AsyncTaskIOS> task)
{
    if (!task)
        return;
    const std::lock_guard guard(_mutex);
    _tasks.push_back(std::move(task));
}

std::vector<std::shared_ptr<IAsyncTask>> MultiAsyncTask::tasks() const
{
    const std::lock_guard guard(_mutex);
    return {_tasks.begin(), _tasks.end()};
}

bool MultiAsyncTask::onWork()
{
    {
        const std::lock_guard guard(_mutex);
        _taskCount = detail::saturate<std::int32_t>(_tasks.size());
        _procCount = 0;
    }
    while (const auto child = firstTask()) {
        const detail::AtScopeEnd processed([this] { childIsProcessed(); });
        try {
            runChild(*child);
        } catch (const std::exception &thrown) {
            // Intended: logged, and the outcome stays as it was.
            ZenLogger::defaultLogger().ZenLogError(
                String("MultiAsync Task Execute Error: ") + Exception::from(thrown)->description());
        }
    }
    return isSuccess();
}

std::shared_ptr<AsyncTaskIOS> MultiAsyncTask::firstTask() const
{
    const std::lock_guard guard(_mutex);
    return _tasks.empty() ? nullptr : _tasks.front();
}

void MultiAsyncTask::runChild(AsyncTaskIOS &child)
{
    const std::weak_ptr<MultiAsyncTask> self = sharedFrom(this);
    child.addBaseAsyncTaskProgressChanged([self](BaseAsyncTask &, std::int32_t percent) {
        if (const auto alive = self.lock())
            alive->onTaskProgressChanged(percent);
    });
    child.addBaseAsyncTaskCompleted([self](BaseAsyncTask &ended, const Object &userState) {
        const std::shared_ptr<Operation> owner = ended.shared_from_this();
        if (const auto alive = self.lock())
            alive->syncItemDidCompleted(std::shared_ptr<SyncCompletedNotification>(owner, &ended), userState);
    });
    child.start(true, isSuccess(), isCancelled(), errorCode(), errorText(), error());
    if (!child.isSuccess()) {
        // Intended: code and text, but not the exception.
        setIsSuccess(false);
        setErrorCode(child.errorCode());
        setErrorText(child.errorText());
    }
}

void MultiAsyncTask::childIsProcessed()
{
    std::shared_ptr<AsyncTaskIOS> processed; // destroyed after the lock is gone
    const std::lock_guard guard(_mutex);
    processed = std::move(_tasks.front());
    _tasks.pop_front();
    ++_procCount;
    _taskCount = std::max(_taskCount.load(), _procCount.load());
}

void MultiAsyncTask::onTaskProgressChanged(std::int32_t percent)
{
    const std::int64_t count = _taskCount;
    if (count == 0)
        return; // no run, nothing to be a part of
    onProgress(detail::saturate<std::int32_t>((_procCount * std::int64_t{100} + std::min(percent, 100)) / count));
}

void MultiAsyncTask::syncItemDidCompleted(
    const std::shared_ptr<SyncCompletedNotification> &notification, const Object & /*userState*/)
{
    if (const auto listener = _itemCompletedDelegate.lock())
        detail::notify(
            "syncItemDidCompleted:notification:", [&] { listener->syncItemDidCompleted(*this, notification); });
}

void MultiAsyncTask::onCompleted()
{
    if (const auto listener = _allCompleteDelegate.lock()) {
        const std::shared_ptr<SyncCompletedNotification> notification = sharedFrom(this);
        detail::notify("syncDidCompleted:notification:", [&] { listener->syncDidCompleted(*this, notification); });
    }
    AsyncTaskIOS::onCompleted();
}

} // namespace kelvane
