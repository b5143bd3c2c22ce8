// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItemAction.h>
#include <kelvane/data/DataItemState.h>

#include <memory>
#include <utility>

namespace kelvane {

class IDataItem;

/// What a watcher of a list is told: which item, what is done to it, and, of a commit, in which state it was before.
/// A value that a watcher may copy and keep.
///
/// Threads: any; the content never changes.
/// Ownership: keeps the item.
class DataItemChangeEventArgs {
public:
    /// Arguments of a changing or changed event: no state. @selector initWithItem:action:
    DataItemChangeEventArgs(std::shared_ptr<IDataItem> item, DataItemAction action) noexcept
        : _item(std::move(item)),
          _action(action)
    {
    }
    /// Arguments of a committed event: the action is Commit. @selector initWithItem:state:
    DataItemChangeEventArgs(std::shared_ptr<IDataItem> item, DataItemState state) noexcept
        : _item(std::move(item)),
          _action(DataItemAction::Commit),
          _state(state)
    {
    }

    [[nodiscard]] const std::shared_ptr<IDataItem> &item() const noexcept { return _item; }
    [[nodiscard]] DataItemAction action() const noexcept { return _action; }
    /// The state of the item just before its commit; 0 in a changing or changed event.
    [[nodiscard]] DataItemState state() const noexcept { return _state; }

private:
    std::shared_ptr<IDataItem> _item;
    DataItemAction _action;
    DataItemState _state{};
};

} // namespace kelvane
