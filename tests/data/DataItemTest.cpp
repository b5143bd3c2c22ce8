// SPDX-License-Identifier: Apache-2.0
#include "Songs.h"

#include <kelvane/foundation/Exception.h>

#include <gtest/gtest.h>

#include <thread>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

const Texts change{"changing 2/0", "changed 2/0"};
const Texts deletion{"changing 1/0", "changed 1/0"};
const Texts rollback{"changing 4/0", "changed 4/0"};

std::string titleOf(const Object &record)
{
    const auto song = record.as<Song>();
    return song ? song->title : "(null)";
}

} // namespace

// Making one

TEST(DataItem, ANewItemHasANewRecordAndNothingElse)
{
    const auto item = std::make_shared<SongItem>();
    EXPECT_EQ(item->itemState(), DataItemState::Detached);
    ASSERT_TRUE(item->currentRecord());
    EXPECT_EQ(titleOf(item->currentRecord()), "untitled");
    EXPECT_EQ(item->currentRecord(), item->currentRecord());
    EXPECT_FALSE(item->oldRecord());
    EXPECT_FALSE(item->tempRecord());
    EXPECT_NE(std::make_shared<SongItem>()->currentRecord(), item->currentRecord());
}

TEST(DataItem, AClassOfItsOwnSuppliesItsRecordsThroughTheHooks)
{
    class PlainItem : public DataItem {
    public:
        RecordClass templeClass() const override
        {
            return [] { return Object::of(std::string("new")); };
        }
        Object copyRecord(const Object &record) const override
        {
            return Object::of(*record.as<std::string>() + " copy");
        }
    };
    const auto list = std::make_shared<DataItemList>();
    const auto item = std::make_shared<PlainItem>();
    list->addItem(item);
    EXPECT_EQ(item->itemState(), DataItemState::Added);
    EXPECT_EQ(*item->record().as<std::string>(), "new");
    item->acceptChanges();
    item->beginEdit();
    EXPECT_EQ(*item->record().as<std::string>(), "new copy");
}

TEST(DataItem, TheBaseClassRaisesAnUnrecognisedOperationForItsAbstractOperations)
{
    const auto item = std::make_shared<DataItem>();
    const auto nameAndReason = [](const auto &operation) {
        try {
            operation();
        } catch (const Exception &exception) {
            return exception.name().str() + ": " + exception.reason().str();
        }
        return std::string("nothing raised");
    };
    EXPECT_TRUE(nameAndReason([&] {
        (void)item->templeClass();
    }).starts_with("UnrecognisedOperationException: templeClass: not supplied by the class of <"));
    EXPECT_TRUE(nameAndReason([&] {
        (void)item->copyRecord(nullptr);
    }).starts_with("UnrecognisedOperationException: copyRecord: not supplied by the class of <"));
}

TEST(DataItem, AnItemWithoutARecordClassRaisesAtFirstUseAndGetsIntoNoList)
{
    WatchedList watched;
    const auto item = std::make_shared<DataItem>();
    EXPECT_EQ(item->itemState(), DataItemState::Detached);
    EXPECT_THROW((void)item->record(), Exception);
    EXPECT_THROW(watched.list->addItem(item), Exception);
    EXPECT_EQ(watched.list->count(), 0);
    EXPECT_TRUE(watched.takeEvents().empty());
    EXPECT_EQ(item->itemState(), DataItemState::Detached);

    const Object record = Object::of(Song{"given"});
    item->setRecord(record);
    EXPECT_EQ(item->record(), record);
    watched.list->addItem(item);
    EXPECT_EQ(item->itemState(), DataItemState::Added);
}

TEST(DataItem, AnItemOnTheStackIsNotAttached)
{
    const auto list = std::make_shared<DataItemList>();
    SongItem item;
    item.attach(list);
    EXPECT_EQ(item.itemState(), DataItemState::Detached);
    item.deleteItem();
    EXPECT_TRUE(item.record());
}

// Owner

TEST(DataItem, AttachSetsTheOwnerWithoutEventAndDetachClearsAllButTheCurrentRecord)
{
    WatchedList watched;
    const auto item = makeSong();
    item->attach(watched.list);
    EXPECT_EQ(item->itemState(), DataItemState::Added);
    EXPECT_EQ(watched.list->count(), 0);

    item->acceptChanges();
    item->beginEdit();
    watched.takeEvents();
    const Object current = item->currentRecord();
    item->detach();
    EXPECT_EQ(item->itemState(), DataItemState::Detached);
    EXPECT_EQ(item->currentRecord(), current);
    EXPECT_FALSE(item->oldRecord());
    EXPECT_FALSE(item->tempRecord());
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItem, AttachToNullLeavesTheOwner)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->attach(nullptr);
    EXPECT_EQ(item->itemState(), DataItemState::Detached);
}

