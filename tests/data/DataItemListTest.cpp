// SPDX-License-Identifier: Apache-2.0
#include "Songs.h"

#include <tests/support/LogCapture.h>

#include <gtest/gtest.h>

#include <limits>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

using Items = DataItemList::Items;

const Texts addition{"changing 16/0", "changed 16/0"};
const Texts deletion{"changing 1/0", "changed 1/0"};

/// Items that are equal when they have the same number, and say who they are.
class NumberedItem : public TypedDataItem<Song> {
public:
    explicit NumberedItem(int number) : _number(number) {}
    bool isEqual(const IDataItem &other) const override
    {
        const auto *item = dynamic_cast<const NumberedItem *>(&other);
        return item && item->_number == _number;
    }
    std::size_t hash() const override { return static_cast<std::size_t>(_number % 2); }
    String description() const override
    {
        return String::concat({"item ", String::number(std::int64_t{_number}).view()});
    }

private:
    int _number;
};

} // namespace

// Making one

TEST(DataItemList, StartsEmptyWithVersionZeroAndWritable)
{
    const auto list = std::make_shared<DataItemList>();
    EXPECT_EQ(list->count(), 0);
    EXPECT_TRUE(list->toArray().empty());
    EXPECT_EQ(list->syncVersion(), 0);
    EXPECT_FALSE(list->isReadonly());
    EXPECT_FALSE(list->modified());
}

TEST(DataItemList, TheBaseClassHasNoWatchersButCountsItsVersion)
{
    const auto list = std::make_shared<DataItemList>();
    int calls = 0;
    const DataItemList::Watcher watcher = [&](const DataItemChangeEventArgs &) { ++calls; };
    list->addItemChangingWatcher(watcher);
    list->addItemChangedWatcher(watcher);
    list->addItemCommitedWatcher(watcher);
    list->addItem(makeSong());
    list->acceptChanges();
    list->removeItemChangingWatcher(watcher);
    list->removeItemChangedWatcher(watcher);
    list->removeItemCommitedWatcher(watcher);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(list->syncVersion(), 1);
}

TEST(DataItemList, AConcreteListHasTheWatcherArraysThatItCreates)
{
    class CommitsOnly : public DataItemList {
    public:
        CommitsOnly() { createItemCommitedWatchers(); }
    };
    const auto list = std::make_shared<CommitsOnly>();
    int commits = 0;
    int others = 0;
    list->addItemCommitedWatcher([&](const DataItemChangeEventArgs &) { ++commits; });
    list->addItemChangedWatcher([&](const DataItemChangeEventArgs &) { ++others; });
    list->addItem(makeSong());
    list->acceptChanges();
    EXPECT_EQ(commits, 1);
    EXPECT_EQ(others, 0);
}

// The array alone

TEST(DataItemList, ListAddAttachesAndAppendsWithoutEvent)
{
    WatchedList watched;
    const auto a = makeSong();
    const auto b = makeSong();
    watched.list->listAdd(a);
    watched.list->listAdd(b);
    EXPECT_EQ(watched.list->toArray(), (Items{a, b}));
    EXPECT_EQ(a->itemState(), DataItemState::Added);
    EXPECT_TRUE(watched.takeEvents().empty());
    EXPECT_EQ(watched.list->syncVersion(), 0);
}

TEST(DataItemList, ListRemoveTakesTheItemOutWithoutEventOrDetaching)
{
    WatchedList watched;
    const auto a = watched.addUnchanged();
    const auto b = watched.addUnchanged();
    watched.list->listRemove(a);
    EXPECT_EQ(watched.list->toArray(), Items{b});
    EXPECT_EQ(a->itemState(), DataItemState::Unchanged) << "it keeps its owner";
    watched.list->listRemove(a);
    EXPECT_EQ(watched.list->count(), 1);
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItemList, ListRemoveTakesEveryOccurrenceOfTheItemOut)
{
    WatchedList watched;
    const auto a = makeSong();
    const auto b = makeSong();
    for (const auto &item : {a, b, a, a})
        watched.list->listAdd(item);
    EXPECT_EQ(watched.list->count(), 4);
    EXPECT_EQ(watched.list->indexOf(a), 0);
    watched.list->listRemove(a);
    EXPECT_EQ(watched.list->toArray(), Items{b});
}

