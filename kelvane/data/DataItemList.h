// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItemChangeEventArgs.h>
#include <kelvane/data/IDataItem.h>
#include <kelvane/data/IDataItemList.h>
#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/Export.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace kelvane {

namespace detail {
class ItemSequence;
class WatcherArray;
} // namespace detail

/// An ordered collection of editable items that raises changing, changed and committed events around every change,
/// and commits or rolls back all pending changes at once. Every operation on one item costs at most a logarithmic
/// number of steps, whatever the number of items.
///
/// This base class has no watcher arrays: registering watchers has no effect. A list to be watched derives from it
/// and creates those it wants, as ObservableDataItemList does.
///
/// Threads: any thread, any operation. Operations marked "locks" hold the list's re-entrant lock around the array;
/// clear(), acceptChanges() and rejectChanges() hold it throughout, also while events are raised. All others raise
/// events without it. Each watcher array has a lock of its own, held while its watchers run: a watcher must not wait
/// for another thread that adds or removes watchers of the same event, changes items, or clears or commits this list.
/// Ownership: made with std::make_shared, because items refer to it weakly. Keeps its items.
/// Errors: what a watcher throws as a std::exception ends in an error line. Null items are ignored.
class KELVANE_EXPORT DataItemList : public IDataItemList, public std::enable_shared_from_this<DataItemList> {
public:
    using Item = std::shared_ptr<IDataItem>;
    using Items = std::vector<Item>;
    /// Called with each event, on the thread that raises it. The block is the handle by which it is removed.
    using Watcher = Block<void(const DataItemChangeEventArgs &args)>;

    /// An empty list of version 0.
    DataItemList();
    ~DataItemList() override;
    DataItemList(const DataItemList &) = delete;
    DataItemList &operator=(const DataItemList &) = delete;

    /// Attaches and appends the item without an event. Locks. @selector listAdd:
    virtual void listAdd(const Item &item);
    /// Takes every occurrence of the item, and of items equal to it, out without an event. It is not detached. Locks.
    void listRemove(const Item &item) override;
    /// Takes the item at `index` out without an event; nothing where there is none. Locks. @selector listRemoveAt:
    virtual void listRemoveAt(std::int32_t index);
    /// Increments the version and empties the list without an event. Locks.
    virtual void listClear();

    /// Attaches and appends the item, between changing and changed (Add). @selector addItem:
    virtual void addItem(const Item &item);
    /// The same at `index`. A negative index means the front, one beyond the count the end. Locks around the
    /// insertion. @selector insertItem:atIndex:
    virtual void insertItem(const Item &item, std::int32_t index);
    /// Takes an item in state Added out without an event; any other is deleted by its deleteItem() and stays, as
    /// Deleted, until it is committed. An item that is not in the list is treated the same, after an info line.
    /// @selector removeItem:
    virtual void removeItem(const Item &item);
    /// The same for the item at `index`; nothing where there is none. @selector removeItemAt:
    virtual void removeItemAt(std::int32_t index);
    /// removeItem() for every item. Locks throughout. Does not count as a new version by itself.
    virtual void clear();

    /// Commits every item, in order. Locks throughout.
    virtual void acceptChanges();
    /// Rolls every item back, in order. Locks throughout.
    virtual void rejectChanges();

    /// The item at `index`, null where there is none. Locks. @selector itemAtIndex:
    [[nodiscard]] Item itemAtIndex(std::int32_t index) const;
    /// The lowest index of the item, or of one equal to it; -1 where there is none.
    [[nodiscard]] std::int32_t indexOf(const Item &item) const;
    /// Whether the item, or one equal to it, is in the list. @selector contains:
    [[nodiscard]] bool contains(const Item &item) const;
    /// The items as they are now.
    [[nodiscard]] Items toArray() const;
    [[nodiscard]] std::int32_t count() const;
    /// Always false here.
    [[nodiscard]] virtual bool isReadonly() const;

    /// The items with pending changes, in list order.
    [[nodiscard]] Items getChanges() const;
    /// The items whose state is one of `mask`, in list order. @selector getChanges:
    [[nodiscard]] Items getChanges(DataItemState mask) const;
    /// Intended: takes one of two kinds, not a mask, as synchronisation asks for them: 4 (Added) gives all items,
    /// changed or not; 16 (Modified) those with pending changes of any sort; everything else none.
    /// @selector getSubChanges:
    [[nodiscard]] Items getSubChanges(DataItemState kind) const;
    /// Whether any item has pending changes. Locks throughout.
    [[nodiscard]] bool modified() const;

    /// Adds 1 to the version and returns the new one. After the highest comes the lowest.
    std::int32_t incVersion();
    /// The version: grows by one with every commit of an item and every listClear().
    [[nodiscard]] std::int32_t syncVersion() const;

    void raiseItemChanging(const Item &item, DataItemAction action) override;
    void raiseItemChanged(const Item &item, DataItemAction action) override;
    void raiseItemCommited(const Item &item, DataItemState state) override;

    /// Adds a watcher behind the others of its event; null is ignored. From inside a watcher of the same event it
    /// counts from the next event on. @selector addItemChangingWatcher: (and so forth)
    void addItemChangingWatcher(const Watcher &watcher);
    void addItemChangedWatcher(const Watcher &watcher);
    void addItemCommitedWatcher(const Watcher &watcher);
    /// Removes this very block. On return it is not running on another thread and will not run again.
    void removeItemChangingWatcher(const Watcher &watcher);
    void removeItemChangedWatcher(const Watcher &watcher);
    void removeItemCommitedWatcher(const Watcher &watcher);

protected:
    /// Create a watcher array. To be called by the constructor of a concrete list.
    void createItemChangingWatchers();
    void createItemChangedWatchers();
    void createItemCommitedWatchers();

    /// Notify the watchers; the last one increments the version first. @selector _onItemChanging: (and so forth)
    virtual void _onItemChanging(const DataItemChangeEventArgs &args);
    virtual void _onItemChanged(const DataItemChangeEventArgs &args);
    virtual void _onItemCommited(const DataItemChangeEventArgs &args);

private:
    using WatcherArray = std::unique_ptr<detail::WatcherArray>;

    void insert(const Item &item, std::size_t index);
    [[nodiscard]] Items othersEqualTo(const Item &item, std::size_t hash) const;

    // Guards the array towards the outside, as said above. Taken before _arrayLock.
    mutable std::recursive_mutex _lock;
    // Held for single steps on the array alone, never while code of items or watchers runs. Whoever changes the
    // array holds both locks, whoever reads it one of them: so those who read without the list's lock never wait
    // for a clear() or a commit.
    mutable std::mutex _arrayLock;
    const std::unique_ptr<detail::ItemSequence> _list;
    std::atomic<std::int32_t> _version{0};
    // Null unless a concrete list created them.
    WatcherArray _itemChangingWatcher;
    WatcherArray _itemChangedWatcher;
    WatcherArray _itemCommitedWatcher;
};

} // namespace kelvane
