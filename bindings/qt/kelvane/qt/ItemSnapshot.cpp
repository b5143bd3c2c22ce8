// SPDX-License-Identifier: Apache-2.0
#include "ItemSnapshot_p.h"

#include <kelvane/platform/ZenLogger.h>

#include <exception>

namespace kelvane::qt {

namespace {

/// Runs code of the application, which Qt does not let throw. A field that throws has no value, or is not written.
template <class Result, class Body>
Result guarded(const ItemField &field, Body &&body)
{
    try {
        return body();
    } catch (const std::exception &exception) {
        ZenLogger::defaultLogger().ZenLogError(
            String("field \"") + field.name.constData() + String("\": ") + exception.what());
        return {};
    }
}

} // namespace

ItemSnapshot ItemSnapshot::read(const DataItemList::Item &item, const std::vector<ItemField> &fields)
{
    ItemSnapshot snapshot{item, {}, item->itemState()};
    snapshot.values.reserve(fields.size());
    Object record;
    if (const auto *dataItem = dynamic_cast<const DataItem *>(item.get())) {
        // Not record(): the copy of an open edit is half changed until the edit ends.
        record = dataItem->currentRecord();
        if (!record)
            record = dataItem->originalRecord();
    }
    for (const ItemField &field : fields) {
        const bool isReadable = record && field.read;
        snapshot.values.push_back(
            isReadable ? guarded<QVariant>(field, [&] { return field.read(record); }) : QVariant());
    }
    return snapshot;
}

bool writeField(
    DataItemList &list, const std::shared_ptr<DataItem> &item, const ItemField &field, const QVariant &value)
{
    const DataItemState state = item->itemState();
    if (!item->isItemExists() || item->tempRecord())
        return false;
    return guarded<bool>(field, [&] {
        const Object changed = item->copyRecord(item->currentRecord());
        if (!guarded<bool>(field, [&] { return field.write(changed, value); }))
            return false;
        if (state == DataItemState::Added) {
            // No edit opens on an item that was never committed.
            list.raiseItemChanging(item, DataItemAction::Change);
            item->setCurrentRecord(changed);
            list.raiseItemChanged(item, DataItemAction::Change);
            return true;
        }
        item->setTempRecord(changed);
        item->endEdit();
        return true;
    });
}

} // namespace kelvane::qt
