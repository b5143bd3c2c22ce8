// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ConditionLock.h>

#include "Spin_p.h"

#include <algorithm>

namespace kelvane {

// Every release wakes all waiters, because they may wait for different conditions. The wake is sent with the mutex
// held: the thread that it lets pass may be the owner of the lock and destroy it as soon as it has the mutex.

namespace {

using Clock = std::chrono::steady_clock;

/// Waiters look for a moment before they sleep: most of what is waited for on a busy queue ends within microseconds,
/// while going to sleep and being woken costs ten.
constexpr std::chrono::microseconds lookingTime{10};

} // namespace

ConditionLock::ConditionLock(int condition) noexcept : _condition(condition) {}

ConditionLock::~ConditionLock() = default;

int ConditionLock::condition() const
{
    const std::lock_guard guard(_mutex);
    return _condition;
}

bool ConditionLock::isFreeAt(int condition) const noexcept
{
    return _condition.load(std::memory_order_relaxed) == condition && !_isHeld.load(std::memory_order_relaxed);
}

void ConditionLock::lock()
{
    std::unique_lock guard(_mutex);
    _changed.wait(guard, [this] { return !_isHeld; });
    _isHeld = true;
}

bool ConditionLock::tryLock()
{
    const std::lock_guard guard(_mutex);
    return !_isHeld.exchange(true);
}

void ConditionLock::lockWhenCondition(int condition)
{
    spinUntil([&] { return isFreeAt(condition); }, Clock::now() + lookingTime);
    std::unique_lock guard(_mutex);
    _changed.wait(guard, [&] { return isFreeAt(condition); });
    _isHeld = true;
}

bool ConditionLock::lockWhenCondition(int condition, std::chrono::steady_clock::time_point deadline)
{
    const Clock::time_point now = Clock::now();
    if (deadline <= now)
        return tryLockWhenCondition(condition);
    spinUntil([&] { return isFreeAt(condition); }, std::min(deadline, now + lookingTime));
    std::unique_lock guard(_mutex);
    if (!_changed.wait_until(guard, deadline, [&] { return isFreeAt(condition); }))
        return false;
    _isHeld = true;
    return true;
}

bool ConditionLock::tryLockWhenCondition(int condition)
{
    const std::lock_guard guard(_mutex);
    if (!isFreeAt(condition))
        return false;
    _isHeld = true;
    return true;
}

void ConditionLock::unlock()
{
    const std::lock_guard guard(_mutex);
    release();
}

void ConditionLock::unlockWithCondition(int condition)
{
    const std::lock_guard guard(_mutex);
    _condition = condition;
    release();
}

void ConditionLock::release() noexcept
{
    _isHeld = false;
    _changed.notify_all();
}

} // namespace kelvane
