// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>
#include <kelvane/platform/Operation.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace kelvane {

class WorkerPool : public std::enable_shared_from_this<WorkerPool> {
public:
    WorkerPool(String threadName, std::int64_t limit) : _threadName(std::move(threadName)), _limit(limit) {}

    void add(std::shared_ptr<Operation> operation);
    void setLimit(std::int64_t limit);
    [[nodiscard]] std::int64_t limit() const;
    [[nodiscard]] std::int64_t count() const;
    void waitUntilIdle();

private:
    void work();
    void spawn();

    const String _threadName;
    mutable std::mutex _mutex;
    std::condition_variable _changed, _idle;
    std::deque<std::shared_ptr<Operation>> _queue;
    std::int64_t _limit, _running = 0, _sleeping = 0;
};

} // namespace kelvane
