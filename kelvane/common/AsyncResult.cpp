// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/AsyncResult.h>

#include <kelvane/platform/ZenLogger.h>

#include <chrono>
#include <mutex>

namespace kelvane {

AsyncResult::AsyncResult() = default;
AsyncResult::~AsyncResult() = default;

std::shared_ptr<ConditionLock> AsyncResult::waitCondition()
{
    const std::lock_guard guard(_invokeSyncObject);
    if (!_waitConditionLock && !_isCompleted.get())
        _waitConditionLock = std::make_shared<ConditionLock>(0);
    return _waitConditionLock;
}

void AsyncResult::fireCompletedEvent()
{
    const std::lock_guard guard(_invokeSyncObject);
    if (!_waitConditionLock)
        return;
    if (_waitConditionLock->tryLockWhenCondition(1)) {
        _waitConditionLock->unlockWithCondition(1);
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    const bool isTaken = _waitConditionLock->lockWhenCondition(0, deadline);
    _waitConditionLock->unlockWithCondition(1);
    if (!isTaken)
        ZenLogger::defaultLogger().ZenLogError("--------------------------------------unexpected fireCompleteEvent");
}

bool AsyncResult::completedSynchronously() const
{
    return isCompleted() && synchronous();
}

bool AsyncResult::asyncState() const
{
    return !userState().isNull();
}

} // namespace kelvane
