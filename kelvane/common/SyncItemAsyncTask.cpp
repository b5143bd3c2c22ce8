// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/SyncItemAsyncTask.h>

#include <kelvane/common/detail/Notify.h>
#include <kelvane/common/SyncItemEvent.h>
#include <kelvane/data/DataItemState.h>

namespace kelvane {

namespace {

std::uint64_t actionFor(const std::shared_ptr<IDataItem> &item)
{
    if (!item)
        return 0;
    switch (static_cast<std::uint64_t>(item->itemState())) {
    case 4: // added
        return 1;
    case 8: // deleted
        return 2;
    case 16: // modified
        return 3;
    default:
        return 0;
    }
}

} // namespace

SyncItemAsyncTask::SyncItemAsyncTask(WorkCallback work, Object workUserState,
    std::shared_ptr<IAsyncTaskDelegate> syncCompletedDelegate, Object syncCompletedObject,
    std::shared_ptr<SyncItemCompletedDelegate> itemCompletedHandler, std::uint64_t itemAction,
    std::shared_ptr<IDataItem> dataItem)
    : AsyncTaskIOS(
        std::move(work), std::move(workUserState), std::move(syncCompletedDelegate), std::move(syncCompletedObject)),
      _action(itemAction),
      _dataItem(std::move(dataItem)),
      _itemCompletedDelegate(std::move(itemCompletedHandler))
{
    setSyncObject(_dataItem);
}

// NOLINTBEGIN(performance-unnecessary-value-param): by value, as all that is kept
SyncItemAsyncTask::SyncItemAsyncTask(WorkCallback work, Object workUserState,
    std::shared_ptr<IAsyncTaskDelegate> syncCompletedDelegate, Object syncCompletedObject,
    std::shared_ptr<SyncItemCompletedDelegate> itemCompletedHandler, std::shared_ptr<IDataItem> dataItem)
    : SyncItemAsyncTask(std::move(work), std::move(workUserState), std::move(syncCompletedDelegate),
        std::move(syncCompletedObject), std::move(itemCompletedHandler), actionFor(dataItem), dataItem)
{
}
// NOLINTEND(performance-unnecessary-value-param)

SyncItemAsyncTask::~SyncItemAsyncTask() = default;

void SyncItemAsyncTask::onCompleted()
{
    AsyncTaskIOS::onCompleted();
    if (_dataItem && result() == AsyncTaskResultSuccess)
        detail::notify("acceptChanges", [this] { _dataItem->acceptChanges(); });
    if (!_itemCompletedDelegate)
        return;
    const auto event = std::make_shared<SyncItemEvent>();
    event->setUserState(userState());
    event->setSyncObject(_dataItem);
    event->setResult(result());
    event->setErrorCode(errorCode());
    event->setErrorText(errorText());
    event->setAction(_action);
    detail::notify(
        "syncItemDidCompleted:notification:", [&] { _itemCompletedDelegate->syncItemDidCompleted(*this, event); });
}

} // namespace kelvane