TEST(DataItemList, ListRemoveAtTakesOneOccurrenceOut)
{
    WatchedList watched;
    const auto a = makeSong();
    const auto b = makeSong();
    for (const auto &item : {a, b, a})
        watched.list->listAdd(item);
    watched.list->listRemoveAt(0);
    EXPECT_EQ(watched.list->toArray(), (Items{b, a}));
    watched.list->listRemoveAt(-1);
    watched.list->listRemoveAt(2);
    EXPECT_EQ(watched.list->count(), 2);
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItemList, ListClearCountsAVersionAndRaisesNoEvent)
{
    WatchedList watched;
    const auto a = watched.addUnchanged();
    const std::int32_t version = watched.list->syncVersion();
    watched.list->listClear();
    EXPECT_EQ(watched.list->count(), 0);
    EXPECT_FALSE(watched.list->contains(a));
    EXPECT_EQ(watched.list->syncVersion(), version + 1);
    EXPECT_EQ(a->itemState(), DataItemState::Unchanged);
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItemList, ItemsMayUseTheListWhileListClearDestroysThem)
{
    struct Leaving : TypedDataItem<Song> {
        ~Leaving() override { countSeen = list->count(); }
        DataItemList *list = nullptr;
        std::int32_t &countSeen;
        explicit Leaving(std::int32_t &seen) : countSeen(seen) {}
    };
    const auto list = std::make_shared<DataItemList>();
    std::int32_t seen = -1;
    auto item = std::make_shared<Leaving>(seen);
    item->list = list.get();
    list->listAdd(item);
    item.reset();
    list->listClear();
    EXPECT_EQ(seen, 0);
}

// Adding with events

TEST(DataItemList, AddItemAttachesThenAppendsBetweenItsEvents)
{
    WatchedList watched;
    const auto item = makeSong();
    std::vector<std::int32_t> counts;
    const DataItemList::Watcher counter = [&](const DataItemChangeEventArgs &) {
        counts.push_back(watched.list->count());
    };
    watched.list->addItemChangingWatcher(counter);
    watched.list->addItemChangedWatcher(counter);
    watched.list->addItem(item);
    EXPECT_EQ(counts, (std::vector<std::int32_t>{0, 1}));
    EXPECT_EQ(watched.events[0].stateOfItem, DataItemState::Added) << "attached before the first event";
    EXPECT_EQ(watched.events[0].item, item);
    EXPECT_EQ(watched.takeEvents(), addition);
    EXPECT_EQ(item->itemState(), DataItemState::Added);
    EXPECT_EQ(watched.list->syncVersion(), 0);
}

TEST(DataItemList, InsertItemPutsItAtTheIndexBetweenItsEvents)
{
    WatchedList watched;
    const auto a = watched.addUnchanged();
    const auto b = watched.addUnchanged();
    const auto c = makeSong();
    std::vector<std::int32_t> counts;
    const DataItemList::Watcher counter = [&](const DataItemChangeEventArgs &) {
        counts.push_back(watched.list->count());
    };
    watched.list->addItemChangingWatcher(counter);
    watched.list->addItemChangedWatcher(counter);
    watched.list->insertItem(c, 1);
    EXPECT_EQ(watched.list->toArray(), (Items{a, c, b}));
    EXPECT_EQ(counts, (std::vector<std::int32_t>{2, 3}));
    EXPECT_EQ(watched.takeEvents(), addition);
    EXPECT_EQ(c->itemState(), DataItemState::Added);
}

