// SPDX-License-Identifier: Apache-2.0
#include "OperationFifo_p.h"

#include <utility>

namespace kelvane {

namespace {

/// A list that grew beyond this is given back once it is empty, so that one flood does not hold memory for good.
constexpr std::size_t keptCapacity = 4096;

/// Locks hold these mutexes for some ten nanoseconds: trying again is cheaper than having the system put the thread
/// to sleep and wake it.
std::unique_lock<std::mutex> lockBriefly(std::mutex &mutex)
{
    constexpr int tries = 100;
    std::unique_lock lock(mutex, std::defer_lock);
    for (int i = 0; i < tries; ++i) {
        if (lock.try_lock())
            return lock;
    }
    lock.lock();
    return lock;
}

} // namespace

void OperationFifo::push(std::shared_ptr<Operation> operation)
{
    const auto lock = lockBriefly(_addMutex);
    _incoming.push_back(std::move(operation));
    _added.store(_added.load(std::memory_order_relaxed) + 1);
}

OperationFifo::Taken OperationFifo::take()
{
    const auto takeLock = lockBriefly(_takeMutex);
    const std::uint64_t takenBefore = _taken.load(std::memory_order_relaxed);
    if (_next == _outgoing.size()) {
        if (_added.load() == takenBefore)
            return {};
        if (_outgoing.capacity() > keptCapacity)
            List().swap(_outgoing);
        _outgoing.clear();
        _next = 0;
        const auto addLock = lockBriefly(_addMutex);
        _outgoing.swap(_incoming);
    }
    Taken result{std::move(_outgoing[_next++])};
    _taken.store(takenBefore + 1);
    result.isMoreWaiting = _next < _outgoing.size() || _added.load() != takenBefore + 1;
    return result;
}

} // namespace kelvane
