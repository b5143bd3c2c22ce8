// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/SystemLog.h>

#include "LogText_p.h"
#include "SinkSlot_p.h"

#include <syslog.h>

namespace kelvane {

struct SystemLog::Private {
    SinkSlot sink;
};

SystemLog &SystemLog::defaultLog()
{
    // Leaked, because threads of queues may log while the process ends.
    static auto *const log = new SystemLog;
    return *log;
}

SystemLog::SystemLog() : d(std::make_unique<Private>()) {}

SystemLog::~SystemLog() = default;

void SystemLog::log(const String &message) noexcept
{
    try {
        if (const LogSink sink = d->sink.get())
            sink(LogLevel::Info, message);
        else // Without openlog(): the identity that the application chose for itself stays.
            syslog(LOG_USER | LOG_NOTICE, "%s", printableText(message.view()).c_str());
    } catch (...) {
        // A log line must never end the work that it tells of.
        return;
    }
}

LogSink SystemLog::setSink(LogSink sink) noexcept
{
    return d->sink.set(std::move(sink));
}

} // namespace kelvane
