// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <memory>

namespace kelvane {

class WorkerPool;

/// Runs blocks one after the other, in the order in which they were handed over, on a thread of its own that comes
/// with the first block and goes away when there has been nothing to do for a while.
///
/// Threads: any thread, any operation, also from inside a block. The destructor returns at once; blocks that wait
///   still run. Queues that serve the whole process are never destroyed.
/// Ownership: keeps a block until it has run. No lock is held while a block runs.
/// Errors: what a block throws ends in one error line of the shared logger; the next block runs.
class KELVANE_EXPORT SerialQueue {
public:
    /// `label` names the queue in debuggers and in its thread's name.
    explicit SerialQueue(String label);
    ~SerialQueue();
    SerialQueue(const SerialQueue &) = delete;
    SerialQueue &operator=(const SerialQueue &) = delete;

    [[nodiscard]] const String &label() const noexcept;
    /// Runs `block` after all blocks handed over before it; null is ignored. Returns at once.
    void async(Block<void()> block);

private:
    const String _label;
    const std::shared_ptr<WorkerPool> _pool;
};

} // namespace kelvane
