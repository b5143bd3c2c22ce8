// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Crew_p.h"
#include "OperationFifo_p.h"

#include <kelvane/foundation/String.h>
#include <kelvane/platform/Operation.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace kelvane {

/// The threads behind a queue and the operations that wait for them.
///
/// A thread of the pool is in one of four parts: it holds a place (of which there are as many as the limit) and runs
/// operations; it holds a place and looks for one; it is the steward, who holds no place and watches whether the
/// operations that wait move on; or it sleeps.
///
/// Invariants
///  1. While operations wait, somebody holds a place; and unless all places are taken, somebody looks, or there is a
///     steward. Whoever adds an operation, takes one and leaves others, or gives up its place re-establishes this
///     (ensureService()), by waking a thread or making one.
///  2. Threads are therefore woken once for a flood and not once for an operation: while one thread works the flood
///     off, the steward sees that it moves and lets it be. Where it does not move, the running operations block, and
///     the steward brings in more threads, more of them each time.
///  3. A thread that goes to sleep lies on the list of sleepers before it looks at the queue for the last time.
///
/// Threads: any thread, any operation. Every thread of the pool keeps it alive.
class WorkerPool : public std::enable_shared_from_this<WorkerPool> {
public:
    WorkerPool(String threadName, std::int64_t limit);
    ~WorkerPool();
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    void add(std::shared_ptr<Operation> operation);
    void setLimit(std::int64_t limit);
    [[nodiscard]] std::int64_t limit() const noexcept { return _limit.load(); }
    /// How many operations wait or run.
    [[nodiscard]] std::int64_t count() const noexcept;
    void waitUntilIdle();
    /// Nothing will be added any more: threads end as soon as they have nothing to do.
    void close();

private:
    using Clock = std::chrono::steady_clock;
    enum class Part { Worker, Steward, Leave };
    /// What the steward saw at one look.
    struct Sighting {
        Clock::time_point time;
        std::uint64_t finished = 0;
        Crew::Roll roll;
    };
    /// What a thread is woken or made for. Workers own the place that they are called to.
    struct Call {
        Part part = Part::Leave;
        Sighting lastSight = {}; // steward: how things stood when it was called
        std::uint32_t others = 0; // worker: how many others it has to call first
    };
    class Sleeper;

    // Threads and their calls
    void ensureService();
    [[nodiscard]] bool call(const Call &call);
    [[nodiscard]] std::uint32_t callWorkers(std::uint32_t count);
    [[nodiscard]] std::uint32_t sleeperCount();
    void giveUpPlaces(std::uint32_t count);
    void runThread(Call call);
    [[nodiscard]] bool sleep(Sleeper &self, Call &call);

    // Workers
    void work(bool mayWait);
    void run(std::shared_ptr<Operation> operation) noexcept;
    [[nodiscard]] bool awaitOperation() const;
    [[nodiscard]] bool leaveIfSurplus();
    void tellIdleWaiters();
    [[nodiscard]] bool isIdle() const noexcept { return count() == 0; }

    // The steward
    [[nodiscard]] bool watch(Sighting last);
    [[nodiscard]] std::uint32_t reinforcement(const Sighting &last, const Sighting &now, Clock::duration oneTakes);
    [[nodiscard]] bool bringIn(std::uint32_t count);
    [[nodiscard]] Sighting look() const { return {Clock::now(), _finished.load(), _crew.roll()}; }
    [[nodiscard]] std::uint32_t places() const noexcept;

    const String _threadName;
    OperationFifo _waiting;
    Crew _crew;
    std::atomic<std::int64_t> _limit;
    std::atomic<std::uint32_t> _surplus{0}; // active threads that are more hindrance than help
    std::atomic<std::uint32_t> _idleWaiters{0}; // threads in waitUntilIdle()
    alignas(64) std::atomic<std::uint64_t> _finished{0};

    alignas(64) std::mutex _mutex;
    std::condition_variable _idle;
    std::vector<Sleeper *> _sleepers; // guarded by _mutex, as are the next; the last fell asleep last
    std::size_t _threadCount = 0;
    bool _isClosing = false;
};

} // namespace kelvane
