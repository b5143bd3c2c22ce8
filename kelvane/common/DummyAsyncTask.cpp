// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/DummyAsyncTask.h>

#include <kelvane/common/detail/Notify.h>
#include <kelvane/common/SyncItemEvent.h>

namespace kelvane {

using detail::notify;

DummyAsyncTask::DummyAsyncTask(
    bool isSuccess, const std::shared_ptr<SyncItemCompletedDelegate> &itemCompletedHandler, Object userState)
{
    setIsSuccess(isSuccess);
    setUserState(std::move(userState));
    if (itemCompletedHandler)
        notify(
            "syncItemDidCompleted:notification:", [&] { itemCompletedHandler->syncItemDidCompleted(*this, nullptr); });
    setIsCompleted(true);
}

DummyAsyncTask::DummyAsyncTask(const std::shared_ptr<SyncItemCompletedDelegate> &itemCompletedHandler, Object userState)
    : _itemCompletedDelegate(itemCompletedHandler)
{
    markCompleted(isSuccess(), std::move(userState));
}

DummyAsyncTask::DummyAsyncTask(
    bool isSuccess, const std::shared_ptr<SyncCompletedDelegate> &completedHandler, Object userState)
    : DummyAsyncTask(isSuccess, String(""), completedHandler, std::move(userState))
{
    addBaseAsyncDelegate(completedHandler);
}

DummyAsyncTask::DummyAsyncTask(bool isSuccess, const String & /*errorText*/,
    const std::shared_ptr<SyncCompletedDelegate> &completedHandler, Object userState)
{
    markCompleted(isSuccess, std::move(userState));
    if (!completedHandler)
        return;
    const auto event = std::make_shared<SyncItemEvent>();
    event->setUserState(this->userState());
    event->setResult(result());
    event->setErrorCode(errorCode());
    event->setErrorText(BaseAsyncTask::errorText());
    notify("syncDidCompleted:notification:", [&] { completedHandler->syncDidCompleted(*this, event); });
}

DummyAsyncTask::DummyAsyncTask(bool isSuccess, const AsyncCallback &callback, Object userState)
{
    markCompleted(isSuccess, std::move(userState));
    if (callback)
        notify("the completion block", [&] { callback(*this); });
}

DummyAsyncTask::~DummyAsyncTask() = default;

void DummyAsyncTask::markCompleted(bool isSuccess, Object userState)
{
    setIsSuccess(isSuccess);
    setUserState(std::move(userState));
    setIsCompleted(true);
}

void DummyAsyncTask::onCompleted()
{
    if (const auto listener = _itemCompletedDelegate.lock())
        notify("syncItemDidCompleted:notification:", [&] { listener->syncItemDidCompleted(*this, nullptr); });
    BaseAsyncTask::onCompleted();
}

} // namespace kelvane
