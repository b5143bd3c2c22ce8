// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/Operation.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace kelvane {

/// The operations that wait, oldest first. Adders and takers have a list and a lock each and meet only when a taker
/// has used its list up and swaps it for the adders' one, so that they do not fight over one lock a task.
///
/// Threads: any thread, any operation.
class OperationFifo {
public:
    struct Taken {
        std::shared_ptr<Operation> operation; // null: nothing waits
        bool isMoreWaiting = false;
    };

    void push(std::shared_ptr<Operation> operation);
    [[nodiscard]] Taken take();

    /// How many were ever added or taken. Sequentially consistent: a thread that announces what it does next in such
    /// an atomic and then finds nothing here is seen by whoever adds something afterwards.
    [[nodiscard]] std::uint64_t addedCount() const noexcept { return _added.load(); }
    [[nodiscard]] std::uint64_t takenCount() const noexcept { return _taken.load(); }
    [[nodiscard]] std::uint64_t size() const noexcept
    {
        const std::uint64_t taken = takenCount(); // first, because it never overtakes the other
        return addedCount() - taken;
    }
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }

private:
    using List = std::vector<std::shared_ptr<Operation>>;
    static constexpr std::size_t cacheLine = 64;

    alignas(cacheLine) std::mutex _addMutex;
    List _incoming; // guarded by _addMutex
    std::atomic<std::uint64_t> _added{0}; // written under _addMutex

    alignas(cacheLine) std::mutex _takeMutex; // taken before _addMutex
    List _outgoing; // guarded by _takeMutex, as is the next
    std::size_t _next = 0; // index in _outgoing
    std::atomic<std::uint64_t> _taken{0}; // written under _takeMutex
};

} // namespace kelvane
