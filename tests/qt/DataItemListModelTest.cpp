// SPDX-License-Identifier: Apache-2.0
#include "SongModel.h"
#include "tests/support/LogCapture.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

#include <thread>

using namespace kelvane;
using namespace kelvane::qt;
using namespace kelvane::testsupport;

namespace {

DataItemState stateShown(const DataItemListModel &model, int row)
{
    return static_cast<DataItemState>(model.index(row, 0).data(DataItemListModel::StateRole).toULongLong());
}

} // namespace

TEST(DataItemListModel, ShowsTheItemsThatAreThereWhenItIsMade)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    list->listAdd(makeSong("Blue"));
    list->addItem(makeSong("Hejira"));
    const SongModel songs(list);
    EXPECT_EQ(songs.titles(), "Blue Hejira");
    EXPECT_EQ(songs.model.index(1, 1).data().toInt(), 6);
}

TEST(DataItemListModel, GivesEachFieldAColumnARoleAndATitle)
{
    SongModel songs;
    songs.add("Blue");
    EXPECT_EQ(songs.shown(), "Blue");
    const QHash<int, QByteArray> names = songs.model.roleNames();
    EXPECT_EQ(names.value(DataItemListModel::StateRole), "state");
    EXPECT_EQ(names.value(DataItemListModel::FirstFieldRole), "title");
    EXPECT_EQ(names.value(DataItemListModel::FirstFieldRole + 1), "length");
    EXPECT_EQ(songs.model.index(0, 1).data(DataItemListModel::FirstFieldRole).toString(), "Blue");
    EXPECT_EQ(songs.model.index(0, 0).data(DataItemListModel::FirstFieldRole + 1).toInt(), 4);
    EXPECT_FALSE(songs.model.index(0, 0).data(DataItemListModel::FirstFieldRole + 2).isValid());
    EXPECT_FALSE(songs.model.index(0, 0).data(Qt::DecorationRole).isValid());
    EXPECT_EQ(songs.model.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), "Length");
    EXPECT_EQ(songs.model.headerData(0, Qt::Vertical, Qt::DisplayRole).toInt(), 1);
}

TEST(DataItemListModel, FollowsInsertionsToTheirPlace)
{
    SongModel songs;
    songs.add("b");
    songs.add("d");
    EXPECT_EQ(songs.shown(), "b d");
    const QSignalSpy inserted(&songs.model, &QAbstractItemModel::rowsInserted);
    songs.list->insertItem(makeSong("a"), 0);
    songs.list->insertItem(makeSong("c"), 2);
    EXPECT_EQ(songs.shown(), "a b c d");
    ASSERT_EQ(inserted.size(), 2);
    EXPECT_EQ(inserted[0][1].toInt(), 0);
    EXPECT_EQ(inserted[1][1].toInt(), 2);
    EXPECT_EQ(inserted[1][2].toInt(), 2);
}

TEST(DataItemListModel, TakesAllNewsOfOneTurnOfTheEventLoopAtOnce)
{
    SongModel songs;
    const QSignalSpy inserted(&songs.model, &QAbstractItemModel::rowsInserted);
    for (int number = 0; number < 1000; ++number)
        songs.add(std::to_string(number));
    EXPECT_EQ(songs.model.rowCount(), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(songs.model.rowCount(), 1000);
    EXPECT_EQ(inserted.size(), 1);
}

TEST(DataItemListModel, ShowsAnEditOnceItHasEnded)
{
    SongModel songs;
    const auto item = songs.addUnchanged("Blue");
    EXPECT_EQ(songs.shown(), "Blue");
    const QSignalSpy changed(&songs.model, &QAbstractItemModel::dataChanged);
    item->beginEdit();
    item->record()->title = "Hejira";
    songs.model.synchronise();
    EXPECT_EQ(songs.shown(), "Blue");
    EXPECT_EQ(changed.size(), 0);
    item->endEdit();
    EXPECT_EQ(songs.shown(), "Hejira");
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex(), songs.model.index(0, 0));
    EXPECT_EQ(changed[0][1].toModelIndex(), songs.model.index(0, 1));
    EXPECT_EQ(stateShown(songs.model, 0), DataItemState::Modified);
}

