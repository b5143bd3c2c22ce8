// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/detail/CommandLine.h>

#include <cstddef>

// What AsyncExecuteProcessTask::setCmdArgs() splits a command line with.
void kelvane::fuzz(std::string_view input)
{
    std::size_t bytes = 0;
    for (const String &argument : detail::splitCommandLine(String(input))) {
        require(!argument.isNull(), "an argument is never null");
        bytes += argument.size();
    }
    require(bytes <= input.size(), "arguments are no longer than the line that they come from");
    if (input.find('"') == std::string_view::npos && input.find_first_not_of(" \t") != std::string_view::npos
        && input.find_first_of("\xC2\xE1\xE2\xE3") == std::string_view::npos)
        require(bytes > 0, "a line without quotes loses nothing but its blanks");
}
