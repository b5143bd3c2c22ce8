// SPDX-License-Identifier: Apache-2.0
#include "Job.h"

#include <tests/data/Songs.h>

#include <kelvane/common/SyncItemAsyncTask.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kelvane::soak {
namespace {

using testsupport::makeSong;
using testsupport::SongItem;

/// A list of items beside a plain transcription of what it should hold.
class ItemModel {
public:
    ItemModel()
    {
        _list->addItemCommitedWatcher([this](const DataItemChangeEventArgs &) { ++_commits; });
    }

    void step(Turn &turn)
    {
        const int dice = turn.between(0, 99);
        if (dice < 30 || _rows.empty())
            return add("song " + std::to_string(turn.random() % 1000));
        Row &row = _rows[static_cast<std::size_t>(turn.between(0, static_cast<int>(_rows.size()) - 1))];
        if (dice < 60)
            edit(row, "edit " + std::to_string(turn.random() % 1000), dice % 5 != 0);
        else if (dice < 80)
            remove(row);
        else if (dice < 90)
            settleAll(true);
        else
            settleAll(false);
    }

    void compare() const
    {
        const auto items = _list->toArray();
        check(items.size() == _rows.size(), "a list has the items that it was given");
        bool isModified = false;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const Row &row = _rows[i];
            check(items[i] == row.item, "a list keeps the order");
            check(row.item->itemState() == stateOf(row), "an item knows its state");
            const auto &shown = row.current ? row.current : row.committed;
            check(row.item->record()->title == shown, "an item has the record that it was given");
            isModified = isModified || row.isChanged;
        }
        check(_list->modified() == isModified, "a list knows whether it was changed");
        check(_commits == _expectedCommits, "every commit raises its event");
    }

private:
    struct Row {
        std::shared_ptr<SongItem> item;
        std::optional<std::string> committed;
        std::optional<std::string> current;
        bool isChanged = true;
    };

    static DataItemState stateOf(const Row &row)
    {
        if (!row.isChanged)
            return DataItemState::Unchanged;
        return !row.committed ? DataItemState::Added : row.current ? DataItemState::Modified : DataItemState::Deleted;
    }

    void add(const std::string &title)
    {
        _rows.push_back({makeSong(title), std::nullopt, title});
        _list->addItem(_rows.back().item);
    }

    static void edit(Row &row, const std::string &title, bool isKept)
    {
        if (!row.current)
            return;
        const bool isInPlace = !row.committed;
        row.item->beginEdit();
        row.item->record()->title = title;
        if (isKept)
            row.item->endEdit();
        else
            row.item->cancelEdit();
        if (!isKept && !isInPlace)
            return;
        row.current = title;
        row.isChanged = true;
    }

    void remove(const Row &row)
    {
        const auto item = row.item;
        _list->removeItem(item);
        const auto place = std::find_if(_rows.begin(), _rows.end(), [&](const Row &each) { return each.item == item; });
        if (!place->committed) {
            _rows.erase(place);
        } else if (place->current) {
            // Of a modified item the modified record is what is deleted, and what a rollback brings back.
            place->committed = place->current;
            place->current.reset();
            place->isChanged = true;
        }
    }

    void settleAll(bool isAccepted)
    {
        if (isAccepted) {
            _list->acceptChanges();
            _expectedCommits += std::count_if(_rows.begin(), _rows.end(), [](const Row &row) { return row.isChanged; });
            std::erase_if(_rows, [](const Row &row) { return !row.current; });
        } else {
            _list->rejectChanges();
            std::erase_if(_rows, [](const Row &row) { return !row.committed; });
        }
        for (Row &row : _rows) {
            (isAccepted ? row.committed : row.current) = isAccepted ? row.current : row.committed;
            row.isChanged = false;
        }
    }

    const std::shared_ptr<ObservableDataItemList> _list = std::make_shared<ObservableDataItemList>();
    std::vector<Row> _rows;
    std::ptrdiff_t _commits = 0;
    std::ptrdiff_t _expectedCommits = 0;
};

} // namespace

void editItems(Turn &turn)
{
    ItemModel model;
    const int steps = turn.between(300, 1500);
    for (int step = 0; step < steps; ++step) {
        model.step(turn);
        if (step % 50 == 0)
            model.compare();
    }
    model.compare();
}

void commitByTasks(Turn &turn)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    std::atomic<int> commits = 0;
    list->addItemCommitedWatcher([&](const DataItemChangeEventArgs &) { ++commits; });
    std::vector<std::shared_ptr<SyncItemAsyncTask>> tasks;
    std::map<SyncItemAsyncTask *, bool> outcomes;
    const int count = turn.between(20, 200);
    for (int i = 0; i < count; ++i) {
        const auto item = makeSong("song " + std::to_string(i));
        list->addItem(item);
        const bool isGood = !turn.oneIn(4);
        tasks.push_back(std::make_shared<SyncItemAsyncTask>([isGood](AsyncTaskIOS &, const Object &) { return isGood; },
            Object(item), nullptr, Object(), nullptr, item));
        outcomes[tasks.back().get()] = isGood;
        tasks.back()->startTask();
    }
    int good = 0;
    for (const auto &task : tasks) {
        const bool isGood = outcomes.at(task.get());
        check(task->waitDone() == isGood, "an item's task tells its outcome");
        // Who begins to wait while the listeners are told does not wait for them.
        while (!task->isFinished())
            std::this_thread::yield();
        const auto expected = isGood ? DataItemState::Unchanged : DataItemState::Added;
        check(task->dataItem()->itemState() == expected, "an item is committed if its task succeeds");
        good += isGood ? 1 : 0;
    }
    check(commits == good, "every commit raises its event");
}

} // namespace kelvane::soak
