// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/LogLevel.h>

#include <mutex>
#include <utility>

namespace kelvane {

/// Where a log keeps the sink that the application gave it.
///
/// Threads: any. A sink is copied out under the lock and called without it.
class SinkSlot {
public:
    /// Returns the sink before.
    LogSink set(LogSink sink)
    {
        const std::lock_guard guard(_mutex);
        return std::exchange(_sink, std::move(sink));
    }
    [[nodiscard]] LogSink get() const
    {
        const std::lock_guard guard(_mutex);
        return _sink;
    }

private:
    mutable std::mutex _mutex;
    LogSink _sink; // guarded by _mutex
};

} // namespace kelvane
