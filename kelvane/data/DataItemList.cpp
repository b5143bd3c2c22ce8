// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/DataItemList.h>

#include <kelvane/data/detail/ItemSequence.h>
#include <kelvane/data/detail/WatcherArray.h>
#include <kelvane/platform/ZenLogger.h>

#include <algorithm>
#include <limits>

namespace kelvane {

IDataItemList::~IDataItemList() = default;

DataItemList::DataItemList() : _list(std::make_unique<detail::ItemSequence>()) {}

DataItemList::~DataItemList() = default;

// Single steps on the array. Items that leave it are destroyed after the locks are left, because that runs code of
// the application.

void DataItemList::insert(const Item &item, std::size_t index)
{
    const std::size_t hash = item->hash();
    const std::lock_guard guard(_lock);
    const std::lock_guard arrayGuard(_arrayLock);
    _list->insert(std::min(index, _list->size()), item, hash);
}

void DataItemList::listAdd(const Item &item)
{
    if (!item)
        return;
    item->attach(weak_from_this().lock());
    insert(item, std::numeric_limits<std::size_t>::max());
}

void DataItemList::listRemove(const Item &item)
{
    if (!item)
        return;
    const std::size_t hash = item->hash();
    Items equalItems;
    const std::lock_guard guard(_lock);
    equalItems = othersEqualTo(item, hash);
    const std::lock_guard arrayGuard(_arrayLock);
    _list->remove(item.get(), hash);
    for (const Item &equalItem : equalItems)
        _list->remove(equalItem.get(), hash);
}

void DataItemList::listRemoveAt(std::int32_t index)
{
    Item removed;
    const std::lock_guard guard(_lock);
    const std::lock_guard arrayGuard(_arrayLock);
    if (index >= 0 && static_cast<std::size_t>(index) < _list->size())
        removed = _list->takeAt(static_cast<std::size_t>(index));
}

void DataItemList::listClear()
{
    detail::ItemSequence removed;
    incVersion();
    const std::lock_guard guard(_lock);
    const std::lock_guard arrayGuard(_arrayLock);
    _list->swap(removed);
}

// Changes with events

void DataItemList::addItem(const Item &item)
{
    if (!item)
        return;
    item->attach(weak_from_this().lock());
    raiseItemChanging(item, DataItemAction::Add);
    listAdd(item);
    raiseItemChanged(item, DataItemAction::Add);
}

void DataItemList::insertItem(const Item &item, std::int32_t index)
{
    if (!item)
        return;
    item->attach(weak_from_this().lock());
    raiseItemChanging(item, DataItemAction::Add);
    insert(item, static_cast<std::size_t>(std::max(index, 0)));
    raiseItemChanged(item, DataItemAction::Add);
}

void DataItemList::removeItem(const Item &item)
{
    if (!contains(item))
        ZenLogger::defaultLogger().ZenLogInfo(
            String("_list not containsObject ") + (item ? item->description() : String("(null)")));
    if (!item)
        return;
    if (item->itemState() == DataItemState::Added)
        listRemove(item);
    else
        item->deleteItem();
}

void DataItemList::removeItemAt(std::int32_t index)
{
    if (const Item item = itemAtIndex(index))
        removeItem(item);
}

void DataItemList::clear()
{
    Items items;
    const std::lock_guard guard(_lock);
    items = toArray();
    for (const Item &item : items)
        removeItem(item);
}

void DataItemList::acceptChanges()
{
    Items items;
    const std::lock_guard guard(_lock);
    items = toArray();
    for (const Item &item : items)
        item->acceptChanges();
}

void DataItemList::rejectChanges()
{
    Items items;
    const std::lock_guard guard(_lock);
    items = toArray();
    for (const Item &item : items)
        item->rejectChanges();
}

// Asking

DataItemList::Item DataItemList::itemAtIndex(std::int32_t index) const
{
    const std::lock_guard guard(_lock);
    if (index < 0 || static_cast<std::size_t>(index) >= _list->size())
        return nullptr;
    return _list->at(static_cast<std::size_t>(index));
}

// The other items that are equal to `item`. Their code is asked without the array's lock, and costs nothing where
// items are equal only to themselves, since then no other item has the same hash.
DataItemList::Items DataItemList::othersEqualTo(const Item &item, std::size_t hash) const
{
    Items others;
    {
        const std::lock_guard arrayGuard(_arrayLock);
        others = _list->othersWithHash(item.get(), hash);
    }
    std::erase_if(others, [&](const Item &other) { return !item->isEqual(*other); });
    return others;
}

bool DataItemList::contains(const Item &item) const
{
    if (!item)
        return false;
    const std::size_t hash = item->hash();
    {
        const std::lock_guard arrayGuard(_arrayLock);
        if (_list->contains(item.get(), hash))
            return true;
    }
    return !othersEqualTo(item, hash).empty();
}

std::int32_t DataItemList::indexOf(const Item &item) const
{
    if (!item)
        return -1;
    const std::size_t hash = item->hash();
    const Items equalItems = othersEqualTo(item, hash);
    const std::lock_guard arrayGuard(_arrayLock);
    std::size_t lowest = _list->indexOf(item.get(), hash);
    for (const Item &equalItem : equalItems)
        lowest = std::min(lowest, _list->indexOf(equalItem.get(), hash));
    constexpr std::size_t highest = std::numeric_limits<std::int32_t>::max();
    return lowest < _list->size() && lowest <= highest ? static_cast<std::int32_t>(lowest) : -1;
}

DataItemList::Items DataItemList::toArray() const
{
    Items items;
    const std::lock_guard arrayGuard(_arrayLock);
    items.reserve(_list->size());
    while (items.size() < _list->size())
        _list->copyRun(items.size(), items);
    return items;
}

std::int32_t DataItemList::count() const
{
    constexpr std::size_t highest = std::numeric_limits<std::int32_t>::max();
    const std::lock_guard arrayGuard(_arrayLock);
    return static_cast<std::int32_t>(std::min(_list->size(), highest));
}

bool DataItemList::isReadonly() const
{
    return false;
}

DataItemList::Items DataItemList::getChanges() const
{
    return getChanges(pendingChangeStates);
}

DataItemList::Items DataItemList::getChanges(DataItemState mask) const
{
    Items changes;
    for (Item &item : toArray()) {
        if (isAnyOf(item->itemState(), mask))
            changes.push_back(std::move(item));
    }
    return changes;
}

DataItemList::Items DataItemList::getSubChanges(DataItemState kind) const
{
    if (kind == DataItemState::Added)
        return toArray();
    if (kind == DataItemState::Modified)
        return getChanges();
    return {};
}

bool DataItemList::modified() const
{
    // The items of one leaf at a time: asking an item for its state may run code that changes the list.
    Items run;
    const std::lock_guard guard(_lock);
    for (std::size_t index = 0; index < _list->size(); index += run.size()) {
        run.clear();
        _list->copyRun(index, run);
        const bool found = std::any_of(
            run.begin(), run.end(), [](const Item &item) { return isAnyOf(item->itemState(), pendingChangeStates); });
        if (found)
            return true;
    }
    return false;
}

std::int32_t DataItemList::incVersion()
{
    const std::int32_t before = _version.fetch_add(1, std::memory_order_acq_rel);
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(before) + 1U);
}

std::int32_t DataItemList::syncVersion() const
{
    return _version.load(std::memory_order_acquire);
}

} // namespace kelvane
