// SPDX-License-Identifier: Apache-2.0
// Converts a photo in a process of its own, where no module has been loaded yet, and prints what was logged.
#include <kelvane/media/HeicConverter.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <iostream>

int main(int, char **arguments)
{
    using namespace kelvane;
    const auto printed = [](const char *kind) {
        return [kind](LogLevel, const String &line) { std::cout << kind << ": " << line.view() << '\n'; };
    };
    ZenLogger::defaultLogger().setSink(printed("error"));
    SystemLog::defaultLog().setSink(printed("system"));
    const bool isConverted = HeicConverter::convertHeicToJPG(arguments[1], arguments[2]);
    HeicConverter::freeDylib();
    std::cout << (isConverted ? "true" : "false") << '\n';
}
