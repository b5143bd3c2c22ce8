// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kelvane::testsupport {

/// Catches what is logged, at every level, as long as it lives; then the sinks and the level are as they were.
/// Several may be nested; the innermost gets the lines.
///
/// Threads: lines may come from any thread, also from one that logs when the capture is gone already.
class LogCapture {
public:
    LogCapture() : _previousLevel(ZenLogger::defaultLogger().level())
    {
        _previousSink = ZenLogger::defaultLogger().setSink(
            [lines = _lines](LogLevel level, const String &message) { lines->add(lines->ofLevel(level), message); });
        _previousSystemSink = SystemLog::defaultLog().setSink(
            [lines = _lines](LogLevel, const String &message) { lines->add(lines->system, message); });
        ZenLogger::defaultLogger().setLevel(LogLevel::Debug);
    }
    ~LogCapture()
    {
        ZenLogger::defaultLogger().setLevel(_previousLevel);
        ZenLogger::defaultLogger().setSink(_previousSink);
        SystemLog::defaultLog().setSink(_previousSystemSink);
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /// The lines so far of one level of the shared logger, in the order in which they came.
    [[nodiscard]] std::vector<std::string> debugLines() const { return _lines->copy(_lines->debug); }
    [[nodiscard]] std::vector<std::string> infoLines() const { return _lines->copy(_lines->info); }
    [[nodiscard]] std::vector<std::string> errorLines() const { return _lines->copy(_lines->error); }
    /// The lines so far of the system log.
    [[nodiscard]] std::vector<std::string> systemLines() const { return _lines->copy(_lines->system); }

private:
    struct Lines {
        void add(std::vector<std::string> &target, const String &message)
        {
            const std::lock_guard guard(mutex);
            target.push_back(message.str());
        }
        std::vector<std::string> copy(const std::vector<std::string> &source)
        {
            const std::lock_guard guard(mutex);
            return source;
        }
        std::vector<std::string> &ofLevel(LogLevel level)
        {
            return level == LogLevel::Debug ? debug : level == LogLevel::Info ? info : error;
        }

        std::mutex mutex;
        std::vector<std::string> debug, info, error, system; // guarded by mutex
    };

    const std::shared_ptr<Lines> _lines = std::make_shared<Lines>();
    const LogLevel _previousLevel;
    LogSink _previousSink;
    LogSink _previousSystemSink;
};

} // namespace kelvane::testsupport
