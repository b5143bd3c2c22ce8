// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ConditionLock.h>

#include <utility>

namespace kelvane {

// Every release wakes all waiters, because they may wait for different conditions. The wake is sent with the mutex
// held: the thread that it lets pass may be the owner of the lock and destroy it as soon as it has the mutex.

ConditionLock::ConditionLock(int condition) noexcept : _condition(condition) {}

ConditionLock::~ConditionLock() = default;

int ConditionLock::condition() const
{
    const std::lock_guard guard(_mutex);
    return _condition;
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
    return !std::exchange(_isHeld, true);
}

void ConditionLock::lockWhenCondition(int condition)
{
    std::unique_lock guard(_mutex);
    _changed.wait(guard, [&] { return !_isHeld && _condition == condition; });
    _isHeld = true;
}

bool ConditionLock::lockWhenCondition(int condition, std::chrono::steady_clock::time_point deadline)
{
    std::unique_lock guard(_mutex);
    if (!_changed.wait_until(guard, deadline, [&] { return !_isHeld && _condition == condition; }))
        return false;
    _isHeld = true;
    return true;
}

bool ConditionLock::tryLockWhenCondition(int condition)
{
    const std::lock_guard guard(_mutex);
    if (_isHeld || _condition != condition)
        return false;
    _isHeld = true;
    return true;
}

void ConditionLock::unlock()
{
    const std::lock_guard guard(_mutex);
    _isHeld = false;
    _changed.notify_all();
}

void ConditionLock::unlockWithCondition(int condition)
{
    const std::lock_guard guard(_mutex);
    _condition = condition;
    _isHeld = false;
    _changed.notify_all();
}

} // namespace kelvane
