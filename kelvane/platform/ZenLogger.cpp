// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ZenLogger.h>

#include "LogText_p.h"
#include "SinkSlot_p.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

namespace kelvane {

// The level is asked before anything else, so that a line nobody sees costs one load. spdlog does the default output
// alone: a sink of the application gets its lines without it.

struct ZenLogger::Private {
    SinkSlot sink;
    spdlog::logger output{"kelvane", std::make_shared<spdlog::sinks::stderr_sink_mt>()};
};

namespace {

spdlog::level::level_enum outputLevel(LogLevel level)
{
    switch (level) {
    case LogLevel::Debug:
        return spdlog::level::debug;
    case LogLevel::Info:
        return spdlog::level::info;
    case LogLevel::Error:
        break;
    }
    return spdlog::level::err;
}

} // namespace

ZenLogger &ZenLogger::defaultLogger()
{
    // Leaked, because threads of queues may log while the process ends.
    static auto *const logger = new ZenLogger;
    return *logger;
}

ZenLogger::ZenLogger() : d(std::make_unique<Private>())
{
    d->output.set_level(spdlog::level::trace);
    d->output.set_pattern("%Y-%m-%d %H:%M:%S.%e %n[%P:%t] %l: %v");
}

ZenLogger::~ZenLogger() = default;

void ZenLogger::ZenLogDebug(const String &message) noexcept
{
    log(LogLevel::Debug, message);
}

void ZenLogger::ZenLogInfo(const String &message) noexcept
{
    log(LogLevel::Info, message);
}

void ZenLogger::ZenLogError(const String &message) noexcept
{
    log(LogLevel::Error, message);
}

LogSink ZenLogger::setSink(LogSink sink) noexcept
{
    return d->sink.set(std::move(sink));
}

void ZenLogger::log(LogLevel level, const String &message) noexcept
{
    if (!isEnabled(level))
        return;
    try {
        if (const LogSink sink = d->sink.get())
            sink(level, message);
        else
            d->output.log(outputLevel(level), spdlog::string_view_t(printableText(message.view())));
    } catch (...) {
        // A log line must never end the work that it tells of.
        return;
    }
}

} // namespace kelvane