TEST(DataItemList, InsertItemOutsideTheListGoesToTheNearerEnd)
{
    WatchedList watched;
    const auto a = watched.addUnchanged();
    const auto front = makeSong();
    const auto end = makeSong();
    watched.list->insertItem(front, std::numeric_limits<std::int32_t>::min());
    watched.list->insertItem(end, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(watched.list->toArray(), (Items{front, a, end}));
}

TEST(DataItemList, NullItemsAreIgnored)
{
    const LogCapture log;
    WatchedList watched;
    watched.list->addItem(nullptr);
    watched.list->insertItem(nullptr, 0);
    watched.list->listAdd(nullptr);
    watched.list->listRemove(nullptr);
    watched.list->removeItem(nullptr);
    EXPECT_EQ(watched.list->count(), 0);
    EXPECT_FALSE(watched.list->contains(nullptr));
    EXPECT_EQ(watched.list->indexOf(nullptr), -1);
    EXPECT_TRUE(watched.takeEvents().empty());
    EXPECT_EQ(log.infoLines(), Texts{"_list not containsObject (null)"});
}

// Removing

TEST(DataItemList, RemoveItemTakesAnAddedItemOutWithoutEvent)
{
    const LogCapture log;
    WatchedList watched;
    const auto item = makeSong();
    watched.list->addItem(item);
    watched.takeEvents();
    watched.list->removeItem(item);
    EXPECT_EQ(watched.list->count(), 0);
    EXPECT_EQ(item->itemState(), DataItemState::Added) << "it is not detached";
    EXPECT_TRUE(watched.takeEvents().empty());
    EXPECT_TRUE(log.infoLines().empty());
}

TEST(DataItemList, RemoveItemDeletesAnUnchangedOrModifiedItemThatStaysUntilCommitted)
{
    WatchedList watched;
    const auto unchanged = watched.addUnchanged();
    const auto modified = watched.addUnchanged();
    modified->setModified();
    watched.takeEvents();
    for (const auto &item : {unchanged, modified}) {
        watched.list->removeItem(item);
        EXPECT_EQ(item->itemState(), DataItemState::Deleted);
        EXPECT_TRUE(watched.list->contains(item));
        EXPECT_EQ(watched.takeEvents(), deletion);
    }
    watched.list->acceptChanges();
    EXPECT_EQ(watched.list->count(), 0);
}

TEST(DataItemList, RemoveItemThatIsNotInTheListLogsAndStillDeletesIt)
{
    const LogCapture log;
    WatchedList watched;
    const auto item = std::make_shared<NumberedItem>(7);
    watched.list->addItem(item);
    item->acceptChanges();
    watched.list->listRemove(item);
    watched.takeEvents();
    watched.list->removeItem(item);
    EXPECT_EQ(log.infoLines(), Texts{"_list not containsObject item 7"});
    EXPECT_EQ(item->itemState(), DataItemState::Deleted);
    EXPECT_EQ(watched.takeEvents(), deletion);
}

TEST(DataItemList, RemoveItemOfAnotherListDeletesItThroughItsOwner)
{
    const LogCapture log;
    WatchedList owner;
    WatchedList stranger;
    const auto item = owner.addUnchanged();
    stranger.list->removeItem(item);
    EXPECT_EQ(owner.takeEvents(), deletion);
    EXPECT_TRUE(stranger.takeEvents().empty());
    EXPECT_EQ(log.infoLines().size(), 1U);
}

TEST(DataItemList, TheDefaultDescriptionNamesClassAndAddress)
{
    const auto item = makeSong();
    const std::string text = item->description().str();
    EXPECT_TRUE(text.starts_with("<kelvane::TypedDataItem<kelvane::testsupport::Song>: 0x")) << text;
    EXPECT_TRUE(text.ends_with(">"));
}

TEST(DataItemList, RemoveItemAtRemovesTheItemThereAndNothingOutsideTheList)
{
    const LogCapture log;
    WatchedList watched;
    const auto a = watched.addUnchanged();
    const auto b = watched.addUnchanged();
    watched.list->removeItemAt(-1);
    watched.list->removeItemAt(2);
    EXPECT_TRUE(watched.takeEvents().empty());
    watched.list->removeItemAt(1);
    EXPECT_EQ(a->itemState(), DataItemState::Unchanged);
    EXPECT_EQ(b->itemState(), DataItemState::Deleted);
    EXPECT_EQ(watched.takeEvents(), deletion);
    EXPECT_TRUE(log.infoLines().empty());
}

TEST(DataItemList, ClearRemovesEveryItemAndKeepsTheVersion)
{
    WatchedList watched;
    const auto unchanged = watched.addUnchanged();
    const auto added = makeSong();
    watched.list->addItem(added);
    const auto modified = watched.addUnchanged();
    modified->setModified();
    watched.takeEvents();
    const std::int32_t version = watched.list->syncVersion();
    watched.list->clear();
    EXPECT_EQ(watched.list->toArray(), (Items{unchanged, modified})) << "deletions stay until they are committed";
    EXPECT_EQ(unchanged->itemState(), DataItemState::Deleted);
    EXPECT_EQ(modified->itemState(), DataItemState::Deleted);
    EXPECT_EQ(watched.takeEvents(), (Texts{"changing 1/0", "changed 1/0", "changing 1/0", "changed 1/0"}));
    EXPECT_EQ(watched.list->syncVersion(), version);
}

// Committing and rolling back all

TEST(DataItemList, AcceptChangesCommitsEveryItemInOrder)
{
    WatchedList watched;
    const auto deleted = watched.addUnchanged();
    const auto unchanged = watched.addUnchanged();
    const auto modified = watched.addUnchanged();
    const auto added = makeSong();
    watched.list->addItem(added);
    deleted->deleteItem();
    modified->setModified();
    watched.takeEvents();
    const std::int32_t version = watched.list->syncVersion();
    watched.list->acceptChanges();
    EXPECT_EQ(watched.list->toArray(), (Items{unchanged, modified, added}));
    ASSERT_EQ(watched.events.size(), 9U);
    EXPECT_EQ(watched.events[2].item, deleted);
    EXPECT_EQ(watched.events[5].item, modified);
    EXPECT_EQ(watched.events[8].item, added);
    EXPECT_EQ(watched.takeEvents(),
        (Texts{"changing 8/0", "changed 8/0", "commited 8/8", "changing 8/0", "changed 8/0", "commited 8/16",
            "changing 8/0", "changed 8/0", "commited 8/4"}));
    EXPECT_EQ(watched.list->syncVersion(), version + 3);
    EXPECT_FALSE(watched.list->modified());
}

TEST(DataItemList, RejectChangesRollsEveryItemBackInOrder)
{
    WatchedList watched;
    const auto added = makeSong();
    watched.list->addItem(added);
    const auto deleted = watched.addUnchanged();
    const auto modified = watched.addUnchanged();
    deleted->deleteItem();
    modified->setModified();
    watched.takeEvents();
    const std::int32_t version = watched.list->syncVersion();
    watched.list->rejectChanges();
    EXPECT_EQ(watched.list->toArray(), (Items{deleted, modified}));
    EXPECT_EQ(deleted->itemState(), DataItemState::Unchanged);
    EXPECT_EQ(modified->itemState(), DataItemState::Unchanged);
    EXPECT_EQ(watched.events[0].item, added);
    EXPECT_EQ(watched.events[2].item, deleted);
    EXPECT_EQ(watched.events[4].item, modified);
    EXPECT_EQ(watched.takeEvents(),
        (Texts{"changing 4/0", "changed 4/0", "changing 4/0", "changed 4/0", "changing 4/0", "changed 4/0"}));
    EXPECT_EQ(watched.list->syncVersion(), version);
}

TEST(DataItemList, AWatcherMayChangeTheListDuringClear)
{
    WatchedList watched;
    watched.addUnchanged();
    watched.addUnchanged();
    const auto late = makeSong();
    const DataItemList::Watcher adder = [&](const DataItemChangeEventArgs &args) {
        if (args.action() == DataItemAction::Delete && !watched.list->contains(late))
            watched.list->listAdd(late);
    };
    watched.list->addItemChangedWatcher(adder);
    watched.list->clear();
    EXPECT_TRUE(watched.list->contains(late)) << "clear works on the items that were there when it began";
    EXPECT_EQ(watched.list->count(), 3);
}

// Asking

TEST(DataItemList, ItemAtIndexIsNullOutsideTheList)
{
    WatchedList watched;
    const auto a = watched.addUnchanged();
    const auto b = watched.addUnchanged();
    EXPECT_EQ(watched.list->itemAtIndex(0), a);
    EXPECT_EQ(watched.list->itemAtIndex(1), b);
    EXPECT_EQ(watched.list->itemAtIndex(-1), nullptr);
    EXPECT_EQ(watched.list->itemAtIndex(2), nullptr);
    EXPECT_EQ(watched.list->itemAtIndex(std::numeric_limits<std::int32_t>::min()), nullptr);
    EXPECT_EQ(watched.list->itemAtIndex(std::numeric_limits<std::int32_t>::max()), nullptr);
}

TEST(DataItemList, ContainsAndIndexOfGoByTheItemsThemselves)
{
    WatchedList watched;
    const auto a = watched.addUnchanged("same");
    const auto b = watched.addUnchanged("same");
    EXPECT_TRUE(watched.list->contains(b));
    EXPECT_EQ(watched.list->indexOf(b), 1);
    const auto stranger = makeSong("same");
    EXPECT_FALSE(watched.list->contains(stranger));
    EXPECT_EQ(watched.list->indexOf(stranger), -1);
}

TEST(DataItemList, ItemsWithAnEqualityOfTheirOwnAreFoundAndRemovedByIt)
{
    const auto list = std::make_shared<DataItemList>();
    const auto one = std::make_shared<NumberedItem>(1);
    const auto three = std::make_shared<NumberedItem>(3);
    const auto otherOne = std::make_shared<NumberedItem>(1);
    list->listAdd(three);
    list->listAdd(one);
    list->listAdd(otherOne);
    EXPECT_TRUE(list->contains(std::make_shared<NumberedItem>(1)));
    EXPECT_EQ(list->indexOf(std::make_shared<NumberedItem>(1)), 1);
    EXPECT_EQ(list->indexOf(otherOne), 1);
    EXPECT_FALSE(list->contains(std::make_shared<NumberedItem>(5)));
    list->listRemove(std::make_shared<NumberedItem>(1));
    EXPECT_EQ(list->toArray(), Items{three});
}

TEST(DataItemList, ToArrayIsACopy)
{
    WatchedList watched;
    const auto a = watched.addUnchanged();
    const Items before = watched.list->toArray();
    watched.addUnchanged();
    EXPECT_EQ(before, Items{a});
    EXPECT_EQ(watched.list->count(), 2);
}

TEST(DataItemList, GetChangesGivesTheItemsOfAMaskInListOrder)
{
    WatchedList watched;
    const auto deleted = watched.addUnchanged();
    const auto unchanged = watched.addUnchanged();
    const auto added = makeSong();
    watched.list->addItem(added);
    const auto modified = watched.addUnchanged();
    deleted->deleteItem();
    modified->setModified();
    EXPECT_EQ(watched.list->getChanges(), (Items{deleted, added, modified}));
    EXPECT_EQ(watched.list->getChanges(DataItemState::Modified), Items{modified});
    EXPECT_EQ(watched.list->getChanges(DataItemState::Unchanged | DataItemState::Deleted), (Items{deleted, unchanged}));
    EXPECT_TRUE(watched.list->getChanges(DataItemState{}).empty());
    modified->detach();
    EXPECT_EQ(watched.list->getChanges(DataItemState::Detached), Items{modified});
}

TEST(DataItemList, GetSubChangesTakesKindsAndNotMasks)
{
    WatchedList watched;
    const auto unchanged = watched.addUnchanged();
    const auto deleted = watched.addUnchanged();
    deleted->deleteItem();
    const auto added = makeSong();
    watched.list->addItem(added);
    EXPECT_EQ(watched.list->getSubChanges(static_cast<DataItemState>(4)), (Items{unchanged, deleted, added}));
    EXPECT_EQ(watched.list->getSubChanges(static_cast<DataItemState>(16)), (Items{deleted, added}));
    for (const std::uint64_t kind : {0U, 1U, 2U, 8U, 20U, 28U})
        EXPECT_TRUE(watched.list->getSubChanges(static_cast<DataItemState>(kind)).empty()) << kind;
}

TEST(DataItemList, IsModifiedAsSoonAsOneItemHasPendingChanges)
{
    WatchedList watched;
    for (int i = 0; i < 200; ++i)
        watched.addUnchanged();
    EXPECT_FALSE(watched.list->modified());
    const auto last = watched.list->itemAtIndex(199);
    last->setModified();
    EXPECT_TRUE(watched.list->modified());
    last->rejectChanges();
    EXPECT_FALSE(watched.list->modified());
    last->deleteItem();
    EXPECT_TRUE(watched.list->modified());
}

TEST(DataItemList, IncVersionReturnsTheNewVersion)
{
    const auto list = std::make_shared<DataItemList>();
    EXPECT_EQ(list->incVersion(), 1);
    EXPECT_EQ(list->incVersion(), 2);
    EXPECT_EQ(list->syncVersion(), 2);
}

// Events

TEST(DataItemList, RaisePassesItsArgumentsToTheWatchersOfThatEventAlone)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    const std::int32_t version = watched.list->syncVersion();
    watched.list->raiseItemChanging(item, DataItemAction::Rollback);
    EXPECT_EQ(watched.takeEvents(), Texts{"changing 4/0"});
    watched.list->raiseItemChanged(item, DataItemAction::Delete);
    EXPECT_EQ(watched.takeEvents(), Texts{"changed 1/0"});
    EXPECT_EQ(watched.list->syncVersion(), version);
    watched.list->raiseItemCommited(item, DataItemState::Modified);
    EXPECT_EQ(watched.takeEvents(), Texts{"commited 8/16"});
    EXPECT_EQ(watched.list->syncVersion(), version + 1);
}

