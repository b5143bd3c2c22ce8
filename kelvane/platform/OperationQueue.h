// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/platform/Operation.h>

#include <cstdint>
#include <limits>
#include <memory>

namespace kelvane {

class WorkerPool;

/// Starts operations in the order in which they were added, up to a number of them at once, on threads of its own.
///
/// The first operation makes the first thread. More are made only while operations wait although none of the running
/// ones has ended for a moment, that is, while those block or are long; threads without work go away after a few
/// seconds. So a flood of short operations is worked off by few threads, operations that block get a thread each
/// within a fraction of a millisecond, and operations that wait for others in the queue are not locked up as long as
/// fewer of them wait than the queue may run at once.
///
/// Threads: any thread, any operation; from inside an operation of the queue all but
///   waitUntilAllOperationsAreFinished() and the destructor, which would wait for that operation itself.
/// Ownership: keeps an operation alive until it has run. No lock is held while an operation runs.
/// Errors: what an operation throws ends in one error line of the shared logger. Where the system refuses another
///   thread the operations wait for those that are there; where there is none at all, the thread that adds an
///   operation works the queue off itself before addOperation() returns, so that none is lost.
class KELVANE_EXPORT OperationQueue {
public:
    /// As many at once as threads can be had.
    static constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

    /// Runs up to `maxConcurrentOperationCount` operations at once; a number below 1 counts as 1.
    explicit OperationQueue(std::int64_t maxConcurrentOperationCount);
    /// Waits until all operations have finished. Queues that serve the whole process are never destroyed.
    ~OperationQueue();
    OperationQueue(const OperationQueue &) = delete;
    OperationQueue &operator=(const OperationQueue &) = delete;

    /// Puts `operation` at the end. Its start() is called once for each time it was added; null is ignored.
    void addOperation(std::shared_ptr<Operation> operation);

    /// How many may run at once from now on, at least 1. Operations that run already are not stopped.
    void setMaxConcurrentOperationCount(std::int64_t count);
    [[nodiscard]] std::int64_t maxConcurrentOperationCount() const;

    /// How many operations wait or run at this moment.
    [[nodiscard]] std::int64_t operationCount() const;
    /// Blocks until the queue is empty and nothing runs any more.
    void waitUntilAllOperationsAreFinished();

private:
    const std::shared_ptr<WorkerPool> _pool;
};

} // namespace kelvane
