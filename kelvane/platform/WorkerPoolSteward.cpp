// SPDX-License-Identifier: Apache-2.0
#include "WorkerPool_p.h"

#include <algorithm>
#include <thread>
#include <utility>

#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace kelvane {

// The steward is one thread of the pool that takes short naps while operations wait, and compares how many operations
// were finished meanwhile with how many threads are at work. From that it knows how long an operation takes:
//
//   longer than a nap           they block, or are long: more threads, several times as many as there are
//   longer than a thread costs  threads up to the number of processors make it faster
//   less than that              threads would only get into each other's way: one is enough
//
// A steward that has nothing to watch goes to sleep like everybody else.

namespace {

constexpr std::chrono::microseconds nap{25};
/// Naps without anything to do before the steward goes. Keeps it on duty through the gaps of a flood, in which the
/// queue runs empty again and again.
constexpr int quietNaps = 10;
/// How long a flood of short operations may all but stand still: a thread that loses its processor to another program gets it
/// back within that time, as a rule, and does not need help.
constexpr std::chrono::milliseconds patienceWithShort{1};
constexpr std::chrono::microseconds shortOperation{100};
/// One thread that finishes nothing may just have lost its processor to another program; a few that all finish
/// nothing are blocked.
constexpr std::uint32_t firstReinforcement = 2;
constexpr std::uint32_t growth = 4;
/// An operation must take this long before it pays to have a second processor fetch the next one.
constexpr std::chrono::microseconds worthAnotherThread{5};
constexpr std::chrono::microseconds tooShortForTwo{2};

/// While it lives the system ends the naps of this thread when asked, and not when it suits it. Operations that run on
/// the thread later get the system's default back.
class ExactNaps {
public:
#if defined(__linux__)
    ExactNaps()
    {
        prctl(PR_SET_TIMERSLACK, 1UL);
    }
    ~ExactNaps()
    {
        prctl(PR_SET_TIMERSLACK, 0UL);
    }
#else
    ExactNaps() = default;
    ~ExactNaps() {}
#endif
    ExactNaps(const ExactNaps &) = delete;
    ExactNaps &operator=(const ExactNaps &) = delete;
};

std::uint32_t processorCount()
{
    static const std::uint32_t count = std::max(std::thread::hardware_concurrency(), 1U);
    return count;
}

} // namespace

/// How many threads may run operations.
std::uint32_t WorkerPool::places() const noexcept
{
    constexpr std::int64_t most = 1 << 30; // what the crew can count, and more than any system has
    return static_cast<std::uint32_t>(std::min(limit(), most));
}

/// Watches until there is nothing to watch: false, the steward sleeps; or until the steward itself is needed: true, it
/// has a place and looks for work.
bool WorkerPool::watch(Sighting last)
{
    const ExactNaps exactNaps;
    Clock::duration patience = nap;
    int quiet = 0;
    for (Clock::time_point wakeTime = last.time + nap;;) {
        std::this_thread::sleep_until(wakeTime);
        const Sighting now = look();
        wakeTime = now.time + nap;

        const std::uint64_t finished = now.finished - last.finished;
        const bool isWaiting = !_waiting.isEmpty();
        quiet = finished == 0 && !isWaiting ? quiet + 1 : 0;
        if (now.roll.active == 0 || now.roll.active >= places() || quiet > quietNaps) {
            _crew.change([](Crew::Roll &roll) { return std::exchange(roll.hasSteward, false); });
            return false;
        }
        if (finished < now.roll.active && isWaiting && now.time - last.time < patience)
            continue;

        Clock::duration oneTakes = Clock::duration::max();
        if (finished > 0) {
            oneTakes = (now.time - last.time) * now.roll.active / static_cast<Clock::rep>(finished);
            patience = oneTakes < shortOperation ? patienceWithShort : nap;
        }
        if (bringIn(isWaiting ? reinforcement(last, now, oneTakes) : 0))
            return true;
        last = now;
    }
}

/// How many more threads would help, judged by what happened between two looks.
std::uint32_t WorkerPool::reinforcement(const Sighting &last, const Sighting &now, Clock::duration oneTakes)
{
    const std::uint32_t active = now.roll.active;
    // A thread that only comes to its place says nothing yet about the operations.
    if (now.roll.looking > 0 || last.roll.looking > 0 || active > last.roll.active)
        return 0;
    if (oneTakes == Clock::duration::max())
        return active == 1 ? firstReinforcement : growth * active;
    if (oneTakes > now.time - last.time || (oneTakes > worthAnotherThread && active < processorCount()))
        return 1;
    _surplus.store(oneTakes < tooShortForTwo ? active - 1 : 0, std::memory_order_relaxed);
    return 0;
}

/// Brings in up to `count` workers, as many as there are operations and places for. True if the steward became one of
/// them, because no watch is needed any more or the system has no other thread.
bool WorkerPool::bringIn(std::uint32_t count)
{
    const std::uint64_t waiting = _waiting.size();
    bool joins = false;
    _crew.change([&](Crew::Roll &roll) {
        const std::uint32_t free = places() - std::min(roll.active, places());
        const auto useful = static_cast<std::uint32_t>(std::min<std::uint64_t>(waiting, free));
        joins = count > 0 && count >= useful && useful > 0;
        count = std::min(count, useful);
        roll.active += count;
        roll.looking += count;
        roll.hasSteward = !joins;
        return count > 0;
    });
    const std::uint32_t missing = callWorkers(joins ? count - 1 : count);
    if (missing == 0)
        return joins;
    giveUpPlaces(joins ? missing : missing - 1);
    if (!joins)
        _crew.change([](Crew::Roll &roll) { return std::exchange(roll.hasSteward, false); });
    return true;
}

} // namespace kelvane
