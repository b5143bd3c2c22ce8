// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/Notify.h>

#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/ZenLogger.h>

namespace kelvane::detail {

void logThrowingListener(std::string_view message) noexcept
{
    try {
        String what = "something that is no exception object";
        try {
            throw;
        } catch (const std::exception &thrown) {
            const auto exception = Exception::from(thrown);
            what = String::concat({exception->name().view(), ": ", exception->description().view()});
        } catch (...) {
            // Nothing can be said about it.
        }
        ZenLogger::defaultLogger().ZenLogError(String::concat({"listener of ", message, " threw ", what.view()}));
    } catch (...) {
        // No memory to say so: the listener's failure stays its own.
    }
}

} // namespace kelvane::detail
