// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/detail/AtomicProperty.h>

namespace kelvane::detail {

void ByteLock::lockTaken() noexcept
{
    while (_state.exchange(2, std::memory_order_acquire) != 0)
        _state.wait(2, std::memory_order_relaxed);
}

void ByteLock::wakeOne() noexcept
{
    _state.notify_one();
}

} // namespace kelvane::detail
