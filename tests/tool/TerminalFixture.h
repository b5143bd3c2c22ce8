// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncFixture.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace kelvane::testsupport {

/// What a command of the shell writes to its standard output.
[[nodiscard]] std::string shell(const std::string &command);

/// The command in a real terminal, whose screen can be looked at.
class TerminalFixture : public SyncFixture {
protected:
    void SetUp() override;
    void TearDown() override;

    std::string tmux(const std::string &command) const;
    /// Opens a new terminal of so many columns, which runs `command` alone; one from before is closed.
    void open(int columns, const std::string &command);
    /// Runs any command of the shell in a new terminal; its exit code is shown when it has ended.
    void startShell(int columns, const std::string &command);
    void start(int columns, const std::string &arguments, const std::string &environment = "");
    /// The lines of the screen that are not empty.
    [[nodiscard]] std::vector<std::string> screen() const;
    [[nodiscard]] static bool hasEnded(const std::vector<std::string> &lines);
    /// Looks at the screen until the command has ended; `look` sees each picture before that.
    template <class Look>
    std::vector<std::string> watch(Look look) const
    {
        using namespace std::chrono_literals;
        const auto deadline = std::chrono::steady_clock::now() + 60s;
        std::vector<std::string> lines = screen();
        while (!hasEnded(lines) && std::chrono::steady_clock::now() < deadline) {
            look(lines);
            std::this_thread::sleep_for(5ms);
            lines = screen();
        }
        return lines;
    }
    [[nodiscard]] std::vector<std::string> end() const
    {
        return watch([](const std::vector<std::string> &) {});
    }

private:
    int _terminals = 0;
};

} // namespace kelvane::testsupport
