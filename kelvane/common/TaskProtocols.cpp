// SPDX-License-Identifier: Apache-2.0

// The empty default bodies of the listener interfaces: "not overridden" means "does not want to hear of it".
#include <kelvane/common/IAsyncTaskDelegate.h>
#include <kelvane/common/IAsyncTaskStepEvent.h>
#include <kelvane/common/SyncCompletedDelegate.h>
#include <kelvane/common/SyncItemCompletedDelegate.h>

namespace kelvane {

IAsyncTask::~IAsyncTask() = default;

IAsyncTaskStepEvent::~IAsyncTaskStepEvent() = default;

std::optional<bool> IAsyncTaskStepEvent::isSameStep(const IAsyncTaskStepEvent * /*other*/) const
{
    return std::nullopt;
}

std::shared_ptr<IAsyncTaskStepEvent> IAsyncTaskStepEvent::withoutTask() const
{
    return nullptr;
}

IAsyncTaskDelegate::~IAsyncTaskDelegate() = default;
void IAsyncTaskDelegate::asyncTaskFinished(IAsyncTask & /*task*/, IAsyncTask & /*sender*/) {}
void IAsyncTaskDelegate::asyncTaskProgressChanged(IAsyncTask & /*task*/, std::int32_t /*percent*/) {}
void IAsyncTaskDelegate::asyncTaskLenghtChanged(IAsyncTask & /*task*/, std::int64_t /*lenght*/) {}
void IAsyncTaskDelegate::asyncTaskStepEvent(
    IAsyncTask & /*task*/, const std::shared_ptr<IAsyncTaskStepEvent> & /*event*/)
{
}
void IAsyncTaskDelegate::asyncTaskCancel(IAsyncTask & /*task*/) {}
void IAsyncTaskDelegate::asyncTaskWaiting(IAsyncTask & /*task*/) {}

SyncCompletedNotification::~SyncCompletedNotification() = default;

void SyncCompletedDelegate::syncDidCompleted(
    IAsyncTask & /*task*/, const std::shared_ptr<SyncCompletedNotification> & /*notification*/)
{
}

SyncItemCompletedDelegate::~SyncItemCompletedDelegate() = default;
void SyncItemCompletedDelegate::syncItemDidCompleted(
    IAsyncTask & /*task*/, const std::shared_ptr<SyncCompletedNotification> & /*notification*/)
{
}

} // namespace kelvane
