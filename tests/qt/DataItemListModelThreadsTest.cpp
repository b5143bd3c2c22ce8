// SPDX-License-Identifier: Apache-2.0
#include "SongModel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

using namespace kelvane;
using namespace kelvane::qt;
using namespace kelvane::testsupport;

namespace {

using Random = std::mt19937;

std::size_t below(Random &random, std::size_t limit)
{
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

/// Halves of a title that belong together: a view that shows two different ones has seen a record in between.
void retitle(Song &song, unsigned number)
{
    song.title = std::to_string(number) + "|";
    song.title += std::to_string(number);
}

bool isWhole(const std::string &title)
{
    const auto bar = title.find('|');
    return bar == std::string::npos || title.substr(0, bar) == title.substr(bar + 1);
}

/// Somebody who changes a list at random, through items of its own.
class Changer {
public:
    Changer(std::shared_ptr<FollowedDataItemList> list, unsigned seed) : _list(std::move(list)), _random(seed) {}

    void changeSomething()
    {
        const std::size_t what = below(_random, 12);
        // Few enough that Qt's tester, which looks at all rows at each change, does not take all of the time.
        if (_items.empty() || (what < 4 && _items.size() < 40))
            return add();
        const std::size_t which = below(_random, _items.size());
        const auto item = _items[which];
        if (!_list->contains(item))
            return drop(which);
        switch (what) {
        case 4:
            return item->acceptChanges();
        case 5:
            return item->rejectChanges();
        case 6:
            return _list->removeItem(item);
        case 7:
            _list->listRemove(item);
            return drop(which);
        case 8:
            if (!item->isItemExists())
                return drop(which);
            _list->listRemove(item);
            return _list->insertItem(item, index());
        case 9:
            item->beginEdit();
            if (item->tempRecord())
                retitle(*item->record(), _number++);
            return item->cancelEdit();
        default:
            return edit(*item, item);
        }
    }

private:
    std::int32_t index() { return static_cast<std::int32_t>(below(_random, 100)); }
    void add()
    {
        const auto item = makeSong();
        retitle(*item->record(), _number++);
        const std::size_t how = below(_random, 3);
        if (how == 0)
            _list->listAdd(item);
        else if (how == 1)
            _list->insertItem(item, index());
        else
            _list->addItem(item);
        _items.push_back(item);
    }
    void edit(SongItem &song, const DataItemList::Item &item)
    {
        if (song.itemState() != DataItemState::Added) {
            song.beginEdit();
            if (song.tempRecord())
                retitle(*song.record(), _number++);
            return song.endEdit();
        }
        // In place, as items are edited that were never committed.
        _list->raiseItemChanging(item, DataItemAction::Change);
        retitle(*song.record(), _number++);
        _list->raiseItemChanged(item, DataItemAction::Change);
    }
    void drop(std::size_t which)
    {
        _items[which] = _items.back();
        _items.pop_back();
    }

    const std::shared_ptr<FollowedDataItemList> _list;
    Random _random;
    std::vector<std::shared_ptr<SongItem>> _items;
    unsigned _number = 0;
};

void expectEqual(SongModel<> &songs)
{
    QCoreApplication::processEvents();
    const DataItemList::Items items = songs.list->toArray();
    ASSERT_EQ(songs.model.rowCount(), static_cast<int>(items.size()));
    for (int row = 0; row < songs.model.rowCount(); ++row) {
        const auto item = std::dynamic_pointer_cast<SongItem>(items[static_cast<std::size_t>(row)]);
        ASSERT_EQ(songs.model.itemAt(row), item);
        ASSERT_EQ(songs.model.stateAt(row), item->itemState());
        const Object record = item->currentRecord() ? item->currentRecord() : item->oldRecord();
        ASSERT_EQ(songs.model.index(row, 0).data().toString().toStdString(), record.as<Song>()->title);
    }
}

void expectWhole(const SongModel<> &songs)
{
    for (int row = 0; row < songs.model.rowCount(); ++row)
        ASSERT_TRUE(isWhole(songs.model.index(row, 0).data().toString().toStdString()));
}

} // namespace

TEST(DataItemListModelThreads, ModelAndListAreEqualAfterEveryChangeOnItsOwnThread)
{
    SongModel songs;
    Changer changer(songs.list, 3);
    Random random(4); // NOLINT(bugprone-random-generator-seed): the same changes each time
    for (int round = 0; round < 4000; ++round) {
        const std::size_t what = below(random, 200);
        if (what == 0)
            songs.list->acceptChanges();
        else if (what == 1)
            songs.list->rejectChanges();
        else if (what == 2)
            songs.list->clear();
        else
            changer.changeSomething();
        if (what % 4 != 0)
            continue;
        ASSERT_NO_FATAL_FAILURE(expectEqual(songs));
    }
    ASSERT_NO_FATAL_FAILURE(expectEqual(songs));
}

TEST(DataItemListModelThreads, ModelAndListAreEqualAfterChangesFromThreeThreads)
{
    constexpr int rounds = 2000;
    SongModel songs;
    std::atomic<int> running{2};
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < 2; ++number) {
        threads.emplace_back([&, number] {
            Changer changer(songs.list, number);
            for (int round = 0; round < rounds; ++round)
                changer.changeSomething();
            --running;
        });
    }
    Changer own(songs.list, 99);
    for (int round = 0; round < rounds || running > 0; ++round) {
        if (round < rounds)
            own.changeSomething();
        QCoreApplication::processEvents();
        if (round % 16 == 0)
            expectWhole(songs);
    }
    for (std::thread &thread : threads)
        thread.join();
    ASSERT_NO_FATAL_FAILURE(expectEqual(songs));
    EXPECT_GT(songs.model.rowCount(), 0);
}

// Each value is one more than the last: a model that took events out of order would go back.
TEST(DataItemListModelThreads, EventsOfAnotherThreadComeInOrder)
{
    SongModel songs;
    const auto item = songs.addUnchanged("0");
    QCoreApplication::processEvents();
    std::vector<int> shown;
    QObject::connect(&songs.model, &QAbstractItemModel::dataChanged,
        [&] { shown.push_back(songs.model.index(0, 0).data().toInt()); });
    std::atomic<bool> isDone{false};
    std::thread other([&] {
        for (int number = 1; number <= 2000; ++number) {
            item->beginEdit();
            item->record()->title = std::to_string(number);
            item->endEdit();
        }
        isDone = true;
    });
    while (!isDone)
        QCoreApplication::processEvents();
    other.join();
    QCoreApplication::processEvents();
    ASSERT_FALSE(shown.empty());
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
    EXPECT_EQ(shown.back(), 2000);
}

TEST(DataItemListModelThreads, TheModelMayGoWhileOthersChangeTheList)
{
    const auto list = std::make_shared<FollowedDataItemList>();
    std::atomic<bool> isOver{false};
    std::thread other([&] {
        Changer changer(list, 5);
        while (!isOver)
            changer.changeSomething();
    });
    for (int round = 0; round < 100; ++round) {
        const DataItemListModel model(list, {}); // without fields: the records there are just being changed
        QCoreApplication::processEvents();
    }
    isOver = true;
    other.join();
    QCoreApplication::processEvents();
}
