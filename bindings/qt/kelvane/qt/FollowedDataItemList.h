// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/ObservableDataItemList.h>

#include <mutex>
#include <vector>

namespace kelvane::qt {

/// A list that also tells of items which come and go without an event: listAdd(), listRemove(), listRemoveAt(),
/// listClear(), and the removal of an item that was never committed. A DataItemListModel over it needs no
/// synchronise().
///
/// Threads, Ownership, Errors: as DataItemList. The list's lock may be held while content watchers run.
class KELVANE_EXPORT FollowedDataItemList : public ObservableDataItemList {
public:
    /// Called after the array has changed, on the thread that changed it, with the item that came, null of any other
    /// change.
    using ContentWatcher = Block<void(const Item &added)>;

    FollowedDataItemList();
    ~FollowedDataItemList() override;

    void listAdd(const Item &item) override;
    void listRemove(const Item &item) override;
    void listRemoveAt(std::int32_t index) override;
    void listClear() override;

    /// Adds a watcher behind the others; null is ignored.
    void addContentWatcher(const ContentWatcher &watcher);
    /// Removes this very block. It may still be running on another thread.
    void removeContentWatcher(const ContentWatcher &watcher);

private:
    void tell(const Item &added);

    std::mutex _watcherLock;
    std::vector<ContentWatcher> _contentWatchers; // guarded by _watcherLock
};

} // namespace kelvane::qt
