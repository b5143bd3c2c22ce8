// SPDX-License-Identifier: Apache-2.0
#include "SideBySide.h"

#include "Interruption.h"

#include <algorithm>
#include <atomic>
#include <kelvane/common/AsyncTaskIOS.h>
#include <memory>
#include <vector>

namespace kelvane::tool {

void runSideBySide(std::size_t count, int jobs, WorkProgress &progress, const std::function<void(std::size_t)> &work)
{
    constexpr std::int32_t tickIntervalMs = 100;
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
        while (!task->waitDone(tickIntervalMs) && !task->isCompleted())
            progress.tick();
}

} // namespace kelvane::tool
