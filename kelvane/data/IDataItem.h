// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItemState.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstddef>
#include <memory>

namespace kelvane {

class IDataItemList;

/// What a list and a task know of an editable item: its edits, its commit, its state. DataItem is the implementation
/// that applications build on.
///
/// Threads: any thread, any operation; operations that change one item belong on one thread at a time.
/// Ownership: lists keep their items; an item does not keep its list. Items are made with std::make_shared.
class KELVANE_EXPORT IDataItem {
public:
    virtual ~IDataItem();

    /// Makes `list` the owner, to which the item's events go; null for none. No event. @selector attach:
    virtual void attach(const std::shared_ptr<IDataItemList> &list) = 0;
    /// Leaves the owner and forgets the committed record and an open edit. No event.
    virtual void detach() = 0;

    /// Opens an edit on a copy of the record.
    virtual void beginEdit() = 0;
    /// Makes the edited copy the record.
    virtual void endEdit() = 0;
    /// Drops the edited copy.
    virtual void cancelEdit() = 0;

    /// Commits all changes of this item.
    virtual void acceptChanges() = 0;
    /// Takes all changes since the last commit back.
    virtual void rejectChanges() = 0;

    /// Deletes the record; the item leaves its list when that is committed.
    virtual void deleteItem() = 0;
    /// Marks an unchanged item as modified.
    virtual void setModified() = 0;

    /// What has happened since the last commit.
    [[nodiscard]] virtual DataItemState itemState() const = 0;

    /// Whether a list takes the two for the same item when it looks one up or removes one. By default only an item
    /// itself is. Whoever overrides this overrides hash() too.
    [[nodiscard]] virtual bool isEqual(const IDataItem &other) const;
    /// The same number for equal items. It must not change while the item is in a list.
    [[nodiscard]] virtual std::size_t hash() const;
    /// The item for log lines: by default its class and address, "<Song: 0x5581c0>".
    [[nodiscard]] virtual String description() const;

protected:
    IDataItem() = default;
    IDataItem(const IDataItem &) = default;
    IDataItem &operator=(const IDataItem &) = default;
};

} // namespace kelvane