TEST(DataItemList, TheVersionIsCountedBeforeTheCommittedWatchersRun)
{
    WatchedList watched;
    std::int32_t seen = -1;
    watched.list->addItemCommitedWatcher([&](const DataItemChangeEventArgs &) { seen = watched.list->syncVersion(); });
    watched.addUnchanged();
    EXPECT_EQ(seen, 1);
}

TEST(DataItemList, WatchersRunInTheOrderInWhichTheyWereAdded)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    std::string order;
    const DataItemList::Watcher a = [&](const DataItemChangeEventArgs &) { order += 'a'; };
    const DataItemList::Watcher b = [&](const DataItemChangeEventArgs &) { order += 'b'; };
    list->addItemChangedWatcher(a);
    list->addItemChangedWatcher(b);
    list->addItemChangedWatcher(a);
    list->addItem(makeSong());
    EXPECT_EQ(order, "aba");
    order.clear();
    list->removeItemChangedWatcher(a);
    list->addItem(makeSong());
    EXPECT_EQ(order, "b");
}

TEST(DataItemList, NullWatchersAreIgnoredAndOnlyTheVeryBlockIsRemoved)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    int calls = 0;
    const auto count = [&](const DataItemChangeEventArgs &) { ++calls; };
    list->addItemChangingWatcher(nullptr);
    list->addItemChangedWatcher(nullptr);
    list->addItemCommitedWatcher(nullptr);
    const DataItemList::Watcher watcher = count;
    list->addItemChangingWatcher(watcher);
    list->removeItemChangingWatcher(nullptr);
    list->removeItemChangingWatcher(count);
    list->addItem(makeSong());
    EXPECT_EQ(calls, 1);
    list->removeItemChangingWatcher(watcher);
    list->addItem(makeSong());
    list->acceptChanges();
    EXPECT_EQ(calls, 1);
}

