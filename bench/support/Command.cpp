// SPDX-License-Identifier: Apache-2.0
#include "Command.h"

#include "Contest.h"

#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::bench {

Usage runCommand(const std::string &command, const std::filesystem::path &output)
{
    Usage usage{};
    const std::string line = "exec " + command + " >" + shellWord(output) + " 2>&1";
    usage.seconds = seconds([&] {
        const pid_t child = fork();
        require(child >= 0, "a process");
        if (child == 0) {
            execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
            std::_Exit(127);
        }
        int status = 0;
        rusage used{};
        require(
            wait4(child, &status, 0, &used) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0, command.c_str());
        usage.peakBytes = static_cast<double>(used.ru_maxrss) * 1024;
    });
    return usage;
}

std::string shellWord(const std::filesystem::path &word)
{
    return '\'' + word.native() + '\'';
}

} // namespace kelvane::bench
