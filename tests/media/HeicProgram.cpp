// SPDX-License-Identifier: Apache-2.0
// Converts photos in a process of its own, where no module has been loaded yet, and prints what was logged. Its arguments
// are photos and their destinations, in pairs.
#include <kelvane/media/HeicConverter.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <iostream>

int main(int count, char **arguments)
{
    using namespace kelvane;
    const auto printed = [](const char *kind) {
        return [kind](LogLevel, const String &line) { std::cout << kind << ": " << line.view() << '\n'; };
    };
    ZenLogger::defaultLogger().setSink(printed("error"));
    SystemLog::defaultLog().setSink(printed("system"));
    for (int i = 1; i + 1 < count; i += 2)
        std::cout << (HeicConverter::convertHeicToJPG(arguments[i], arguments[i + 1]) ? "true" : "false") << std::endl;
    HeicConverter::freeDylib();
    std::cout << "end" << std::endl;
}
