// SPDX-License-Identifier: Apache-2.0

// Which locks are held while events are raised, and that the list stands up to many threads. A watcher starts another
// thread and either waits for it, which hangs the test if a lock keeps it out, or sees that it has not got through.
#include "Songs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <latch>
#include <thread>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

/// Starts a thread that does `probe`, from inside a watcher, the first time that it is called; the watcher goes on
/// when the thread has started, so that `probe` gets through meanwhile unless something keeps it out.
class Prober {
public:
    explicit Prober(std::function<void()> probe) : _probe(std::move(probe)) {}
    ~Prober() { join(); }
    Prober(const Prober &) = delete;
    Prober &operator=(const Prober &) = delete;

    void start()
    {
        if (_thread.joinable())
            return;
        std::latch started(1);
        _thread = std::thread([&] {
            started.count_down();
            _probe();
            done.store(true);
            done.notify_all();
        });
        started.wait();
    }
    /// Returns when the probe is through, and hangs the test where it never is.
    void waitUntilThrough() { done.wait(false); }
    void join()
    {
        if (_thread.joinable())
            _thread.join();
    }

    std::atomic<bool> done{false};

private:
    std::function<void()> _probe;
    std::thread _thread;
};

} // namespace

TEST(DataItemListLocks, AnotherThreadMayAddWhileAWatcherOfAddItemRuns)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    Prober prober([&] { list->listAdd(makeSong("second")); });
    list->addItemChangingWatcher([&](const DataItemChangeEventArgs &) {
        prober.start();
        prober.waitUntilThrough();
    });
    list->addItem(makeSong("first"));
    EXPECT_EQ(list->count(), 2);
}

TEST(DataItemListLocks, AnotherThreadMayAddWhileAWatcherOfInsertItemRuns)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    Prober prober([&] { list->listAdd(makeSong("second")); });
    list->addItemChangedWatcher([&](const DataItemChangeEventArgs &) {
        prober.start();
        prober.waitUntilThrough();
    });
    list->insertItem(makeSong("first"), 0);
    EXPECT_EQ(list->count(), 2);
}

struct LockedCase {
    const char *name;
    void (DataItemList::*operation)();
};

class DataItemListLockedWhile : public testing::TestWithParam<LockedCase> {};

// Three items raise their events one after the other. The prober starts with the first of them and can only get in
// when the operation has left the lock, that is, after the last event.
TEST_P(DataItemListLockedWhile, NoOtherThreadGetsAtTheArrayBetweenTheEvents)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    for (int i = 0; i < 3; ++i)
        list->addItem(makeSong());
    list->acceptChanges();
    for (const auto &item : list->toArray())
        item->setModified();

    std::atomic<bool> operationEnded{false};
    std::atomic<bool> endedWhenThrough{false};
    int events = 0;
    Prober prober([&] {
        (void)list->itemAtIndex(0);
        endedWhenThrough = operationEnded.load();
    });
    list->addItemChangedWatcher([&](const DataItemChangeEventArgs &) {
        ++events;
        prober.start();
        EXPECT_FALSE(prober.done) << "the list's lock was free at event " << events;
        // Asking without the list's lock goes on meanwhile.
        std::async(std::launch::async, [&] {
            EXPECT_EQ(list->count(), 3);
            EXPECT_EQ(list->toArray().size(), 3U);
            EXPECT_EQ(list->getChanges(DataItemState{}).size(), 0U);
            EXPECT_FALSE(list->contains(makeSong()));
        }).get();
        EXPECT_FALSE(prober.done) << "the list's lock was free at event " << events;
        operationEnded = events == 3;
    });
    (list.get()->*GetParam().operation)();
    prober.join();
    EXPECT_EQ(events, 3);
    EXPECT_TRUE(endedWhenThrough);
}

INSTANTIATE_TEST_SUITE_P(Table, DataItemListLockedWhile,
    testing::Values(LockedCase{"Clearing", &DataItemList::clear},
        LockedCase{"Committing", &DataItemList::acceptChanges},
        LockedCase{"RollingBack", &DataItemList::rejectChanges}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(DataItemListLocks, RemovingAWatcherWaitsUntilItIsNotRunningAnyMore)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    std::atomic<bool> left{false};
    bool leftWhenRemoved = false;
    DataItemList::Watcher watcher;
    Prober prober([&] {
        list->removeItemChangedWatcher(watcher);
        leftWhenRemoved = left.load();
    });
    watcher = [&](const DataItemChangeEventArgs &) {
        prober.start();
        EXPECT_EQ(list->count(), 1);
        EXPECT_FALSE(prober.done);
        left = true;
    };
    list->addItemChangedWatcher(watcher);
    list->addItem(makeSong());
    prober.join();
    EXPECT_TRUE(leftWhenRemoved);
}

TEST(DataItemListLocks, WatchersOfOtherEventsMayBeAddedMeanwhile)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    Prober prober([&] { list->addItemChangedWatcher([](const DataItemChangeEventArgs &) {}); });
    list->addItemChangingWatcher([&](const DataItemChangeEventArgs &) {
        prober.start();
        prober.waitUntilThrough();
    });
    list->addItem(makeSong());
    EXPECT_TRUE(prober.done);
}

TEST(DataItemListThreads, EventsComeOnTheThreadThatMakesTheChange)
{
    const auto list = std::make_shared<ObservableDataItemList>();
    std::thread::id seen;
    list->addItemChangedWatcher([&](const DataItemChangeEventArgs &) { seen = std::this_thread::get_id(); });
    std::thread::id expected;
    std::thread([&] {
        expected = std::this_thread::get_id();
        list->addItem(makeSong());
    }).join();
    EXPECT_EQ(seen, expected);
}

TEST(DataItemListThreads, WritersAndReadersOfAllSortsLeaveACompleteList)
{
    constexpr int writers = 4;
    constexpr int perWriter = 300;
    const auto list = std::make_shared<ObservableDataItemList>();
    std::atomic<int> commits{0};
    list->addItemCommitedWatcher([&](const DataItemChangeEventArgs &) { ++commits; });
    std::latch start(writers + 2);
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([&, writer] {
            start.arrive_and_wait();
            for (int i = 0; i < perWriter; ++i) {
                const auto kept = makeSong();
                const auto dropped = makeSong();
                list->addItem(kept);
                list->insertItem(dropped, i * writer);
                kept->acceptChanges();
                dropped->acceptChanges();
                list->removeItem(dropped);
                dropped->acceptChanges();
            }
        });
    }
    threads.emplace_back([&] {
        start.arrive_and_wait();
        while (!done) {
            EXPECT_GE(list->count(), 0);
            for (const auto &item : list->toArray())
                EXPECT_TRUE(item);
            (void)list->getChanges();
            (void)list->contains(list->itemAtIndex(0));
            (void)list->indexOf(list->itemAtIndex(5));
        }
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        while (!done) {
            (void)list->modified();
            const DataItemList::Watcher watcher = [](const DataItemChangeEventArgs &) {};
            list->addItemChangedWatcher(watcher);
            list->removeItemChangedWatcher(watcher);
        }
    });
    for (int writer = 0; writer < writers; ++writer)
        threads[static_cast<std::size_t>(writer)].join();
    done = true;
    threads[writers].join();
    threads[writers + 1].join();
    EXPECT_EQ(list->count(), writers * perWriter);
    EXPECT_EQ(commits, writers * perWriter * 3);
    EXPECT_EQ(list->syncVersion(), writers * perWriter * 3);
    EXPECT_FALSE(list->modified());
}
