// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/DoneSignal.h>

#include <kelvane/platform/ConditionLock.h>

#include <chrono>

namespace kelvane::detail {

using Clock = std::chrono::steady_clock;

bool waitForSignal(ConditionLock &signal, std::int32_t timeoutMs)
{
    if (!signal.lockWhenCondition(1, Clock::now() + std::chrono::milliseconds(timeoutMs)))
        return false;
    signal.unlockWithCondition(1);
    return true;
}

bool raiseSignal(ConditionLock &signal)
{
    if (signal.tryLockWhenCondition(1)) {
        signal.unlockWithCondition(1);
        return true;
    }
    const bool isTaken = signal.lockWhenCondition(0, Clock::now() + std::chrono::seconds(1));
    signal.unlockWithCondition(1);
    return isTaken;
}

} // namespace kelvane::detail