TEST(DataItem, DoesNotKeepItsListAndIsDetachedWithoutIt)
{
    auto list = std::make_shared<DataItemList>();
    const std::weak_ptr<DataItemList> weak = list;
    const auto item = makeSong();
    list->addItem(item);
    list.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(item->itemState(), DataItemState::Detached);
    item->acceptChanges();
    EXPECT_FALSE(item->oldRecord());
}

TEST(DataItem, WithoutAListEveryChangeIsRefusedButTheLeadingEndAndCancelOfAnEdit)
{
    const auto item = makeSong();
    item->beginEdit();
    ASSERT_TRUE(item->tempRecord()) << "a detached item is not in state Added, so that an edit opens";
    const Object current = item->currentRecord();
    item->endEdit();
    EXPECT_TRUE(item->tempRecord());
    item->deleteItem();
    item->setModified();
    item->setAdded();
    item->acceptChanges();
    EXPECT_TRUE(item->tempRecord());
    EXPECT_EQ(item->currentRecord(), current);
    EXPECT_FALSE(item->oldRecord());
    item->rejectChanges();
    EXPECT_FALSE(item->tempRecord());
    EXPECT_EQ(item->currentRecord(), current);
}

TEST(DataItem, WithoutAListTheStateIsDetachedWhateverTheRecords)
{
    const Object a = Object::of(Song{"a"});
    const Object b = Object::of(Song{"b"});
    for (const Object &old : {Object(), a, b}) {
        for (const Object &current : {Object(), a, b}) {
            const auto item = std::make_shared<SongItem>();
            item->setOldRecord(old);
            item->setCurrentRecord(current);
            EXPECT_EQ(item->itemState(), DataItemState::Detached);
            EXPECT_FALSE(item->isItemExists());
            EXPECT_EQ(item->hasChange(), !isSameObject(old, current));
        }
    }
}

// State

struct StateCase {
    const char *name;
    int old;
    int current;
    DataItemState state;
    bool exists;
};

class DataItemStateOf : public testing::TestWithParam<StateCase> {};

TEST_P(DataItemStateOf, ComesFromTheIdentityOfTheRecords)
{
    const Object records[] = {nullptr, Object::of(Song{"same"}), Object::of(Song{"same"})};
    const auto list = std::make_shared<DataItemList>();
    const auto item = std::make_shared<SongItem>();
    item->attach(list);
    item->setOldRecord(records[GetParam().old]);
    item->setCurrentRecord(records[GetParam().current]);
    EXPECT_EQ(item->itemState(), GetParam().state);
    EXPECT_EQ(item->isItemExists(), GetParam().exists);
    EXPECT_EQ(item->hasChange(), GetParam().old != GetParam().current);
}

INSTANTIATE_TEST_SUITE_P(Table, DataItemStateOf,
    testing::Values(StateCase{"BothNull", 0, 0, DataItemState::Detached, false},
        StateCase{"BothTheSame", 1, 1, DataItemState::Unchanged, true},
        StateCase{"NoOldOne", 0, 1, DataItemState::Added, true},
        StateCase{"NoCurrentOne", 1, 0, DataItemState::Deleted, false},
        StateCase{"TwoOfEqualContent", 1, 2, DataItemState::Modified, true}),
    [](const auto &row) { return std::string(row.param.name); });

// Editing

TEST(DataItem, BeginEditOpensAnIndependentCopyOfTheCurrentRecord)
{
    WatchedList watched;
    const auto item = watched.addUnchanged("Blue");
    const Object committed = item->currentRecord();
    item->beginEdit();
    EXPECT_NE(item->tempRecord(), committed);
    item->record()->title = "Red";
    EXPECT_EQ(titleOf(committed), "Blue");
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItem, ASecondBeginEditKeepsTheFirstCopy)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->beginEdit();
    const Object copy = item->tempRecord();
    item->beginEdit();
    EXPECT_EQ(item->tempRecord(), copy);
}

