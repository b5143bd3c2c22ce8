// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItemChangeEventArgs.h>
#include <kelvane/foundation/Block.h>

#include <memory>
#include <mutex>
#include <vector>

namespace kelvane::detail {

/// The watchers of one event of a list, in the order in which they were added.
///
/// Threads: any. Intended: the lock is held while watchers run, so that a watcher, once removed by another thread, is
/// not running any more; and it may be entered again, so that a watcher may change items, and with that cause the
/// same event, or add and remove watchers.
class WatcherArray {
public:
    using Watcher = Block<void(const DataItemChangeEventArgs &)>;

    void add(Watcher watcher);
    /// Removes every entry of this very block.
    void remove(const Watcher &watcher);
    /// Calls each watcher that was here when the call began. What a watcher throws as a std::exception is logged,
    /// and the next one is called: the change that it was told of goes on in any case.
    void notify(const DataItemChangeEventArgs &args);

private:
    using Watchers = std::vector<Watcher>;

    std::recursive_mutex _lock;
    // Never changed, but replaced as a whole, so that a running notify() keeps its own. Guarded by _lock.
    std::shared_ptr<const Watchers> _watchers = std::make_shared<const Watchers>();
};

} // namespace kelvane::detail
