// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/SyncCompletedDelegate.h>
#include <kelvane/common/SyncItemCompletedDelegate.h>
#include <kelvane/data/IDataItem.h>

namespace kelvane {

/// A task that synchronises one data item: once the work succeeded it commits the item's changes, and it tells the
/// item's listener how it ended.
///
/// Threads: as AsyncTaskIOS; the item is committed, and its listener told, on the thread that completes the task.
/// Ownership: keeps the item and the listener alive.
class KELVANE_EXPORT SyncItemAsyncTask : public AsyncTaskIOS {
public:
    /// @selector initWithWorkCallback:workUserState:syncCompletedDelegate:syncCompletedObject:ItemCompletedHandler:itemAction:dataItem:
    /// The item is also the task's syncObject, as a std::shared_ptr<IDataItem>.
    SyncItemAsyncTask(WorkCallback work, Object workUserState,
        std::shared_ptr<IAsyncTaskDelegate> syncCompletedDelegate, Object syncCompletedObject,
        std::shared_ptr<SyncItemCompletedDelegate> itemCompletedHandler, std::uint64_t itemAction,
        std::shared_ptr<IDataItem> dataItem);
    /// @selector initWithWorkCallback:workUserState:syncCompletedDelegate:syncCompletedObject:ItemCompletedHandler:dataItem:
    /// Takes the action from the item's state at this moment: 1 for an added item, 2 for a deleted one, 3 for a
    /// modified one, 0 for any other state and without an item.
    SyncItemAsyncTask(WorkCallback work, Object workUserState,
        std::shared_ptr<IAsyncTaskDelegate> syncCompletedDelegate, Object syncCompletedObject,
        std::shared_ptr<SyncItemCompletedDelegate> itemCompletedHandler, std::shared_ptr<IDataItem> dataItem);
    ~SyncItemAsyncTask() override;

    [[nodiscard]] const std::shared_ptr<IDataItem> &dataItem() const { return _dataItem; }
    /// 1 add, 2 delete, 3 change, 0 none: numbers of their own, not those of DataItemAction.
    [[nodiscard]] std::uint64_t action() const { return _action; }

    /// After the listeners of the task: commits the item if the result is 1 (an override of 5 commits nothing), then
    /// sends the item's listener a SyncItemEvent.
    void onCompleted() override;

private:
    std::uint64_t _action;
    std::shared_ptr<IDataItem> _dataItem;
    std::shared_ptr<SyncItemCompletedDelegate> _itemCompletedDelegate;
};

} // namespace kelvane