TEST(DataItem, AnAddedItemIsEditedInPlace)
{
    WatchedList watched;
    const auto item = makeSong();
    watched.list->addItem(item);
    watched.takeEvents();
    const Object current = item->currentRecord();
    item->beginEdit();
    EXPECT_FALSE(item->tempRecord());
    item->record()->title = "Red";
    item->endEdit();
    EXPECT_EQ(item->itemState(), DataItemState::Added);
    EXPECT_EQ(item->currentRecord(), current);
    EXPECT_EQ(titleOf(current), "Red");
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItem, BeginEditOfAModifiedItemCopiesTheModifiedRecord)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->setModified();
    item->record()->title = "Red";
    item->beginEdit();
    EXPECT_EQ(titleOf(item->tempRecord()), "Red");
    EXPECT_NE(item->tempRecord(), item->currentRecord());
}

TEST(DataItem, BeginEditOfADeletedItemHasNothingToCopy)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->deleteItem();
    item->beginEdit();
    EXPECT_FALSE(item->tempRecord());
}

TEST(DataItem, EndEditMakesTheCopyCurrentBetweenItsEvents)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    const Object committed = item->currentRecord();
    item->beginEdit();
    const Object copy = item->tempRecord();
    item->endEdit();
    EXPECT_EQ(item->currentRecord(), copy);
    EXPECT_EQ(item->oldRecord(), committed);
    EXPECT_FALSE(item->tempRecord());
    ASSERT_EQ(watched.events.size(), 2U);
    EXPECT_EQ(watched.events[0].item, item);
    EXPECT_EQ(watched.events[0].current, committed);
    EXPECT_EQ(watched.events[1].current, copy);
    EXPECT_EQ(watched.takeEvents(), change);
}

TEST(DataItem, AnEditThatChangesNothingStillModifies)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->beginEdit();
    item->endEdit();
    EXPECT_EQ(item->itemState(), DataItemState::Modified);
    EXPECT_TRUE(item->hasChange());
}

TEST(DataItem, EndEditWithoutOpenEditDoesNothing)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->endEdit();
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItem, EndEditWithoutCurrentRecordDoesNothing)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->beginEdit();
    item->deleteItem();
    watched.takeEvents();
    item->endEdit();
    EXPECT_TRUE(item->tempRecord());
    EXPECT_EQ(item->itemState(), DataItemState::Deleted);
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItem, CancelEditDropsTheCopyWithoutEvent)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->beginEdit();
    item->record()->title = "Red";
    item->cancelEdit();
    EXPECT_FALSE(item->tempRecord());
    EXPECT_EQ(item->record()->title, "Blue");
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_TRUE(watched.takeEvents().empty());
}

// The records

TEST(DataItem, RecordIsTheOpenEditThenTheCurrentThenTheCommittedOne)
{
    const Object temp = Object::of(Song{"temp"});
    const Object current = Object::of(Song{"current"});
    const Object old = Object::of(Song{"old"});
    SongItem item;
    item.setTempRecord(temp);
    item.setCurrentRecord(current);
    item.setOldRecord(old);
    DataItem &plain = item;
    EXPECT_EQ(plain.record(), temp);
    item.setTempRecord(nullptr);
    EXPECT_EQ(plain.record(), current);
    item.setCurrentRecord(nullptr);
    EXPECT_EQ(plain.record(), old);
    EXPECT_EQ(plain.originalRecord(), old);
    item.setOldRecord(nullptr);
    EXPECT_FALSE(plain.record());
}

TEST(DataItem, SetRecordReplacesTheCurrentRecordAndUnderAnOpenEditItsCopyToo)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    const auto red = std::make_shared<Song>(Song{"Red"});
    item->setRecord(red);
    EXPECT_EQ(item->currentRecord().as<Song>(), red);
    EXPECT_FALSE(item->tempRecord());
    EXPECT_EQ(item->itemState(), DataItemState::Modified);

    item->beginEdit();
    const auto green = std::make_shared<Song>(Song{"Green"});
    item->setRecord(green);
    EXPECT_EQ(item->currentRecord().as<Song>(), green);
    EXPECT_EQ(item->tempRecord().as<Song>(), green);
    EXPECT_TRUE(watched.takeEvents().empty());
}

// Deleting and marking

