// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::testsupport {

/// What something took in a process of its own.
struct Cost {
    bool isDone = false; // it came to its end, without a crash
    double processorSeconds = 0;
    double megabytes = 0; // at the peak, the process itself included
};

/// Runs `work` in a child process. Works as long as the test has no threads.
inline Cost costOf(const std::function<void()> &work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    Cost cost;
    int status = -1;
    rusage usage{};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child)
        return cost;
    cost.isDone = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    cost.processorSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    cost.megabytes = static_cast<double>(usage.ru_maxrss) / 1024;
    return cost;
}

/// How much slower and larger everything is under the sanitizers.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr double sanitizerFactor = 10;
#else
inline constexpr double sanitizerFactor = 1;
#endif

} // namespace kelvane::testsupport