TEST(DataItemList, AWatcherMayAddAndRemoveWatchersOfItsOwnEvent)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    std::string order;
    DataItemList::Watcher self;
    self = [&](const DataItemChangeEventArgs &) {
        order += '1';
        list->removeItemChangedWatcher(self);
        list->addItemChangedWatcher([&](const DataItemChangeEventArgs &) { order += '2'; });
    };
    list->addItemChangedWatcher(self);
    list->addItem(makeSong());
    EXPECT_EQ(order, "1");
    list->addItem(makeSong());
    EXPECT_EQ(order, "12");
}

TEST(DataItemList, AThrowingWatcherIsLoggedAndTheChangeGoesOn)
{
    const LogCapture log;
    const auto list = std::make_shared<ObservableDataItemList>();
    int calls = 0;
    list->addItemChangingWatcher([](const DataItemChangeEventArgs &) { throw std::runtime_error("view is gone"); });
    list->addItemChangingWatcher([&](const DataItemChangeEventArgs &) { ++calls; });
    EXPECT_NO_THROW(list->addItem(makeSong()));
    EXPECT_EQ(list->count(), 1);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(log.errorLines(), Texts{"a watcher of a data item list threw: view is gone"});
}

TEST(DataItemList, ASubclassMaySeeTheEventsItself)
{
    class Counting : public DataItemList {
    public:
        int changing = 0;
        int changed = 0;
        int commited = 0;

    protected:
        void _onItemChanging(const DataItemChangeEventArgs &) override { ++changing; }
        void _onItemChanged(const DataItemChangeEventArgs &) override { ++changed; }
        void _onItemCommited(const DataItemChangeEventArgs &) override { ++commited; }
    };
    const auto list = std::make_shared<Counting>();
    list->addItem(makeSong());
    list->acceptChanges();
    EXPECT_EQ(list->changing, 2);
    EXPECT_EQ(list->changed, 2);
    EXPECT_EQ(list->commited, 1);
    EXPECT_EQ(list->syncVersion(), 0) << "the version is counted by the event itself";
}
