// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/ObservableDataItemList.h>
#include <kelvane/data/TypedDataItem.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kelvane::testsupport {

struct Song {
    std::string title = "untitled";
};

using SongItem = TypedDataItem<Song>;

inline std::shared_ptr<SongItem> makeSong(const std::string &title = "Blue")
{
    auto item = std::make_shared<SongItem>();
    item->record()->title = title;
    return item;
}

/// One event as a watcher saw it: kind, item, action, state in the arguments, state and records of the item meanwhile.
struct SeenEvent {
    std::string kind;
    std::shared_ptr<IDataItem> item;
    DataItemAction action;
    DataItemState state;
    DataItemState stateOfItem;
    Object old;
    Object current;
};

/// A watched list and what its watchers have seen so far.
struct WatchedList {
    WatchedList()
    {
        list->addItemChangingWatcher([this](const DataItemChangeEventArgs &args) { see("changing", args); });
        list->addItemChangedWatcher([this](const DataItemChangeEventArgs &args) { see("changed", args); });
        list->addItemCommitedWatcher([this](const DataItemChangeEventArgs &args) { see("commited", args); });
    }
    WatchedList(const WatchedList &) = delete;
    WatchedList &operator=(const WatchedList &) = delete;

    /// Events since the last call, as "changing 16/0", with the numbers of action and state.
    std::vector<std::string> takeEvents()
    {
        std::vector<std::string> texts;
        for (const SeenEvent &event : events)
            texts.push_back(event.kind + " " + std::to_string(static_cast<std::uint64_t>(event.action)) + "/"
                + std::to_string(static_cast<std::uint64_t>(event.state)));
        events.clear();
        return texts;
    }

    /// A new item that was added and committed.
    std::shared_ptr<SongItem> addUnchanged(const std::string &title = "Blue")
    {
        auto item = makeSong(title);
        list->addItem(item);
        item->acceptChanges();
        events.clear();
        return item;
    }

    std::shared_ptr<ObservableDataItemList> list = std::make_shared<ObservableDataItemList>();
    std::vector<SeenEvent> events;

private:
    void see(const char *kind, const DataItemChangeEventArgs &args)
    {
        const auto item = std::dynamic_pointer_cast<DataItem>(args.item());
        events.push_back({kind, args.item(), args.action(), args.state(), item->itemState(), item->oldRecord(),
            item->currentRecord()});
    }
};

using Texts = std::vector<std::string>;

} // namespace kelvane::testsupport
