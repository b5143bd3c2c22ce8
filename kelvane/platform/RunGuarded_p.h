// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>
#include <kelvane/platform/ZenLogger.h>

#include <exception>

namespace kelvane {

/// Writes the error line for the exception that is being handled.
void logUncaughtException() noexcept;

/// Runs application code on a thread of a queue: whatever it throws ends in one error line of the shared logger.
template <class Callable>
void runGuarded(Callable &&callable) noexcept
{
    try {
        callable();
    } catch (...) {
        logUncaughtException();
    }
}

} // namespace kelvane
