// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::testsupport {

/// Gives a folder and all that is in it to a user without privileges, where root runs the tests.
inline bool giveToOrdinaryUser(const std::filesystem::path &folder)
{
    return geteuid() != 0 || std::system(("chown -hR 65534:65534 '" + folder.native() + "'").c_str()) == 0;
}

/// Runs `work` in a child process without root's privileges; whether it returned true.
inline bool asOrdinaryUser(const std::function<bool()> &work)
{
    constexpr unsigned nobody = 65534;
    const pid_t child = fork();
    if (child == 0)
        _exit((geteuid() != 0 || (setgid(nobody) == 0 && setuid(nobody) == 0)) && work() ? 0 : 1);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

} // namespace kelvane::testsupport
