// SPDX-License-Identifier: Apache-2.0
#include "TaskFlood.h"

#include "Job.h"
#include "ProcessFigures.h"

#include <kelvane/common/AsyncTaskIOS.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

namespace kelvane::soak {
namespace {

constexpr std::int64_t waveSize = 10'000;
constexpr std::int64_t mostThreads = 100; // that the queue of tasks works with

/// Tasks that are there at once.
class Wave {
public:
    explicit Wave(std::int64_t count) : _runs(static_cast<std::size_t>(count)), _tasks(_runs.size()) {}

    void start()
    {
        for (std::size_t i = 0; i < _tasks.size(); ++i) {
            _tasks[i] = std::make_shared<AsyncTaskIOS>([&runs = _runs[i]](AsyncTaskIOS &task, const Object &) {
                ++runs;
                return task.canContinue();
            });
            _tasks[i]->startTask();
            if (isCancelled(i))
                _tasks[i]->cancel();
        }
    }

    void wait() const
    {
        for (std::size_t i = 0; i < _tasks.size(); ++i) {
            const bool isSuccess = _tasks[i]->waitDone();
            // A cancelled task is not waited for, but it still has to leave the queue.
            while (!_tasks[i]->isFinished())
                std::this_thread::yield();
            // A task that was done before its cancel has succeeded.
            check(_tasks[i]->isCancelled() || isSuccess, "a task that is not cancelled succeeds");
            check(isCancelled(i) || !_tasks[i]->isCancelled(), "nobody else cancels a task");
            check(_runs[i] == 1 || (_runs[i] == 0 && _tasks[i]->isCancelled()), "a task runs once");
        }
    }
    [[nodiscard]] std::int64_t cancelledCount() const
    {
        return std::count_if(_tasks.begin(), _tasks.end(), [](const auto &task) { return task->isCancelled(); });
    }

private:
    static bool isCancelled(std::size_t i) { return i % 5 == 0; }

    std::vector<std::atomic<int>> _runs;
    std::vector<std::shared_ptr<AsyncTaskIOS>> _tasks;
};

struct Flood {
    std::int64_t cancelled = 0;
    std::int64_t mostThreadsSeen = 0;
    ProcessFigures early; // after a tenth
    ProcessFigures late;
};

void floodOnce(std::int64_t count, Flood &result)
{
    Wave wave(count);
    wave.start();
    result.mostThreadsSeen = std::max(result.mostThreadsSeen, ProcessFigures::now().threads);
    wave.wait();
    result.cancelled += wave.cancelledCount();
}

Flood flood(std::int64_t count)
{
    Flood result;
    std::int64_t threads = 0;
    for (std::int64_t done = 0; done < count; done += waveSize) {
        floodOnce(std::min(waveSize, count - done), result);
        if (threads == 0 && done >= count / 10) {
            waitForThreads(0);
            result.early = ProcessFigures::now();
            threads = result.early.threads;
        }
    }
    waitForThreads(threads);
    result.late = ProcessFigures::now();
    return result;
}

} // namespace

bool floodWithTasks(std::int64_t count, bool judgesMemory)
{
    constexpr std::int64_t mostGrowth = 2048; // KiB
    const auto begin = std::chrono::steady_clock::now();
    const std::int64_t threadsBefore = ProcessFigures::now().threads;
    Flood result;
    try {
        result = flood(count);
    } catch (const BrokenPromise &broken) {
        std::printf("FAILED: broken promise: %s\n", broken.what());
        return false;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const auto number = [](std::int64_t value) { return static_cast<long long>(value); };
    std::printf("%lld tasks, of which %lld cancelled, in %.1f s; at most %lld threads\n", number(count),
        number(result.cancelled), seconds, number(result.mostThreadsSeen));
    std::printf("after a tenth and after all: %lld and %lld KiB written to, %lld and %lld KiB in use, %lld and %lld "
                "descriptors, %lld and %lld threads; peak %lld KiB\n",
        number(result.early.written), number(result.late.written), number(result.early.inUse),
        number(result.late.inUse), number(result.early.descriptors), number(result.late.descriptors),
        number(result.early.threads), number(result.late.threads), number(result.late.peak));
    const bool isBounded = !judgesMemory
        || (result.late.written - result.early.written <= mostGrowth
            && result.late.peak - result.early.peak <= mostGrowth);
    const bool isFlat = result.late.descriptors == result.early.descriptors
        && result.late.threads == result.early.threads && result.mostThreadsSeen <= threadsBefore + mostThreads + 1;
    std::puts(isBounded && isFlat ? "flat" : "NOT FLAT");
    return isBounded && isFlat;
}

} // namespace kelvane::soak
