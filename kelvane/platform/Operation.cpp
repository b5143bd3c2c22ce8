// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Operation.h>

namespace kelvane {

Operation::~Operation() = default;

void Operation::start()
{
    if (_runState.exchange(executing, std::memory_order_acq_rel) == executing)
        return;

    // The store is the last touch, whether main() returns or throws: a thread that sees it may destroy the operation.
    struct Finisher {
        ~Finisher() { runState.store(finished, std::memory_order_release); }
        std::atomic<RunState> &runState;
    } const finisher{_runState};
    if (!_isCancelRequested.load(std::memory_order_acquire))
        main();
}

void Operation::main() {}

void Operation::cancel()
{
    _isCancelRequested.store(true, std::memory_order_release);
}

bool Operation::isCancelled() const
{
    return _isCancelRequested.load(std::memory_order_acquire);
}

} // namespace kelvane
