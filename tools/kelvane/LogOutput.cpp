// SPDX-License-Identifier: Apache-2.0
#include "LogOutput.h"

#include <kelvane/platform/ZenLogger.h>

namespace kelvane::tool {

void setLogOutput(bool isShown)
{
    ZenLogger &logger = ZenLogger::defaultLogger();
    if (isShown) {
        logger.setSink(nullptr);
        logger.setLevel(LogLevel::Debug);
    } else {
        logger.setSink([](LogLevel, const String &) {});
    }
}

} // namespace kelvane::tool
