// SPDX-License-Identifier: Apache-2.0
#include "WorkerPool_p.h"

#include "RunGuarded_p.h"
#include "Spin_p.h"
#include "ThreadName_p.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <thread>
#include <utility>

namespace kelvane {

namespace {

/// How long a thread without work stays: long enough to outlast the pauses of a busy program.
constexpr std::chrono::seconds idleTime{2};
/// How long a worker looks for the next operation before it sleeps. About what it costs to put a thread to sleep and
/// wake it, so that at worst that cost is doubled.
constexpr std::chrono::microseconds lookingTime{20};

} // namespace

/// A thread of the pool, as seen by those who wake it.
class WorkerPool::Sleeper {
public:
    void wake(const Call &call)
    {
        const std::lock_guard guard(_mutex);
        _call = call;
        _called.notify_one(); // under the lock, because the thread may end once it has the call
    }
    [[nodiscard]] std::optional<Call> waitFor(Clock::duration time)
    {
        std::unique_lock guard(_mutex);
        _called.wait_for(guard, time, [this] { return _call.has_value(); });
        return std::exchange(_call, std::nullopt);
    }
    [[nodiscard]] Call wait()
    {
        std::unique_lock guard(_mutex);
        _called.wait(guard, [this] { return _call.has_value(); });
        return *std::exchange(_call, std::nullopt);
    }

private:
    std::mutex _mutex;
    std::condition_variable _called;
    std::optional<Call> _call; // guarded by _mutex
};

WorkerPool::WorkerPool(String threadName, std::int64_t limit) : _threadName(std::move(threadName)), _limit(limit) {}

WorkerPool::~WorkerPool() = default;

void WorkerPool::add(std::shared_ptr<Operation> operation)
{
    _waiting.push(std::move(operation));
    ensureService();
}

void WorkerPool::setLimit(std::int64_t limit)
{
    _limit.store(limit);
    if (!_waiting.isEmpty())
        ensureService();
}

std::int64_t WorkerPool::count() const noexcept
{
    const std::uint64_t finished = _finished.load(); // first, because it never overtakes the other
    return static_cast<std::int64_t>(_waiting.addedCount() - finished);
}

void WorkerPool::waitUntilIdle()
{
    if (isIdle())
        return;
    std::unique_lock guard(_mutex);
    _idleWaiters.fetch_add(1);
    _idle.wait(guard, [this] { return isIdle(); });
    _idleWaiters.fetch_sub(1);
}

void WorkerPool::tellIdleWaiters()
{
    if (_idleWaiters.load() == 0 || !isIdle())
        return;
    const std::lock_guard guard(_mutex);
    _idle.notify_all();
}

void WorkerPool::close()
{
    std::vector<Sleeper *> leaving;
    {
        const std::lock_guard guard(_mutex);
        _isClosing = true;
        leaving.swap(_sleepers);
        _threadCount -= leaving.size();
    }
    for (Sleeper *sleeper : leaving)
        sleeper->wake({});
}

// Threads and their calls

/// Makes sure that what waits is served. Called whenever something may wait and nobody may know.
void WorkerPool::ensureService()
{
    for (;;) {
        Part part{};
        const bool isNeeded = _crew.change([&](Crew::Roll &roll) {
            if (roll.looking > 0)
                return false;
            if (roll.active == 0) {
                part = Part::Worker;
                roll.active = roll.looking = 1;
                return true;
            }
            part = Part::Steward;
            return roll.active < places() && !std::exchange(roll.hasSteward, true);
        });
        if (!isNeeded || call({part, part == Part::Steward ? look() : Sighting()}))
            return;

        // The system gives no thread. What was claimed for it is given back before the list of sleepers is looked
        // at again: a thread that lies down after that look finds that nobody serves the queue.
        if (part == Part::Worker)
            giveUpPlaces(1);
        else
            _crew.change([](Crew::Roll &roll) { return std::exchange(roll.hasSteward, false); });
        {
            const std::lock_guard guard(_mutex);
            if (!_sleepers.empty())
                continue;
            if (_threadCount > 0)
                return;
        }
        const bool standsIn = _crew.change([](Crew::Roll &roll) {
            roll.looking = 1;
            return std::exchange(roll.active, 1) == 0;
        });
        if (!standsIn)
            return;
        work(false);
        if (_waiting.isEmpty())
            return;
    }
}

/// Wakes the thread that fell asleep last, whose memory is still in the caches, or makes one. False if there is none.
bool WorkerPool::call(const Call &call)
{
    Sleeper *sleeper = nullptr;
    try {
        const std::lock_guard guard(_mutex);
        if (_sleepers.empty()) {
            _sleepers.reserve(_threadCount + 1); // so that lying down never fails
            ++_threadCount;
        } else {
            sleeper = _sleepers.back();
            _sleepers.pop_back();
        }
    } catch (const std::exception &) {
        return false;
    }
    if (sleeper) {
        sleeper->wake(call);
        return true;
    }
    try {
        std::thread([self = shared_from_this(), call] { self->runThread(call); }).detach();
        return true;
    } catch (const std::exception &) {
        const std::lock_guard guard(_mutex);
        --_threadCount;
        return false;
    }
}

/// Calls `count` workers, each to a place that the caller has taken for it. Returns how many could not be called.
///
/// A sleeper that is called calls half of the others in turn, so that many are awake in the time of a few. Threads are
/// made one after the other: the system does not make two at a time.
std::uint32_t WorkerPool::callWorkers(std::uint32_t count)
{
    while (count > 0) {
        const std::uint32_t others = std::min(count - 1, sleeperCount()) / 2;
        if (!call({Part::Worker, {}, others}))
            break;
        count -= 1 + others;
    }
    return count;
}

std::uint32_t WorkerPool::sleeperCount()
{
    const std::lock_guard guard(_mutex);
    return static_cast<std::uint32_t>(_sleepers.size());
}

void WorkerPool::giveUpPlaces(std::uint32_t count)
{
    _crew.change([count](Crew::Roll &roll) {
        roll.active -= count;
        roll.looking -= count;
        return true;
    });
}

void WorkerPool::runThread(Call call)
{
    setCurrentThreadName(_threadName);
    Sleeper self;
    do {
        if (call.part == Part::Leave)
            return;
        if (call.others > 0)
            giveUpPlaces(callWorkers(call.others));
        if (call.part == Part::Worker || watch(call.lastSight))
            work(true);
    } while (sleep(self, call));
}

/// Waits for the next call. False if the thread shall end.
bool WorkerPool::sleep(Sleeper &self, Call &call)
{
    bool isLeaving = false;
    {
        const std::lock_guard guard(_mutex);
        isLeaving = _isClosing;
        if (isLeaving)
            --_threadCount;
        else
            _sleepers.push_back(&self);
    }
    if (!_waiting.isEmpty())
        ensureService();
    if (isLeaving)
        return false;

    if (const auto called = self.waitFor(idleTime)) {
        call = *called;
        return true;
    }
    {
        const std::lock_guard guard(_mutex);
        const auto place = std::find(_sleepers.begin(), _sleepers.end(), &self);
        if (place != _sleepers.end()) {
            _sleepers.erase(place);
            --_threadCount;
            return false;
        }
    }
    call = self.wait(); // somebody has taken it from the list and is about to call
    return true;
}

// Workers

/// Runs what waits until nothing does. Begins with a place, looking; ends without a place.
void WorkerPool::work(bool mayWait)
{
    for (;;) {
        OperationFifo::Taken taken = _waiting.take();
        if (!taken.operation) {
            tellIdleWaiters();
            if (mayWait && awaitOperation())
                continue;
            giveUpPlaces(1);
            return;
        }
        _crew.stopLooking();
        // Whoever added something up to now may have trusted this thread to look again.
        taken.isMoreWaiting = !_waiting.isEmpty();
        for (; taken.operation; taken = _waiting.take()) {
            if (taken.isMoreWaiting)
                ensureService();
            run(std::move(taken.operation));
            if (leaveIfSurplus())
                return;
        }
        _crew.startLooking();
    }
}

void WorkerPool::run(std::shared_ptr<Operation> operation) noexcept
{
    runGuarded([&] { operation->start(); });
    operation.reset(); // before it counts as finished: who waits for that may look whether it is gone
    _finished.fetch_add(1);
}

/// Looks for the next operation for a moment. One thread is enough for that.
bool WorkerPool::awaitOperation() const
{
    return _crew.roll().looking == 1 && spinUntil([this] { return !_waiting.isEmpty(); }, Clock::now() + lookingTime);
}

/// Gives the place up if there are more workers than may be or are of use.
bool WorkerPool::leaveIfSurplus()
{
    bool isUnneeded = false;
    const bool isLeaving = _crew.change([&](Crew::Roll &roll) {
        isUnneeded = roll.active > 1 && _surplus.load(std::memory_order_relaxed) > 0;
        if (!isUnneeded && roll.active <= places())
            return false;
        --roll.active;
        return true;
    });
    if (!isLeaving)
        return false;
    if (isUnneeded)
        _surplus.store(0, std::memory_order_relaxed); // one at a time: the steward asks again
    tellIdleWaiters();
    return true;
}

} // namespace kelvane
