// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/LogLevel.h>

#include <memory>

namespace kelvane {

/// The system's own log, for the few lines that go there and not to the ZenLogger.
///
/// Threads: any thread, any operation.
/// Errors: nothing throws; a line that cannot be written, or whose sink throws, is dropped.
class KELVANE_EXPORT SystemLog {
public:
    /// The system log of the process, made on first use and never torn down.
    [[nodiscard]] static SystemLog &defaultLog();

    SystemLog(const SystemLog &) = delete;
    SystemLog &operator=(const SystemLog &) = delete;

    /// Writes one line, with the priority of a notice.
    void log(const String &message) noexcept;

    /// Sends all further lines to `sink`, at level Info; null brings the system's log back. A call of the sink that
    /// it replaces may still be running on another thread. Returns the sink before, null for the system's log.
    LogSink setSink(LogSink sink) noexcept;

private:
    SystemLog();
    ~SystemLog();

    struct Private;
    const std::unique_ptr<Private> d;
};

} // namespace kelvane
