// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/RunLoop.h>

#include "RunGuarded_p.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace kelvane {

struct RunLoop::Private {
    std::mutex mutex;
    std::condition_variable hasWork;
    std::deque<Block<void()>> blocks; // guarded by mutex
};

RunLoop::RunLoop() : d(std::make_unique<Private>()) {}
RunLoop::~RunLoop() = default;

std::shared_ptr<RunLoop> RunLoop::current()
{
    thread_local const std::shared_ptr<RunLoop> loop(new RunLoop);
    return loop;
}

void RunLoop::perform(Block<void()> block)
{
    if (!block)
        return;
    {
        const std::lock_guard guard(d->mutex);
        d->blocks.push_back(std::move(block));
    }
    d->hasWork.notify_one();
}

void RunLoop::runFor(std::chrono::milliseconds time)
{
    const auto deadline = std::chrono::steady_clock::now() + time;
    std::unique_lock lock(d->mutex);
    while (d->hasWork.wait_until(lock, deadline, [this] { return !d->blocks.empty(); })) {
        {
            const Block<void()> block = std::move(d->blocks.front());
            d->blocks.pop_front();
            lock.unlock();
            runGuarded(block);
        }
        lock.lock();
        if (std::chrono::steady_clock::now() >= deadline)
            return; // blocks that keep coming do not make the slice longer
    }
}

} // namespace kelvane
