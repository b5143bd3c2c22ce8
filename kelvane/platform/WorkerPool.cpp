// SPDX-License-Identifier: Apache-2.0
#include "WorkerPool_p.h"

#include "RunGuarded_p.h"

#include <thread>

namespace kelvane {

void WorkerPool::add(std::shared_ptr<Operation> operation)
{
    const std::lock_guard guard(_mutex);
    _queue.push_back(std::move(operation));
    if (_running < _limit)
        spawn();
}

void WorkerPool::setLimit(std::int64_t limit)
{
    const std::lock_guard guard(_mutex);
    _limit = limit;
    for (auto n = _queue.size(); n > 0 && _running < _limit; --n)
        spawn();
}

std::int64_t WorkerPool::limit() const
{
    const std::lock_guard guard(_mutex);
    return _limit;
}

std::int64_t WorkerPool::count() const
{
    const std::lock_guard guard(_mutex);
    return static_cast<std::int64_t>(_queue.size()) + _running;
}

void WorkerPool::waitUntilIdle()
{
    std::unique_lock guard(_mutex);
    _idle.wait(guard, [this] { return _queue.empty() && _running == 0; });
}

void WorkerPool::spawn()
{
    ++_running;
    std::thread([self = shared_from_this()] { self->work(); }).detach();
}

void WorkerPool::work()
{
    std::unique_lock guard(_mutex);
    while (!_queue.empty() && _running <= _limit) {
        auto operation = std::move(_queue.front());
        _queue.pop_front();
        guard.unlock();
        runGuarded([&] { operation->start(); });
        operation.reset();
        guard.lock();
    }
    if (--_running == 0)
        _idle.notify_all();
}

} // namespace kelvane
