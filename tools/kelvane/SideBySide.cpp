// SPDX-License-Identifier: Apache-2.0
#include "SideBySide.h"

#include "Interruption.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <kelvane/common/AsyncTaskIOS.h>
#include <memory>
#include <mutex>

namespace kelvane::tool {

namespace {

/// Tasks that take the places of the work in turn. Whatever ends it, none of them outlives it.
class Lanes {
public:
    Lanes(std::size_t count, const std::function<void(std::size_t)> &work) : _count(count), _work(work) {}
    ~Lanes()
    {
        _next = _count;
        std::unique_lock lock(_mutex);
        _ended.wait(lock, [this] { return _busy == 0; });
    }
    Lanes(const Lanes &) = delete;
    Lanes &operator=(const Lanes &) = delete;

    /// Calls `tick` now and then until all is done. Throws what the work has thrown first.
    void run(int jobs, const std::function<void()> &tick)
    {
        const std::size_t lanes = std::min(static_cast<std::size_t>(std::max(jobs, 1)), _count);
        for (std::size_t i = 0; i < lanes; ++i)
            startLane();
        constexpr std::chrono::milliseconds tickInterval{100};
        std::unique_lock lock(_mutex);
        while (!_ended.wait_for(lock, tickInterval, [this] { return _busy == 0; })) {
            lock.unlock();
            tick();
            lock.lock();
        }
        // A task says nothing of an exception to those who do not ask; the work would pass for done.
        if (_thrown)
            std::rethrow_exception(_thrown);
    }

private:
    void startLane()
    {
        const auto task = std::make_shared<AsyncTaskIOS>([this](AsyncTaskIOS &, const Object &) {
            workInTurn();
            return true;
        });
        changeBusy(1);
        try {
            task->startTask();
        } catch (...) {
            changeBusy(-1);
            throw;
        }
    }

    void workInTurn() noexcept
    {
        try {
            for (std::size_t i = _next++; i < _count && !Interruption::isRequested(); i = _next++)
                _work(i);
        } catch (...) {
            _next = _count;
            const std::lock_guard guard(_mutex);
            if (!_thrown)
                _thrown = std::current_exception();
        }
        changeBusy(-1); // the last that it does with this object
    }

    void changeBusy(int lanes)
    {
        const std::lock_guard guard(_mutex);
        _busy += lanes;
        _ended.notify_all();
    }

    const std::size_t _count;
    const std::function<void(std::size_t)> &_work;
    std::atomic<std::size_t> _next{0};
    std::mutex _mutex;
    std::condition_variable _ended;
    int _busy = 0; // guarded by _mutex
    std::exception_ptr _thrown; // guarded by _mutex
};

} // namespace

void runSideBySide(std::size_t count, int jobs, WorkProgress &progress, const std::function<void(std::size_t)> &work)
{
    Lanes(count, work).run(jobs, [&progress] { progress.tick(); });
}

void runSideBySide(std::size_t count, int jobs, const std::function<void(std::size_t)> &work)
{
    if (count == 1)
        return work(0);
    Lanes(count, work).run(jobs, [] {});
}

} // namespace kelvane::tool
