// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/DataItem.h>

#include <kelvane/foundation/Exception.h>

#include <mutex>
#include <utility>

namespace kelvane {

namespace {

[[noreturn]] void raiseUnrecognised(const IDataItem &item, std::string_view operation)
{
    throw Exception("UnrecognisedOperationException",
        String::concat({operation, ": not supplied by the class of ", item.description().view()}));
}

} // namespace

DataItem::DataItem() = default;
DataItem::~DataItem() = default;

// The first record cannot be made by the constructor, where a virtual call would not reach the concrete class.
void DataItem::ensureFirstRecord() const
{
    if (_hasFirstRecord.load(std::memory_order_acquire))
        return;
    const RecordClass recordClass = templeClass();
    (void)becomeFirstRecord(recordClass ? recordClass() : Object());
}

// False where there already was a first record: of two threads that both made one the first wins.
bool DataItem::becomeFirstRecord(const Object &record) const
{
    if (_hasFirstRecord.load(std::memory_order_acquire))
        return false;
    const std::lock_guard guard(_firstRecordLock);
    if (_hasFirstRecord.load(std::memory_order_relaxed))
        return false;
    _currentRecord.set(record);
    _hasFirstRecord.store(true, std::memory_order_release);
    return true;
}

void DataItem::attach(const std::shared_ptr<IDataItemList> &list)
{
    if (weak_from_this().expired())
        return;
    ensureFirstRecord();
    _ownerList.set(list);
}

void DataItem::detach()
{
    setTempRecord(nullptr);
    setOldRecord(nullptr);
    _ownerList.set({});
}

void DataItem::beginEdit()
{
    if (!tempRecord() && itemState() != DataItemState::Added)
        setTempRecord(copyRecord(currentRecord()));
}

void DataItem::endEdit()
{
    const auto list = owner();
    if (!list || !currentRecord() || !tempRecord())
        return;
    const auto self = shared_from_this();
    list->raiseItemChanging(self, DataItemAction::Change);
    setCurrentRecord(tempRecord());
    setTempRecord(nullptr);
    list->raiseItemChanged(self, DataItemAction::Change);
}

void DataItem::cancelEdit()
{
    setTempRecord(nullptr);
}

void DataItem::acceptChanges()
{
    endEdit();
    const auto list = owner();
    if (!list || !hasChange())
        return;
    // Also keeps the item while it leaves the list.
    const auto self = shared_from_this();
    const DataItemState state = itemState();
    list->raiseItemChanging(self, DataItemAction::Commit);
    if (state == DataItemState::Deleted) {
        // Intended: after the commit record() still answers the deleted record, for what tells the user about it.
        const Object current = currentRecord();
        setTempRecord(current ? current : oldRecord());
    }
    setOldRecord(currentRecord());
    list->raiseItemChanged(self, DataItemAction::Commit);
    list->raiseItemCommited(self, state);
    if (state == DataItemState::Deleted) {
        setCurrentRecord(nullptr);
        list->listRemove(self);
    }
}

void DataItem::rejectChanges()
{
    cancelEdit();
    const auto list = owner();
    if (!list || !hasChange())
        return;
    const auto self = shared_from_this();
    list->raiseItemChanging(self, DataItemAction::Rollback);
    if (const Object old = oldRecord())
        setCurrentRecord(old);
    list->raiseItemChanged(self, DataItemAction::Rollback);
    if (!oldRecord()) {
        setCurrentRecord(nullptr);
        list->listRemove(self);
    }
}

void DataItem::deleteItem()
{
    const auto list = owner();
    if (!list || !currentRecord())
        return;
    const auto self = shared_from_this();
    list->raiseItemChanging(self, DataItemAction::Delete);
    // Intended: of a Modified item this forgets the committed record; the modified one is what is deleted, and what
    // a rollback brings back.
    setOldRecord(currentRecord());
    setCurrentRecord(nullptr);
    list->raiseItemChanged(self, DataItemAction::Delete);
}

void DataItem::setModified()
{
    const auto list = owner();
    if (!list || itemState() != DataItemState::Unchanged)
        return;
    const auto self = shared_from_this();
    list->raiseItemChanging(self, DataItemAction::Change);
    setCurrentRecord(copyRecord(oldRecord()));
    list->raiseItemChanged(self, DataItemAction::Change);
}

void DataItem::setAdded()
{
    const auto list = owner();
    if (!list || itemState() != DataItemState::Unchanged)
        return;
    const auto self = shared_from_this();
    list->raiseItemChanging(self, DataItemAction::Change);
    setOldRecord(nullptr);
    list->raiseItemChanged(self, DataItemAction::Change);
}

DataItemState DataItem::itemState() const
{
    if (!owner())
        return DataItemState::Detached;
    const Object old = oldRecord();
    const Object current = currentRecord();
    if (isSameObject(old, current))
        return old ? DataItemState::Unchanged : DataItemState::Detached;
    if (!old)
        return DataItemState::Added;
    return current ? DataItemState::Modified : DataItemState::Deleted;
}

bool DataItem::isItemExists() const
{
    return isAnyOf(itemState(), DataItemState::Added | DataItemState::Modified | DataItemState::Unchanged);
}

bool DataItem::hasChange() const
{
    return !isSameObject(oldRecord(), currentRecord());
}

Object DataItem::record() const
{
    if (Object temp = tempRecord())
        return temp;
    if (Object current = currentRecord())
        return current;
    return oldRecord();
}

void DataItem::setRecord(Object record)
{
    if (tempRecord())
        setTempRecord(record);
    setCurrentRecord(std::move(record));
}

Object DataItem::originalRecord() const
{
    return oldRecord();
}

Object DataItem::oldRecord() const
{
    return _oldRecord.get();
}

void DataItem::setOldRecord(Object record)
{
    _oldRecord.set(std::move(record));
}

Object DataItem::currentRecord() const
{
    ensureFirstRecord();
    return _currentRecord.get();
}

void DataItem::setCurrentRecord(Object record)
{
    if (!becomeFirstRecord(record))
        _currentRecord.set(std::move(record));
}

Object DataItem::tempRecord() const
{
    return _tempRecord.get();
}

void DataItem::setTempRecord(Object record)
{
    _tempRecord.set(std::move(record));
}

Object DataItem::copyRecord(const Object & /*record*/) const
{
    raiseUnrecognised(*this, "copyRecord");
}

DataItem::RecordClass DataItem::templeClass() const
{
    raiseUnrecognised(*this, "templeClass");
}

} // namespace kelvane
