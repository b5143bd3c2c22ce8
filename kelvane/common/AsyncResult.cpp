// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/AsyncResult.h>

#include <kelvane/common/detail/DoneSignal.h>
#include <kelvane/platform/ZenLogger.h>

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
    if (_waitConditionLock && !detail::raiseSignal(*_waitConditionLock))
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
