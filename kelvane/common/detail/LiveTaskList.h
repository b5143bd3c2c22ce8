// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace kelvane {
class Operation;
}

namespace kelvane::detail {

/// Keeps started tasks alive until somebody has waited for them.
///
/// Threads: any. Tasks are released outside the lock, because a task may end another one while it is destroyed.
class KELVANE_EXPORT LiveTaskList {
public:
    /// `capacity`: how many tasks are expected.
    explicit LiveTaskList(std::size_t capacity);

    void append(std::shared_ptr<Operation> task);
    /// Takes out every entry of `task`. Needs no memory: a task that could not be taken out would live for good.
    void remove(const Operation *task) noexcept;
    /// "(<task 0x…>, …)"; null where it is empty.
    [[nodiscard]] String text() const;

private:
    using Tasks = std::list<std::shared_ptr<Operation>>;

    mutable std::mutex _mutex;
    Tasks _tasks; // guarded by _mutex, oldest first
    std::unordered_multimap<const Operation *, Tasks::iterator> _places; // guarded by _mutex
};

} // namespace kelvane::detail
