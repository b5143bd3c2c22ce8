// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane {
class ConditionLock;
}

// The done signal of both families of tasks: a condition lock at 0 while the task runs and at 1 from its end on.
namespace kelvane::detail {

/// Waits until `signal` is raised, for at most `timeoutMs` milliseconds, and lets other waiters pass. False when the
/// time is up; a negative time never blocks.
[[nodiscard]] bool waitForSignal(ConditionLock &signal, std::int32_t timeoutMs);

/// Raises `signal`. Somebody who keeps the lock for more than a second has it forced up under them, because waiters
/// must not hang: false then.
[[nodiscard]] bool raiseSignal(ConditionLock &signal);

} // namespace kelvane::detail
