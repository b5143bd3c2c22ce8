// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItemAction.h>
#include <kelvane/data/DataItemState.h>
#include <kelvane/foundation/Export.h>

#include <memory>

namespace kelvane {

class IDataItem;

/// What an item knows of the list that it is in: who takes it out, and who is told of its changes.
///
/// Threads: any thread, any operation; events are raised on the thread that changes the item.
class KELVANE_EXPORT IDataItemList {
public:
    virtual ~IDataItemList();

    /// Takes the item out. No event; the item keeps its owner. @selector listRemove:
    virtual void listRemove(const std::shared_ptr<IDataItem> &item) = 0;

    /// Says that `action` is about to happen to `item`. @selector raiseItemChanging:action:
    virtual void raiseItemChanging(const std::shared_ptr<IDataItem> &item, DataItemAction action) = 0;
    /// Says that `action` has happened to `item`. @selector raiseItemChanged:action:
    virtual void raiseItemChanged(const std::shared_ptr<IDataItem> &item, DataItemAction action) = 0;
    /// Says that `item`, which was in `state`, has been committed. @selector raiseItemCommited:state:
    virtual void raiseItemCommited(const std::shared_ptr<IDataItem> &item, DataItemState state) = 0;

protected:
    IDataItemList() = default;
    IDataItemList(const IDataItemList &) = default;
    IDataItemList &operator=(const IDataItemList &) = default;
};

} // namespace kelvane
