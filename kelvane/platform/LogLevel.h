// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/String.h>

namespace kelvane {

/// How much a log line matters, in rising order.
enum class LogLevel { Debug, Info, Error };

/// Takes log lines in place of the default output: the level and the message as it was logged, unescaped. May be
/// called from several threads at once. No lock is held meanwhile, so that it may log and set sinks itself.
using LogSink = Block<void(LogLevel level, const String &message)>;

} // namespace kelvane
