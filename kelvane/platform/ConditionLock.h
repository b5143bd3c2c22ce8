// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kelvane {

/// A lock that carries a number, its condition, and can be waited for until the number has a given value: the done
/// signal of tasks (0 not done, 1 done).
///
/// Threads: any. The lock belongs to no thread: one may take it and another give it back.
/// Errors: nothing throws.
class KELVANE_EXPORT ConditionLock {
public:
    explicit ConditionLock(int condition) noexcept;
    ~ConditionLock();
    ConditionLock(const ConditionLock &) = delete;
    ConditionLock &operator=(const ConditionLock &) = delete;

    /// The condition at this moment.
    [[nodiscard]] int condition() const;

    /// Waits until the lock is free and takes it, whatever the condition.
    void lock();
    /// Takes the lock if it is free now.
    [[nodiscard]] bool tryLock();
    /// Waits until the lock is free and the condition is `condition`, and takes it.
    void lockWhenCondition(int condition);
    /// The same up to `deadline`. False if the lock was not taken by then; a deadline in the past never blocks, and
    /// still takes a lock that can be had at once.
    [[nodiscard]] bool lockWhenCondition(int condition, std::chrono::steady_clock::time_point deadline);
    /// Takes the lock if it is free and the condition is `condition` now.
    [[nodiscard]] bool tryLockWhenCondition(int condition);

    /// Gives the lock back and wakes those who wait for it.
    void unlock();
    /// Sets the condition, gives the lock back and wakes those who wait for it.
    ///
    /// Intended: works on a lock that the caller does not hold, and frees it even if another holds it. The task core
    /// forces the done signal that way when it could not take the lock in time.
    void unlockWithCondition(int condition);

private:
    bool isFreeAt(int condition) const noexcept;
    void release() noexcept;

    mutable std::mutex _mutex;
    std::condition_variable _changed;
    // Both are written under _mutex, and read without it only for a hint.
    std::atomic<int> _condition;
    std::atomic<bool> _isHeld{false};
};

} // namespace kelvane