TEST(DataItem, DeleteItemMovesTheCurrentRecordAway)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    const Object record = item->currentRecord();
    item->deleteItem();
    EXPECT_EQ(item->itemState(), DataItemState::Deleted);
    EXPECT_EQ(item->oldRecord(), record);
    EXPECT_FALSE(item->currentRecord());
    EXPECT_EQ(watched.events[0].stateOfItem, DataItemState::Unchanged);
    EXPECT_EQ(watched.events[1].stateOfItem, DataItemState::Deleted);
    EXPECT_EQ(watched.takeEvents(), deletion);
    EXPECT_TRUE(watched.list->contains(item));

    item->deleteItem();
    EXPECT_TRUE(watched.takeEvents().empty()) << "there is no current record left to delete";
}

TEST(DataItem, DeletingAModifiedItemForgetsTheCommittedRecord)
{
    WatchedList watched;
    const auto item = watched.addUnchanged("Blue");
    item->beginEdit();
    item->record()->title = "Red";
    item->endEdit();
    item->deleteItem();
    EXPECT_EQ(titleOf(item->oldRecord()), "Red");
    item->rejectChanges();
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_EQ(item->record()->title, "Red");
}

TEST(DataItem, DeleteItemOfAnAddedItemLeavesItDeleted)
{
    WatchedList watched;
    const auto item = makeSong();
    watched.list->addItem(item);
    item->deleteItem();
    EXPECT_EQ(item->itemState(), DataItemState::Deleted);
}

TEST(DataItem, SetAddedForgetsTheCommitOfAnUnchangedItem)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->setAdded();
    EXPECT_EQ(item->itemState(), DataItemState::Added);
    EXPECT_EQ(watched.events[0].stateOfItem, DataItemState::Unchanged);
    EXPECT_EQ(watched.events[1].stateOfItem, DataItemState::Added);
    EXPECT_EQ(watched.takeEvents(), change);
}

TEST(DataItem, SetModifiedMakesACopyOfTheCommittedRecordCurrent)
{
    WatchedList watched;
    const auto item = watched.addUnchanged("Blue");
    item->setModified();
    EXPECT_EQ(item->itemState(), DataItemState::Modified);
    EXPECT_EQ(titleOf(item->currentRecord()), "Blue");
    EXPECT_EQ(watched.events[0].stateOfItem, DataItemState::Unchanged);
    EXPECT_EQ(watched.events[1].stateOfItem, DataItemState::Modified);
    EXPECT_EQ(watched.takeEvents(), change);
}

TEST(DataItem, SetAddedAndSetModifiedDoNothingInAnyOtherState)
{
    WatchedList watched;
    const auto added = makeSong();
    watched.list->addItem(added);
    const auto deleted = watched.addUnchanged();
    deleted->deleteItem();
    const auto modified = watched.addUnchanged();
    modified->setModified();
    watched.takeEvents();
    const Object record = modified->currentRecord();
    for (const auto &item : {added, deleted, modified}) {
        const DataItemState before = item->itemState();
        item->setAdded();
        item->setModified();
        EXPECT_EQ(item->itemState(), before);
    }
    EXPECT_EQ(modified->currentRecord(), record);
    EXPECT_TRUE(watched.takeEvents().empty());
}

// Committing and rolling back

TEST(DataItem, CommittingAnAddedItemMakesItsRecordTheCommittedOne)
{
    WatchedList watched;
    const auto item = makeSong();
    watched.list->addItem(item);
    watched.takeEvents();
    item->acceptChanges();
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_EQ(item->originalRecord(), item->record());
    ASSERT_EQ(watched.events.size(), 3U);
    EXPECT_EQ(watched.events[0].stateOfItem, DataItemState::Added);
    EXPECT_EQ(watched.events[1].stateOfItem, DataItemState::Unchanged);
    EXPECT_EQ(watched.takeEvents(), (Texts{"changing 8/0", "changed 8/0", "commited 8/4"}));
    EXPECT_EQ(watched.list->syncVersion(), 1);

    item->acceptChanges();
    EXPECT_TRUE(watched.takeEvents().empty());
    EXPECT_EQ(watched.list->syncVersion(), 1);
}

TEST(DataItem, CommittingFoldsAnOpenEditInFirst)
{
    WatchedList watched;
    const auto item = watched.addUnchanged("Blue");
    item->beginEdit();
    item->record()->title = "Red";
    item->acceptChanges();
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_EQ(item->originalRecord()->title, "Red");
    EXPECT_EQ(
        watched.takeEvents(), (Texts{"changing 2/0", "changed 2/0", "changing 8/0", "changed 8/0", "commited 8/16"}));
}

