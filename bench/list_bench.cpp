// SPDX-License-Identifier: Apache-2.0

// What a step on one item of a list costs, in nanoseconds, in lists of 10^4, 10^5 and 10^6 items. The cost may grow
// by cache misses, not by the number of items. Every list is watched by one watcher of each event.
//
//   append         addItem, with its two events
//   front, middle  insertItem at index 0, at half of the count
//   commit added   acceptChanges of the list, for each item
//   at index       itemAtIndex in random order
//   contains       in random order
//   index of       in random order
//   delete+commit  deleteItem and acceptChanges of each item, in random order
//   clear+commit   clear, then acceptChanges, of a list of committed items
#include <kelvane/data/ObservableDataItemList.h>
#include <kelvane/data/TypedDataItem.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <time.h>
#include <vector>

using namespace kelvane;

namespace {

struct Song {
    std::int64_t identifier = 0;
};

using Items = std::vector<std::shared_ptr<TypedDataItem<Song>>>;

std::uint64_t events = 0;

std::shared_ptr<ObservableDataItemList> makeList()
{
    auto list = std::make_shared<ObservableDataItemList>();
    const DataItemList::Watcher watcher = [](const DataItemChangeEventArgs &) { ++events; };
    list->addItemChangingWatcher(watcher);
    list->addItemChangedWatcher(watcher);
    list->addItemCommitedWatcher(watcher);
    return list;
}

Items makeItems(std::size_t count)
{
    Items items(count);
    std::generate(items.begin(), items.end(), [] {
        auto item = std::make_shared<TypedDataItem<Song>>();
        (void)item->record();
        return item;
    });
    return items;
}

// Processor time of this thread: everything here runs on it, and other programs do not count.
double threadNanoseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

template <class Step>
double nanosecondsPerItem(std::size_t count, Step step)
{
    const double start = threadNanoseconds();
    step();
    return (threadNanoseconds() - start) / static_cast<double>(count);
}

void print(const char *name, std::size_t count, double nanoseconds)
{
    std::printf("%-14s %8zu items %8.0f ns/item\n", name, count, nanoseconds);
}

void insertAll(const char *name, const Items &items, std::size_t divisor)
{
    const auto list = makeList();
    print(name, items.size(), nanosecondsPerItem(items.size(), [&] {
        std::size_t count = 0;
        for (const auto &item : items)
            list->insertItem(item, static_cast<std::int32_t>(divisor == 0 ? 0 : count++ / divisor));
    }));
}

void measure(std::size_t count)
{
    const Items items = makeItems(count);
    Items shuffled = items;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
    std::vector<std::int32_t> indexes(count);
    std::generate(indexes.begin(), indexes.end(), [index = 0]() mutable { return index++; });
    std::shuffle(indexes.begin(), indexes.end(), std::mt19937(2));
    std::size_t found = 0;

    insertAll("front", items, 0);
    insertAll("middle", items, 2);
    const auto list = makeList();
    const auto all = [&](const char *name, auto step) { print(name, count, nanosecondsPerItem(count, step)); };
    all("append", [&] { std::for_each(items.begin(), items.end(), [&](const auto &item) { list->addItem(item); }); });
    all("commit added", [&] { list->acceptChanges(); });
    all("at index", [&] {
        for (const std::int32_t index : indexes)
            found += list->itemAtIndex(index) != nullptr;
    });
    all("contains", [&] {
        for (const auto &item : shuffled)
            found += list->contains(item);
    });
    all("index of", [&] {
        for (const auto &item : shuffled)
            found += list->indexOf(item) >= 0;
    });
    all("delete+commit", [&] {
        for (const auto &item : shuffled) {
            item->deleteItem();
            item->acceptChanges();
        }
    });

    const auto cleared = makeList();
    for (const auto &item : makeItems(count))
        cleared->addItem(item);
    cleared->acceptChanges();
    all("clear+commit", [&] {
        cleared->clear();
        cleared->acceptChanges();
    });
    if (found != 3 * count || list->count() != 0 || cleared->count() != 0)
        std::puts("wrong result");
}

} // namespace

int main()
{
    for (const std::size_t count : {10'000U, 100'000U, 1'000'000U})
        measure(count);
    std::printf("%llu events\n", static_cast<unsigned long long>(events));
}
