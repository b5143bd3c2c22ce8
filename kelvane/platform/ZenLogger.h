// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/LogLevel.h>

#include <atomic>
#include <memory>

namespace kelvane {

/// The shared logger: three levels, each given one preformatted message.
///
/// Writes to standard error with time, level and thread, unless the application sets a sink. Shows information and
/// errors; debug messages are dropped until setLevel() asks for them. In the output control characters but tab and
/// newline, and bytes that are not UTF-8, read as \xNN: file names come from strangers and must not steer a terminal.
///
/// Threads: any thread, any operation.
/// Errors: nothing throws; a line that cannot be written, or whose sink throws, is dropped.
class KELVANE_EXPORT ZenLogger {
public:
    /// The logger of the process, made on first use and never torn down.
    [[nodiscard]] static ZenLogger &defaultLogger();

    ZenLogger(const ZenLogger &) = delete;
    ZenLogger &operator=(const ZenLogger &) = delete;

    /// Logs at the level that the name says. @selector ZenLogDebug:
    void ZenLogDebug(const String &message) noexcept;
    /// @selector ZenLogInfo:
    void ZenLogInfo(const String &message) noexcept;
    /// @selector ZenLogError:
    void ZenLogError(const String &message) noexcept;

    /// Whether debug messages go anywhere. Costs one load: ask before a text is put together for ZenLogDebug().
    [[nodiscard]] bool isDebugEnabled() const noexcept { return isEnabled(LogLevel::Debug); }
    [[nodiscard]] bool isEnabled(LogLevel level) const noexcept { return level >= this->level(); }
    /// The lowest level that is shown.
    [[nodiscard]] LogLevel level() const noexcept { return _level.load(std::memory_order_relaxed); }
    void setLevel(LogLevel level) noexcept { _level.store(level, std::memory_order_relaxed); }

    /// Sends all further lines of the shown levels to `sink`; null brings standard error back. A call of the sink
    /// that it replaces may still be running on another thread. Returns the sink before, null for standard error.
    LogSink setSink(LogSink sink) noexcept;

private:
    ZenLogger();
    ~ZenLogger();

    void log(LogLevel level, const String &message) noexcept;

    struct Private;
    const std::unique_ptr<Private> d;
    std::atomic<LogLevel> _level{LogLevel::Info};
};

} // namespace kelvane