TEST(DataItem, CommittingADeletionLeavesTheListAndStillAnswersTheRecord)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    const auto other = watched.addUnchanged();
    const auto record = item->record();
    const std::int32_t version = watched.list->syncVersion();
    item->deleteItem();
    watched.takeEvents();
    item->acceptChanges();
    EXPECT_EQ(item->record(), record);
    EXPECT_EQ(item->itemState(), DataItemState::Detached);
    EXPECT_FALSE(item->oldRecord());
    EXPECT_FALSE(item->currentRecord());
    EXPECT_EQ(watched.list->toArray(), DataItemList::Items{other});
    EXPECT_EQ(watched.list->syncVersion(), version + 1);
    EXPECT_EQ(watched.takeEvents(), (Texts{"changing 8/0", "changed 8/0", "commited 8/8"}));
    item->setRecord(std::make_shared<Song>());
    EXPECT_EQ(item->itemState(), DataItemState::Added) << "the item has kept its owner";
}

TEST(DataItem, ARecordSetWhileADeletionIsCommittedIsTheOneThatStillAnswers)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->deleteItem();
    const auto late = std::make_shared<Song>(Song{"late"});
    watched.list->addItemChangingWatcher([&](const DataItemChangeEventArgs &) { item->setRecord(late); });
    item->acceptChanges();
    EXPECT_EQ(item->record(), late);
    EXPECT_EQ(watched.list->count(), 0);
}

TEST(DataItem, RollingBackAnAddedItemTakesItOutOfTheList)
{
    WatchedList watched;
    const auto item = makeSong();
    watched.list->addItem(item);
    watched.takeEvents();
    item->rejectChanges();
    EXPECT_EQ(watched.list->count(), 0);
    DataItem &plain = *item;
    EXPECT_FALSE(plain.record());
    EXPECT_EQ(item->itemState(), DataItemState::Detached);
    EXPECT_EQ(watched.events[1].stateOfItem, DataItemState::Added);
    EXPECT_EQ(watched.takeEvents(), rollback);
    item->setRecord(std::make_shared<Song>());
    EXPECT_EQ(item->itemState(), DataItemState::Added) << "the item has kept its owner";
    EXPECT_EQ(watched.list->syncVersion(), 0);
}

TEST(DataItem, RollingBackAModificationOrADeletionBringsTheCommittedRecordBack)
{
    WatchedList watched;
    const auto modified = watched.addUnchanged();
    const auto deleted = watched.addUnchanged();
    for (const auto &item : {modified, deleted}) {
        const auto committed = item->originalRecord();
        if (item == modified)
            item->setModified();
        else
            item->deleteItem();
        watched.takeEvents();
        item->rejectChanges();
        EXPECT_EQ(item->record(), committed);
        EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
        EXPECT_EQ(watched.takeEvents(), rollback);
        item->rejectChanges();
        EXPECT_TRUE(watched.takeEvents().empty());
    }
    EXPECT_EQ(watched.list->count(), 2);
}

TEST(DataItem, RollingBackCancelsAnOpenEditFirst)
{
    WatchedList watched;
    const auto item = watched.addUnchanged();
    item->beginEdit();
    item->rejectChanges();
    EXPECT_FALSE(item->tempRecord());
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_TRUE(watched.takeEvents().empty());
}

TEST(DataItem, AnItemThatOnlyItsListKeptSurvivesItsCommittedDeletion)
{
    WatchedList watched;
    auto item = watched.addUnchanged();
    const std::weak_ptr<SongItem> weak = item;
    SongItem *raw = item.get();
    item.reset();
    raw->deleteItem();
    watched.takeEvents();
    raw->acceptChanges();
    watched.takeEvents();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(watched.list->count(), 0);
}

TEST(DataItem, RecordsMayBeReadWhileAnotherThreadEdits)
{
    const auto list = std::make_shared<DataItemList>();
    const auto item = std::make_shared<SongItem>();
    item->attach(list);
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) {
            (void)item->itemState();
            EXPECT_TRUE(item->record());
        }
    });
    for (int i = 0; i < 2000; ++i) {
        item->acceptChanges();
        item->beginEdit();
        item->endEdit();
    }
    done = true;
    reader.join();
}

TEST(DataItem, ThreadsThatAskFirstGetOneAndTheSameRecord)
{
    for (int round = 0; round < 200; ++round) {
        const auto item = std::make_shared<SongItem>();
        Object seen;
        std::thread other([&] { seen = item->currentRecord(); });
        const Object mine = item->currentRecord();
        other.join();
        EXPECT_EQ(seen, mine);
    }
}
