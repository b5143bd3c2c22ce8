// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItem.h>
#include <kelvane/data/DataItemList.h>
#include <kelvane/qt/ItemField.h>

#include <memory>
#include <vector>

namespace kelvane::qt {

/// What a row shows: an item as it was at one moment. The values never change with the record.
struct ItemSnapshot {
    /// Reads the item as it is now, without the edit that may be open on it. On the thread that changes the item.
    [[nodiscard]] static ItemSnapshot read(const DataItemList::Item &item, const std::vector<ItemField> &fields);

    friend bool operator==(const ItemSnapshot &, const ItemSnapshot &) = default;

    DataItemList::Item item{};
    std::vector<QVariant> values{};
    DataItemState state{};
};

/// Gives the current record of an item a value, so that the change can be taken back and the list's watchers hear of
/// it. False where the record stays as it was.
[[nodiscard]] bool writeField(
    DataItemList &list, const std::shared_ptr<DataItem> &item, const ItemField &field, const QVariant &value);

} // namespace kelvane::qt
