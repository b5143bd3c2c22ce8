// SPDX-License-Identifier: Apache-2.0
#include <kelvane/qt/FollowedDataItemList.h>

namespace kelvane::qt {

FollowedDataItemList::FollowedDataItemList() = default;

FollowedDataItemList::~FollowedDataItemList() = default;

void FollowedDataItemList::listAdd(const Item &item)
{
    ObservableDataItemList::listAdd(item);
    if (item)
        tell(item);
}

void FollowedDataItemList::listRemove(const Item &item)
{
    ObservableDataItemList::listRemove(item);
    tell(nullptr);
}

void FollowedDataItemList::listRemoveAt(std::int32_t index)
{
    ObservableDataItemList::listRemoveAt(index);
    tell(nullptr);
}

void FollowedDataItemList::listClear()
{
    ObservableDataItemList::listClear();
    tell(nullptr);
}

void FollowedDataItemList::addContentWatcher(const ContentWatcher &watcher)
{
    if (!watcher)
        return;
    const std::lock_guard guard(_watcherLock);
    _contentWatchers.push_back(watcher);
}

void FollowedDataItemList::removeContentWatcher(const ContentWatcher &watcher)
{
    const std::lock_guard guard(_watcherLock);
    std::erase(_contentWatchers, watcher);
}

void FollowedDataItemList::tell(const Item &added)
{
    std::vector<ContentWatcher> watchers;
    {
        const std::lock_guard guard(_watcherLock);
        watchers = _contentWatchers;
    }
    for (const ContentWatcher &watcher : watchers)
        watcher(added);
}

} // namespace kelvane::qt
