// SPDX-License-Identifier: Apache-2.0
//
// What a step on one item of a watched list costs, beside the list models of others, in lists of 10^4, 10^5 and 10^6
// items. Everybody's events are raised and listened to. Ours keeps, besides, the state of each item and what was
// deleted, until it is committed.
//   append           at the end, one after the other
//   front, middle    inserted at index 0, at half of the count
//   find and delete  items in random order: found by identity, deleted (ours: and committed)
//   delete all       all items at once (ours: and committed)
//   peak memory      of a list of 10^6 items and the items
// What grows with the size is the way to memory: an item in random order is in no cache. A std::list whose places a
// std::unordered_map knows shows how much.
// Peers find by looking through the list; what takes them long is done for a sample of the items.
#include "support/Contest.h"

#include <kelvane/data/ObservableDataItemList.h>
#include <kelvane/data/TypedDataItem.h>

#include <algorithm>
#include <cstdint>
#include <gio/gio.h>
#include <list>
#include <memory>
#include <QStandardItemModel>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

using namespace kelvane;
using namespace kelvane::bench;

namespace {

enum class Place { end, front, middle };

int indexFor(Place place, int count)
{
    return place == Place::end ? count : place == Place::front ? 0 : count / 2;
}

/// The order in which items are looked for.
std::vector<int> sample(int count, int size)
{
    std::vector<int> indexes(static_cast<std::size_t>(count));
    std::generate(indexes.begin(), indexes.end(), [index = 0]() mutable { return index++; });
    std::shuffle(indexes.begin(), indexes.end(), std::mt19937(1));
    indexes.resize(static_cast<std::size_t>(std::min(count, size)));
    return indexes;
}

std::uint64_t events = 0;

// Each list has: Item, makeItems(count), insert(item, index), remove(item) which finds it, removeAll(), count().

struct Song {
    std::int64_t identifier = 0;
};

class OurList {
public:
    using Item = std::shared_ptr<TypedDataItem<Song>>;

    OurList()
    {
        const DataItemList::Watcher watcher = [](const DataItemChangeEventArgs &) { ++events; };
        _list->addItemChangingWatcher(watcher);
        _list->addItemChangedWatcher(watcher);
        _list->addItemCommitedWatcher(watcher);
    }
    static std::vector<Item> makeItems(int count)
    {
        std::vector<Item> items(static_cast<std::size_t>(count));
        std::generate(items.begin(), items.end(), [] {
            auto item = std::make_shared<TypedDataItem<Song>>();
            (void)item->record();
            return item;
        });
        return items;
    }
    void insert(const Item &item, int index) { _list->insertItem(item, index); }
    void append(const Item &item) { _list->addItem(item); }
    void settle() { _list->acceptChanges(); }
    static void remove(const Item &item)
    {
        item->deleteItem();
        item->acceptChanges();
    }
    void removeAll()
    {
        _list->clear();
        _list->acceptChanges();
    }
    [[nodiscard]] int count() const { return static_cast<int>(_list->count()); }

private:
    std::shared_ptr<ObservableDataItemList> _list = std::make_shared<ObservableDataItemList>();
};

class QtList {
public:
    using Item = QStandardItem *;

    QtList()
    {
        QObject::connect(&_model, &QAbstractItemModel::rowsAboutToBeInserted, [] { ++events; });
        QObject::connect(&_model, &QAbstractItemModel::rowsInserted, [] { ++events; });
        QObject::connect(&_model, &QAbstractItemModel::rowsRemoved, [] { ++events; });
    }
    static std::vector<Item> makeItems(int count)
    {
        std::vector<Item> items(static_cast<std::size_t>(count));
        std::generate(items.begin(), items.end(), [] { return new QStandardItem; });
        return items;
    }
    void insert(Item item, int index) { _model.insertRow(index, item); }
    void append(Item item) { _model.appendRow(item); }
    static void settle() {}
    void remove(Item item)
    {
        int row = 0;
        while (_model.item(row) != item)
            ++row;
        _model.removeRow(row);
    }
    void removeAll() { _model.removeRows(0, _model.rowCount()); }
    [[nodiscard]] int count() const { return _model.rowCount(); }

private:
    QStandardItemModel _model;
};

class GlibList {
public:
    using Item = GObject *;