TEST(DataItemListModel, TellsOfNeighbouringChangesInOneSignal)
{
    SongModel songs;
    for (const char *title : {"a", "b", "c", "d"})
        songs.add(title);
    EXPECT_EQ(songs.shown(), "a b c d");
    const QSignalSpy changed(&songs.model, &QAbstractItemModel::dataChanged);
    for (const int row : {3, 0, 1})
        songs.list->itemAtIndex(row)->acceptChanges();
    QCoreApplication::processEvents();
    ASSERT_EQ(changed.size(), 2);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 0);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 1);
    EXPECT_EQ(changed[1][0].toModelIndex().row(), 3);
}

TEST(DataItemListModel, IsEqualToTheListAfterACommit)
{
    SongModel songs;
    const auto stays = songs.addUnchanged("stays");
    const auto goes = songs.addUnchanged("goes");
    songs.add("new");
    songs.list->removeItem(goes);
    EXPECT_EQ(songs.shown(), "stays goes new");
    EXPECT_EQ(stateShown(songs.model, 1), DataItemState::Deleted);
    songs.list->acceptChanges();
    EXPECT_EQ(songs.shown(), "stays new");
    EXPECT_EQ(stateShown(songs.model, 0), DataItemState::Unchanged);
    EXPECT_EQ(stateShown(songs.model, 1), DataItemState::Unchanged);
}

TEST(DataItemListModel, IsEqualToTheListAfterARollback)
{
    SongModel songs;
    const auto item = songs.addUnchanged("Blue");
    const auto deleted = songs.addUnchanged("Court");
    songs.add("new");
    EXPECT_TRUE(songs.shown() == "Blue Court new");
    EXPECT_TRUE(songs.model.setData(songs.model.index(0, 0), "Hejira"));
    songs.list->removeItem(deleted);
    EXPECT_EQ(songs.shown(), "Hejira Court new");
    songs.list->rejectChanges();
    EXPECT_EQ(songs.shown(), "Blue Court");
    EXPECT_EQ(stateShown(songs.model, 0), DataItemState::Unchanged);
    EXPECT_EQ(stateShown(songs.model, 1), DataItemState::Unchanged);
}

