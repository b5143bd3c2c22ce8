// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <memory>
#include <mutex>
#include <vector>

namespace kelvane {
class Operation;
}

namespace kelvane::detail {

/// Keeps started tasks alive until somebody has waited for them.
///
/// Threads: any. Tasks are released outside the lock, because a task may end another one while it is destroyed.
class KELVANE_EXPORT LiveTaskList {
public:
    explicit LiveTaskList(std::size_t capacity);

    void append(std::shared_ptr<Operation> task);
    /// Takes out every entry of `task`. The list as text, "(<task 0x…>, …)", where tasks are left; else null.
    String remove(const Operation *task);

private:
    std::mutex _mutex;
    std::vector<std::shared_ptr<Operation>> _tasks; // guarded by _mutex
};

} // namespace kelvane::detail
