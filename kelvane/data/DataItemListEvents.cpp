// SPDX-License-Identifier: Apache-2.0

// The events of the list: their arguments, their watchers, and who creates these.
#include <kelvane/data/DataItemList.h>
#include <kelvane/data/detail/WatcherArray.h>

namespace kelvane {

namespace {

using WatcherArray = std::unique_ptr<detail::WatcherArray>;

// Intended: a list that has not created an array has no such event. Lists that nobody watches need no watchers.
void notify(const WatcherArray &watchers, const DataItemChangeEventArgs &args)
{
    if (watchers)
        watchers->notify(args);
}

void add(const WatcherArray &watchers, const DataItemList::Watcher &watcher)
{
    if (watchers && watcher)
        watchers->add(watcher);
}

void remove(const WatcherArray &watchers, const DataItemList::Watcher &watcher)
{
    if (watchers && watcher)
        watchers->remove(watcher);
}

void create(WatcherArray &watchers)
{
    if (!watchers)
        watchers = std::make_unique<detail::WatcherArray>();
}

} // namespace

void DataItemList::raiseItemChanging(const Item &item, DataItemAction action)
{
    _onItemChanging(DataItemChangeEventArgs(item, action));
}

void DataItemList::raiseItemChanged(const Item &item, DataItemAction action)
{
    _onItemChanged(DataItemChangeEventArgs(item, action));
}

void DataItemList::raiseItemCommited(const Item &item, DataItemState state)
{
    _onItemCommited(DataItemChangeEventArgs(item, state));
}

void DataItemList::_onItemChanging(const DataItemChangeEventArgs &args)
{
    notify(_itemChangingWatcher, args);
}

void DataItemList::_onItemChanged(const DataItemChangeEventArgs &args)
{
    notify(_itemChangedWatcher, args);
}

void DataItemList::_onItemCommited(const DataItemChangeEventArgs &args)
{
    incVersion();
    notify(_itemCommitedWatcher, args);
}

void DataItemList::createItemChangingWatchers()
{
    create(_itemChangingWatcher);
}

void DataItemList::createItemChangedWatchers()
{
    create(_itemChangedWatcher);
}

void DataItemList::createItemCommitedWatchers()
{
    create(_itemCommitedWatcher);
}

void DataItemList::addItemChangingWatcher(const Watcher &watcher)
{
    add(_itemChangingWatcher, watcher);
}

void DataItemList::addItemChangedWatcher(const Watcher &watcher)
{
    add(_itemChangedWatcher, watcher);
}

void DataItemList::addItemCommitedWatcher(const Watcher &watcher)
{
    add(_itemCommitedWatcher, watcher);
}

void DataItemList::removeItemChangingWatcher(const Watcher &watcher)
{
    remove(_itemChangingWatcher, watcher);
}

void DataItemList::removeItemChangedWatcher(const Watcher &watcher)
{
    remove(_itemChangedWatcher, watcher);
}

void DataItemList::removeItemCommitedWatcher(const Watcher &watcher)
{
    remove(_itemCommitedWatcher, watcher);
}

} // namespace kelvane
