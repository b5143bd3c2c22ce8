// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ItemSnapshot_p.h"
#include "Mailbox_p.h"

#include <kelvane/qt/FollowedDataItemList.h>

#include <memory>
#include <vector>

namespace kelvane::qt {

/// One event of a list, as its model gets it.
struct ListNews {
    enum Kind {
        Comes, ///< the item was added
        Changed, ///< the item was changed, committed, rolled back or deleted, and stays
        Leaves, ///< the item was committed as deleted, or its addition rolled back
        ContentChanged, ///< something came or went that no event tells of; no item
    };
    Kind kind{};
    ItemSnapshot snapshot{};
};

/// Watches a list and puts its events, with the values of the items at that moment, into the mailbox of a model.
///
/// Threads: the model's; the watchers run on any.
class ListFollower {
public:
    using Fields = std::shared_ptr<const std::vector<ItemField>>;

    ListFollower(QObject *model, std::shared_ptr<DataItemList> list, const Fields &fields);
    ~ListFollower();
    ListFollower(const ListFollower &) = delete;
    ListFollower &operator=(const ListFollower &) = delete;

    [[nodiscard]] std::vector<ListNews> takeNews() { return _mailbox->take(); }

private:
    const std::shared_ptr<DataItemList> _list;
    const std::shared_ptr<Mailbox<ListNews>> _mailbox;
    const DataItemList::Watcher _changedWatcher;
    const FollowedDataItemList::ContentWatcher _contentWatcher;
};

} // namespace kelvane::qt