// A plain list takes these items out behind the last event about them.
TEST(DataItemListModel, LetsAnItemGoWithItsLastEventBeforeTheListDoes)
{
    SongModel songs(std::make_shared<ObservableDataItemList>());
    const auto deleted = songs.addUnchanged("deleted");
    const auto added = songs.add("added");
    songs.list->removeItem(deleted);
    EXPECT_EQ(songs.shown(), "deleted added");
    std::vector<std::string> seen;
    songs.list->addItemCommitedWatcher([&](const DataItemChangeEventArgs &) { seen.push_back(songs.shown()); });
    songs.list->addItemChangedWatcher([&](const DataItemChangeEventArgs &args) {
        if (args.action() == DataItemAction::Rollback)
            seen.push_back(songs.shown() + "|" + std::to_string(songs.list->count()));
    });
    deleted->acceptChanges();
    EXPECT_EQ(seen, std::vector<std::string>{"added"});
    added->rejectChanges();
    EXPECT_EQ(seen.back(), "|1");
    EXPECT_EQ(songs.list->count(), 0);
    EXPECT_EQ(songs.shown(), "");
    songs.list->addItem(deleted);
    EXPECT_EQ(songs.model.rowCount(), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(songs.model.rowCount(), 1);
}

TEST(DataItemListModel, HearsFromAFollowedListOfWhatNoEventTells)
{
    SongModel songs;
    const auto item = songs.add("a");
    songs.list->listAdd(makeSong("b"));
    songs.list->listAdd(makeSong("c"));
    EXPECT_EQ(songs.shown(), "a b c");
    songs.list->removeItem(item);
    EXPECT_EQ(songs.shown(), "b c");
    songs.list->listRemoveAt(1);
    EXPECT_EQ(songs.shown(), "b");
    songs.list->listClear();
    EXPECT_EQ(songs.shown(), "");
    songs.list->listAdd(nullptr);
    EXPECT_EQ(songs.shown(), "");
}

TEST(DataItemListModel, HearsOfAQuietChangeOfAnyOtherListWithTheNextLoudOneOrWhenAsked)
{
    SongModel songs(std::make_shared<ObservableDataItemList>());
    const auto item = songs.add("a");
    songs.add("b");
    EXPECT_EQ(songs.shown(), "a b");
    songs.list->removeItem(item);
    EXPECT_EQ(songs.shown(), "a b");
    songs.add("c");
    EXPECT_EQ(songs.shown(), "b c");
    songs.list->listAdd(makeSong("quiet"));
    EXPECT_EQ(songs.shown(), "b c");
    songs.model.synchronise();
    EXPECT_EQ(songs.titles(), "b c quiet");
}

TEST(DataItemListModel, ShowsAListWithoutWatchersWhenAsked)
{
    SongModel songs(std::make_shared<DataItemList>());
    songs.add("a");
    EXPECT_EQ(songs.shown(), "");
    songs.model.synchronise();
    EXPECT_EQ(songs.titles(), "a");
}

TEST(DataItemListModel, TakesAnItemThatChangesItsPlaceOutAndPutsItIn)
{
    SongModel songs;
    const auto item = songs.add("a");
    songs.add("b");
    songs.add("c");
    EXPECT_EQ(songs.shown(), "a b c");
    const QSignalSpy removed(&songs.model, &QAbstractItemModel::rowsRemoved);
    const QPersistentModelIndex kept = songs.model.index(1, 0);
    songs.list->listRemove(item);
    songs.list->addItem(item);
    EXPECT_EQ(songs.shown(), "b c a");
    EXPECT_EQ(removed.size(), 1);
    EXPECT_EQ(kept.row(), 0);
}

TEST(DataItemListModel, ShowsAnItemThatIsInTheListTwiceTwice)
{
    SongModel songs;
    const auto item = songs.add("a");
    songs.add("b");
    songs.list->listAdd(item);
    EXPECT_EQ(songs.shown(), "a b a");
    songs.list->listRemove(item);
    EXPECT_EQ(songs.shown(), "b");
}

// Editing

TEST(DataItemListModel, EditsThroughTheChangeTracking)
{
    SongModel songs;
    const auto item = songs.addUnchanged("Blue");
    QCoreApplication::processEvents();
    const auto committed = item->originalRecord();
    EXPECT_TRUE(songs.model.setData(songs.model.index(0, 0), "Hejira"));
    EXPECT_EQ(songs.titles(), "Hejira") << "before the event loop runs";
    EXPECT_EQ(item->itemState(), DataItemState::Modified);
    EXPECT_EQ(item->originalRecord(), committed);
    EXPECT_EQ(committed->title, "Blue");
    EXPECT_TRUE(songs.model.setData(songs.model.index(0, 0), "Court", DataItemListModel::FirstFieldRole));
    item->rejectChanges();
    EXPECT_EQ(songs.shown(), "Blue");
}

TEST(DataItemListModel, EditsAnAddedItemBetweenChangingAndChanged)
{
    SongModel songs;
    const auto item = songs.add("Blue");
    QCoreApplication::processEvents();
    std::string events;
    songs.list->addItemChangingWatcher([&](const DataItemChangeEventArgs &) { events += item->record()->title + " "; });
    songs.list->addItemChangedWatcher([&](const DataItemChangeEventArgs &) { events += item->record()->title; });
    EXPECT_TRUE(songs.model.setData(songs.model.index(0, 0), "Hejira"));
    EXPECT_EQ(events, "Blue Hejira");
    EXPECT_EQ(item->itemState(), DataItemState::Added);
    EXPECT_EQ(songs.titles(), "Hejira");
}

TEST(DataItemListModel, ChangesNothingForTheValueThatIsShown)
{
    SongModel songs;
    const auto item = songs.addUnchanged("Blue");
    QCoreApplication::processEvents();
    EXPECT_TRUE(songs.model.setData(songs.model.index(0, 0), "Blue"));
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
}

TEST(DataItemListModel, RefusesWhatCannotBeWritten)
{
    SongModel songs;
    const auto item = songs.addUnchanged("Blue");
    QCoreApplication::processEvents();
    const DataItemListModel &model = songs.model;
    EXPECT_FALSE(songs.model.setData(model.index(0, 1), 5)) << "no write";
    EXPECT_FALSE(songs.model.setData(model.index(0, 0), "forbidden")) << "the field refuses";
    EXPECT_FALSE(songs.model.setData(QModelIndex(), "Hejira"));
    EXPECT_FALSE(songs.model.setData(model.index(0, 0), "Hejira", Qt::DecorationRole));
    EXPECT_EQ(item->itemState(), DataItemState::Unchanged);
    EXPECT_TRUE(model.flags(model.index(0, 0)) & Qt::ItemIsEditable);
    EXPECT_FALSE(model.flags(model.index(0, 1)) & Qt::ItemIsEditable);

    item->beginEdit();
    EXPECT_FALSE(songs.model.setData(model.index(0, 0), "Hejira")) << "somebody else is editing";
    item->cancelEdit();
    item->deleteItem();
    QCoreApplication::processEvents();
    EXPECT_FALSE(model.flags(model.index(0, 0)) & Qt::ItemIsEditable);
    EXPECT_FALSE(songs.model.setData(model.index(0, 0), "Hejira"));
    EXPECT_EQ(songs.shown(), "Blue");
}

TEST(DataItemListModel, TakesAFieldThatThrowsForOneWithoutValue)
{
    LogCapture log;
    const auto list = std::make_shared<FollowedDataItemList>();
    const auto item = makeSong("Blue");
    list->addItem(item);
    DataItemListModel model(list,
        {ItemField::of<Song>(
            "title", "Title", [](const Song &) -> QString { throw std::runtime_error("unreadable"); },
            [](Song &, const QVariant &) -> bool { throw std::runtime_error("unwritable"); })});
    EXPECT_FALSE(model.index(0, 0).data().isValid());
    EXPECT_FALSE(model.setData(model.index(0, 0), "Hejira"));
    EXPECT_EQ(item->record()->title, "Blue");
    EXPECT_THAT(log.errorLines(), ::testing::Contains("field \"title\": unreadable"));
    EXPECT_THAT(log.errorLines(), ::testing::Contains("field \"title\": unwritable"));
}

// Slots that do what they please

TEST(DataItemListModel, PutsOffWhatASlotAsksForUntilTheRowsAreWhole)
{
    SongModel songs;
    songs.add("a");
    int depth = 0;
    int deepest = 0;
    QObject::connect(&songs.model, &QAbstractItemModel::rowsInserted, [&] {
        deepest = std::max(deepest, ++depth);
        if (songs.list->count() < 4)
            songs.add("more");
        songs.model.synchronise();
        QCoreApplication::processEvents();
        --depth;
    });
    QCoreApplication::processEvents();
    EXPECT_EQ(songs.titles(), "a more more more");
    EXPECT_EQ(deepest, 1);
}

// Lifetimes

TEST(DataItemListModel, FollowsAListThatNobodyElseKeeps)
{
    SongModel songs;
    const auto item = songs.addUnchanged("Blue");
    const std::weak_ptr<DataItemList> list = songs.list;
    songs.list = nullptr;
    item->beginEdit();
    item->record()->title = "Hejira";
    item->endEdit();
    EXPECT_EQ(songs.shown(), "Hejira");
    EXPECT_FALSE(list.expired());
}

TEST(DataItemListModel, LetsItsListGo)
{
    std::weak_ptr<DataItemList> list;
    std::weak_ptr<SongItem> item;
    {
        SongModel songs;
        list = songs.list;
        item = songs.add("Blue");
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(list.expired());
    EXPECT_TRUE(item.expired());
}

TEST(DataItemListModel, LeavesNothingBehindInAListThatGoesOn)
{
    const auto list = std::make_shared<FollowedDataItemList>();
    const auto item = makeSong("Blue");
    {
        const DataItemListModel model(list, songFields());
        list->addItem(item); // never read
    }
    item->acceptChanges();
    list->removeItem(item);
    QCoreApplication::processEvents();
    EXPECT_EQ(item.use_count(), 2) << "here and in the list";
}

TEST(DataItemListModel, ShowsAnEmptyListWithoutOne)
{
    const DataItemListModel model(nullptr, songFields());
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.columnCount(), 2);
    EXPECT_EQ(model.itemAt(0), nullptr);
    EXPECT_EQ(model.rowOf(nullptr), -1);
    EXPECT_EQ(model.stateAt(0), DataItemState{});
}

TEST(DataItemListModel, FindsItemsByRowAndRowsByItem)
{
    SongModel songs;
    const auto first = songs.add("a");
    const auto second = songs.add("b");
    QCoreApplication::processEvents();
    EXPECT_EQ(songs.model.itemAt(1), second);
    EXPECT_EQ(songs.model.rowOf(second), 1);
    songs.list->insertItem(makeSong("front"), 0);
    EXPECT_EQ(songs.model.rowOf(second), 1) << "as long as the rows are what they are";
    EXPECT_EQ(songs.model.rowOf(makeSong("x")), -1);
    EXPECT_EQ(songs.model.rowOf(nullptr), -1);
}
