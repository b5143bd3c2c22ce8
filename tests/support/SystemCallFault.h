// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <optional>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace kelvane::testsupport {

/// Makes system calls of a child process fail: what a broken disk or an old system answers, on demand.
class SystemCallFault {
public:
    /// Calls `number` fails with `error`; where `argument` is given, only if its low 32 bits have one of `bits` (if
    /// `atLeast` is false) or are no smaller than `bits`.
    SystemCallFault &fail(
        long number, int error, std::optional<int> argument = {}, std::uint32_t bits = 0, bool atLeast = false)
    {
        // Each rule ends where the next begins, so that rules are independent of each other.
        const auto length = static_cast<std::uint8_t>(argument ? 3 : 1);
        add(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
        add(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(number), 0, length);
        if (argument) {
            add(BPF_LD | BPF_W | BPF_ABS,
                static_cast<std::uint32_t>(
                    offsetof(seccomp_data, args) + sizeof(std::uint64_t) * static_cast<unsigned>(*argument)));
            const int test = atLeast ? BPF_JGE : BPF_JSET;
            add(static_cast<std::uint16_t>(BPF_JMP | test | BPF_K), bits, 0, 1);
        }
        add(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error));
        return *this;
    }

    /// Runs `work` in a child with the faults in force; its result (0 to 127), or nothing if it died or the system
    /// does not let itself be filtered.
    [[nodiscard]] std::optional<int> run(const std::function<int()> &work)
    {
        const pid_t child = fork();
        if (child == 0)
            _exit(install() ? work() : refused);
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) == refused)
            return std::nullopt;
        return WEXITSTATUS(status);
    }

private:
    static constexpr int refused = 255;

    void add(std::uint16_t code, std::uint32_t value, std::uint8_t yes = 0, std::uint8_t no = 0)
    {
        _program.push_back({code, yes, no, value});
    }
    bool install()
    {
        if (_program.empty())
            return true;
        add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
        const sock_fprog program{static_cast<std::uint16_t>(_program.size()), _program.data()};
        return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
    }

    std::vector<sock_filter> _program;
};

} // namespace kelvane::testsupport
