// SPDX-License-Identifier: Apache-2.0
#include "RunGuarded_p.h"

#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/ZenLogger.h>

namespace kelvane {

void logUncaughtException() noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception &exception) {
            const auto caught = Exception::from(exception);
            ZenLogger::defaultLogger().ZenLogError(String::concat(
                {"uncaught exception on a queue thread: ", caught->name().view(), ": ", caught->reason().view()}));
        } catch (...) {
            ZenLogger::defaultLogger().ZenLogError("uncaught exception of unknown type on a queue thread");
        }
    } catch (...) {
        // Only memory can have run out here, and then there is nothing to say it with.
        return;
    }
}

} // namespace kelvane
