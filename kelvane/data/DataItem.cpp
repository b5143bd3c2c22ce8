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
    const std::lock_guard guard(_lock);
    if (_hasFirstRecord.load(std::memory_order_relaxed))
        return false;
    _currentRecord = record;
    _hasFirstRecord.store(true, std::memory_order_release);
    return true;
}

std::shared_ptr<IDataItemList> DataItem::owner() const
{
    const std::lock_guard guard(_lock);
    return _ownerList.lock();
}

bool DataItem::isOwner(const std::shared_ptr<IDataItemList> &list) const
{
    const std::lock_guard guard(_lock);
    return list && !_ownerList.owner_before(list) && !list.owner_before(_ownerList);
}

Object DataItem::read(const Object &record) const
{
    const std::lock_guard guard(_lock);
    return record;
}

void DataItem::replace(Object &record, Object value)
{
    // The record that was there is destroyed with `value`, after the lock is left.
    const std::lock_guard guard(_lock);
    std::swap(record, value);
}

bool DataItem::hasCurrentRecord() const
{
    ensureFirstRecord();
    const std::lock_guard guard(_lock);
    return static_cast<bool>(_currentRecord);
}

bool DataItem::isEdited() const
{
    ensureFirstRecord();
    const std::lock_guard guard(_lock);
    return _tempRecord && _currentRecord;
}

void DataItem::commitRecord(bool isDeleted)
{
    // What is forgotten is destroyed after the lock is left.
    Object forgotten;
    Object forgottenEdit;
    const std::lock_guard guard(_lock);
    // Intended: after the commit record() still answers the deleted record, for what tells the user about it.
    if (isDeleted)
        forgottenEdit = std::exchange(_tempRecord, _currentRecord ? _currentRecord : _oldRecord);
    forgotten = std::exchange(_oldRecord, _currentRecord);
}

void DataItem::retireCurrentRecord()
{
    Object forgotten; // destroyed after the lock is left
    const std::lock_guard guard(_lock);
    forgotten = std::exchange(_oldRecord, std::exchange(_currentRecord, nullptr));
}

void DataItem::attach(const std::shared_ptr<IDataItemList> &list)
{
    // A list attaches what is added to it twice.
    if (isOwner(list) || weak_from_this().expired())
        return;
    ensureFirstRecord();
    std::weak_ptr<IDataItemList> owner = list;
    const std::lock_guard guard(_lock);
    _ownerList.swap(owner);
}

void DataItem::detach()
{
    setTempRecord(nullptr);
    setOldRecord(nullptr);
    std::weak_ptr<IDataItemList> nobody;
    const std::lock_guard guard(_lock);
    _ownerList.swap(nobody);
}

void DataItem::beginEdit()
{
    if (!tempRecord() && itemState() != DataItemState::Added)
        setTempRecord(copyRecord(currentRecord()));
}

void DataItem::endEdit()
{
    if (!isEdited())
        return;
    const auto list = owner();
    if (!list)
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
    commitRecord(state == DataItemState::Deleted);
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
    if (!list || !hasCurrentRecord())
        return;
    const auto self = shared_from_this();
    list->raiseItemChanging(self, DataItemAction::Delete);
    // Intended: of a Modified item this forgets the committed record; the modified one is what is deleted, and what
    // a rollback brings back.
    retireCurrentRecord();
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
    // An item that has an owner has had its first record since attach().
    const std::lock_guard guard(_lock);
    if (_ownerList.expired())
        return DataItemState::Detached;
    if (isSameObject(_oldRecord, _currentRecord))
        return _oldRecord ? DataItemState::Unchanged : DataItemState::Detached;
    if (!_oldRecord)
        return DataItemState::Added;
    return _currentRecord ? DataItemState::Modified : DataItemState::Deleted;
}

bool DataItem::isItemExists() const
{
    return isAnyOf(itemState(), DataItemState::Added | DataItemState::Modified | DataItemState::Unchanged);
}

bool DataItem::hasChange() const
{
    ensureFirstRecord();
    const std::lock_guard guard(_lock);
    return !isSameObject(_oldRecord, _currentRecord);
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
    return read(_oldRecord);
}

void DataItem::setOldRecord(Object record)
{
    replace(_oldRecord, std::move(record));
}

Object DataItem::currentRecord() const
{
    ensureFirstRecord();
    return read(_currentRecord);
}

void DataItem::setCurrentRecord(Object record)
{
    if (!becomeFirstRecord(record))
        replace(_currentRecord, std::move(record));
}

Object DataItem::tempRecord() const
{
    return read(_tempRecord);
}

void DataItem::setTempRecord(Object record)
{
    replace(_tempRecord, std::move(record));
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