    GlibList()
    {
        g_signal_connect(_store, "items-changed",
            G_CALLBACK(+[](GListModel *, guint, guint, guint, gpointer) { ++events; }), nullptr);
    }
    ~GlibList() { g_object_unref(_store); }
    GlibList(const GlibList &) = delete;
    GlibList &operator=(const GlibList &) = delete;
    static std::vector<Item> makeItems(int count)
    {
        std::vector<Item> items(static_cast<std::size_t>(count));
        std::generate(
            items.begin(), items.end(), [] { return static_cast<GObject *>(g_object_new(G_TYPE_OBJECT, nullptr)); });
        return items;
    }
    void insert(Item item, int index) { g_list_store_insert(_store, static_cast<guint>(index), item); }
    void append(Item item) { g_list_store_append(_store, item); }
    static void settle() {}
    void remove(Item item)
    {
        guint position = 0;
        require(g_list_store_find(_store, item, &position) != 0, "finding an item");
        g_list_store_remove(_store, position);
    }
    void removeAll() { g_list_store_remove_all(_store); }
    [[nodiscard]] int count() const { return static_cast<int>(g_list_model_get_n_items(G_LIST_MODEL(_store))); }

private:
    GListStore *_store = g_list_store_new(G_TYPE_OBJECT);
};

template <class List>
double insertAll(Place place, int count)
{
    List list;
    const auto items = List::makeItems(count);
    const std::uint64_t before = events;
    const double time = seconds([&] {
        int size = 0;
        for (const auto &item : items) {
            if (place == Place::end)
                list.append(item);
            else
                list.insert(item, indexFor(place, size++));
        }
    });
    require(list.count() == count && events - before >= items.size(), "a filled list and its events");
    return time / count;
}

template <class List>
double findAndDelete(int count, int sampleSize)
{
    List list;
    const auto items = List::makeItems(count);
    for (const auto &item : items)
        list.append(item);
    list.settle();
    const auto chosen = sample(count, sampleSize);
    const double time = seconds([&] {
        for (const int index : chosen)
            list.remove(items[static_cast<std::size_t>(index)]);
    });
    require(list.count() == count - static_cast<int>(chosen.size()), "a list without the deleted items");
    return time / static_cast<double>(chosen.size());
}

/// The least that finding and deleting can take: a constant number of steps, and no events.
double findAndDeleteInTable(int count)
{
    const auto items = OurList::makeItems(count);
    std::list<OurList::Item> list(items.begin(), items.end());
    std::unordered_map<const void *, std::list<OurList::Item>::iterator> places;
    for (auto place = list.begin(); place != list.end(); ++place)
        places.emplace(place->get(), place);
    const auto chosen = sample(count, count);
    const double time = seconds([&] {
        for (const int index : chosen) {
            const auto found = places.find(items[static_cast<std::size_t>(index)].get());
            list.erase(found->second);
            places.erase(found);
        }
    });
    require(list.empty(), "a list without items");
    return time / count;
}

/// Reads as much memory as so many of our items have, one cache line after the other, and nothing else.
double readMemoryOf(int count)
{
    constexpr std::size_t bytesPerItem = 258; // as the rows of peak memory say
    constexpr std::size_t line = 64;
    std::vector<unsigned char> bytes(bytesPerItem * static_cast<std::size_t>(count), 1);
    unsigned sum = 0;
    const double time = seconds([&] {
        for (std::size_t place = 0; place < bytes.size(); place += line)
            sum += bytes[place];
    });
    require(sum > 0, "memory that was read");
    return time / count;
}

template <class List>
void keep(int count)
{
    auto *list = new List;
    for (auto &item : List::makeItems(count))
        list->append(item);
    require(list->count() == count, "a filled list");
}

template <class List>
double deleteAll(int count)
{
    List list;
    const auto items = List::makeItems(count);
    for (const auto &item : items)
        list.append(item);
    list.settle();
    const double time = seconds([&] { list.removeAll(); });
    require(list.count() == 0, "an empty list");
    return time / count;
}

void compare(int count)
{
    const std::string size = ", " + std::to_string(count) + " items";
    const Unit unit{"ns/item", 1e9};
    const int all = count;
    const int some = 2'000'000 / count; // what a linear search lets a peer do in a second or so

    const auto inserts = [&](const char *name, Place place, double target) {
        Contest("list", name + size, unit)
            .ours([=] { return insertAll<OurList>(place, count); })
            .peer("QStandardItemModel", target, [=] { return insertAll<QtList>(place, count); })
            .peer("GListStore", 0, [=] { return insertAll<GlibList>(place, count); })
            .run();
    };
    inserts("append", Place::end, 2);
    // A vector moves its whole tail for each of these: minutes at 10^6.
    if (count <= 100'000) {
        inserts("insert in front", Place::front, 0);
        inserts("insert in the middle", Place::middle, 0);
    }
    Contest("list", "find and delete" + size, unit)
        .ours([=] { return findAndDelete<OurList>(count, all); })
        .peer("QStandardItemModel", count == 100'000 ? 0.01 : 0, [=] { return findAndDelete<QtList>(count, some); })
        .peer("GListStore", count == 100'000 ? 0.01 : 0, [=] { return findAndDelete<GlibList>(count, some); })
        .peer("std::list and std::unordered_map", 0, [=] { return findAndDeleteInTable(count); })
        .run();
    Contest("list", "delete all" + size, unit)
        .ours([=] { return deleteAll<OurList>(count); })
        .peer("QStandardItemModel", 0, [=] { return deleteAll<QtList>(count); })
        .peer("GListStore", 0, [=] { return deleteAll<GlibList>(count); })
        .run();
}

} // namespace

int main()
{
    const std::vector<int> sizes{10'000, 100'000, 1'000'000};
    // Before this process has memory that a child would find already there.
    const int most = sizes.back();
    Contest("list", "peak memory of 1,000,000 items", {"bytes/item", 1.0 / most})
        .ours(memoryOf([=] { keep<OurList>(most); }))
        .peer("QStandardItemModel", 0, memoryOf([=] { keep<QtList>(most); }))
        .peer("GListStore", 0, memoryOf([=] { keep<GlibList>(most); }))
        .run(3);

    std::for_each(sizes.begin(), sizes.end(), compare);

    const Unit unit{"ns/item", 1e9};
    scaling(
        "list", "append", unit, sizes, [](int size) { return insertAll<OurList>(Place::end, size); }, 5);
    scaling(
        "list", "insert in front", unit, sizes, [](int size) { return insertAll<OurList>(Place::front, size); }, 5);
    scaling(
        "list", "find and delete", unit, sizes, [](int size) { return findAndDelete<OurList>(size, size); }, 5);
    scaling("list", "delete all", unit, sizes, deleteAll<OurList>, 5);
    for (const int larger : {100'000, 1'000'000})
        growthBeside(
            "list", "find and delete", larger / 10, larger, [](int size) { return findAndDelete<OurList>(size, size); },
            "std::list and std::unordered_map", findAndDeleteInTable, 5);
    growthBeside("list", "delete all", sizes[0], sizes[1], deleteAll<OurList>, "reading their memory", readMemoryOf, 5);
}
