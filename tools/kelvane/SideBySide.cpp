// SPDX-License-Identifier: Apache-2.0
#include "SideBySide.h"

#include "Interruption.h"

#include <algorithm>
#include <atomic>
#include <kelvane/common/AsyncTaskIOS.h>
#include <memory>
#include <vector>

namespace kelvane::tool {

namespace {

// `wait` waits for one task.
void run(std::size_t count, int jobs, const std::function<void(std::size_t)> &work,
    const std::function<void(AsyncTaskIOS &)> &wait)
{
    std::atomic<std::size_t> next{0};
    std::vector<std::shared_ptr<AsyncTaskIOS>> tasks;
    const std::size_t lanes = std::min(static_cast<std::size_t>(std::max(jobs, 1)), count);
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        tasks.push_back(std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) {
            for (std::size_t i = next++; i < count && !Interruption::isRequested(); i = next++)
                work(i);
            return true;
        }));
        tasks.back()->startTask();
    }
    for (const auto &task : tasks)
        wait(*task);
}

} // namespace

void runSideBySide(std::size_t count, int jobs, WorkProgress &progress, const std::function<void(std::size_t)> &work)
{
    run(count, jobs, work, [&progress](AsyncTaskIOS &task) {
        constexpr std::int32_t tickIntervalMs = 100;
        while (!task.waitDone(tickIntervalMs) && !task.isCompleted())
            progress.tick();
    });
}

void runSideBySide(std::size_t count, int jobs, const std::function<void(std::size_t)> &work)
{
    if (count == 1)
        return work(0);
    run(count, jobs, work, [](AsyncTaskIOS &task) { (void)task.waitDone(); });
}

} // namespace kelvane::tool
