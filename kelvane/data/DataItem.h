// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/IDataItem.h>
#include <kelvane/data/IDataItemList.h>
#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/detail/AtomicProperty.h>
#include <kelvane/foundation/Object.h>

#include <atomic>
#include <memory>

namespace kelvane {

/// An editable item around one record: it keeps the record as last committed, the record as it is now and, while an
/// edit is open, a scratch copy, and derives its state from them whenever it is asked.
///
/// Records are compared as objects, never by their content: an edit that changes nothing still makes the item
/// Modified. A concrete class says what its records are through templeClass() and copyRecord(); most derive from
/// TypedDataItem, which answers both from the record's type.
///
/// Threads: any thread may read records and state at any time; changes of one item belong on one thread at a time.
/// No lock is held while events are raised, but for that of the list where it is the list that calls.
/// Ownership: made with std::make_shared and kept by its list; keeps its records, but not its list. An item whose
/// list is gone has no owner.
/// Errors: only templeClass() and copyRecord() raise, and what calls them passes it on: attach(), record() and the
/// record accessors until there is a first record, beginEdit() and setModified().
class KELVANE_EXPORT DataItem : public IDataItem, public std::enable_shared_from_this<DataItem> {
public:
    /// The class of a record: called, it gives a new one.
    using RecordClass = Block<Object()>;

    /// No owner, no committed record, no edit; the current record is a new instance of templeClass(). It is made when
    /// it is first asked for, at the latest by attach(), because only then the concrete class can be asked. An item
    /// without templeClass() raises there, before anything else happens, and so gets into no list.
    DataItem();
    ~DataItem() override;
    DataItem(const DataItem &) = delete;
    DataItem &operator=(const DataItem &) = delete;

    /// The owner is not kept alive. Ignored by an item that no std::shared_ptr owns, because events could not name
    /// it.
    void attach(const std::shared_ptr<IDataItemList> &list) override;
    /// The current record stays.
    void detach() override;

    /// Copies the current record into an open edit. Does nothing where an edit is open, whose copy stays, nor in
    /// state Added: such an item is edited in place.
    void beginEdit() override;
    /// Makes the copy of the open edit the current record, between the events changing and changed (Change). Does
    /// nothing without owner, current record or open edit.
    void endEdit() override;
    void cancelEdit() override;

    /// Ends an open edit, then commits, if the item has an owner and changes: changing (Commit), the current record
    /// becomes the committed one, changed (Commit), committed. An item that was Deleted then leaves the list without
    /// any record but the answer of record(), and keeps its owner.
    void acceptChanges() override;
    /// Cancels an open edit, then rolls back, if the item has an owner and changes: changing (Rollback), the
    /// committed record becomes the current one, changed (Rollback). An item that was Added leaves the list and has
    /// no record any more; it keeps its owner.
    void rejectChanges() override;

    /// Deletes the current record, between changing and changed (Delete); nothing without owner or current record.
    /// Forgets the committed record of a Modified item, so that rejectChanges() brings the modified one back.
    void deleteItem() override;
    /// In state Unchanged: makes a copy of the committed record the current one, between changing and changed
    /// (Change).
    void setModified() override;
    /// In state Unchanged: forgets that the record was committed, between changing and changed (Change).
    void setAdded();

    [[nodiscard]] DataItemState itemState() const override;
    /// Whether the state is Added, Modified or Unchanged.
    [[nodiscard]] bool isItemExists() const;
    /// Whether current and committed record are different objects, owner or not.
    [[nodiscard]] bool hasChange() const;

    /// The record to show and to edit: the copy of an open edit, else the current one, else the committed one, else
    /// null.
    [[nodiscard]] Object record() const;
    /// Replaces the current record and, while an edit is open, its copy too. No event. @selector setRecord:
    void setRecord(Object record);
    /// The record as last committed, null if it never was.
    [[nodiscard]] Object originalRecord() const;

    /// The three records, each readable and replaceable at any time from any thread. No event.
    [[nodiscard]] Object oldRecord() const;
    void setOldRecord(Object record);
    [[nodiscard]] Object currentRecord() const;
    void setCurrentRecord(Object record);
    [[nodiscard]] Object tempRecord() const;
    void setTempRecord(Object record);

    /// Supplied by the concrete class: a new, independent copy of `record`, and null of null (a deleted item has no
    /// current record). Called without a lock. Here it raises UnrecognisedOperationException. @selector copyRecord:
    [[nodiscard]] virtual Object copyRecord(const Object &record) const;
    /// Supplied by the concrete class: the class of the record. Called without a lock, and by two threads that
    /// are the first to ask an item for its record perhaps twice. Here it raises UnrecognisedOperationException.
    [[nodiscard]] virtual RecordClass templeClass() const;

private:
    [[nodiscard]] std::shared_ptr<IDataItemList> owner() const;
    [[nodiscard]] bool isOwner(const std::shared_ptr<IDataItemList> &list) const;
    void ensureFirstRecord() const;
    bool becomeFirstRecord(const Object &record) const;
    [[nodiscard]] bool hasCurrentRecord() const;
    /// Whether there is a copy of an open edit, and a record that it may take the place of.
    [[nodiscard]] bool isEdited() const;
    /// Makes the current record the committed one.
    void commitRecord(bool isDeleted);
    /// Makes the current record the committed one, and leaves none.
    void retireCurrentRecord();
    [[nodiscard]] Object read(const Object &record) const;
    void replace(Object &record, Object value);

    // One lock for all of them, held for a few instructions and never while other code runs: a list asks each of its
    // million items for its state, which is derived from all of them.
    mutable detail::ByteLock _lock;
    // Whether _currentRecord has been set; becomes true under the lock.
    mutable std::atomic<bool> _hasFirstRecord{false};
    std::weak_ptr<IDataItemList> _ownerList;
    Object _oldRecord;
    mutable Object _currentRecord;
    Object _tempRecord;
};

} // namespace kelvane
