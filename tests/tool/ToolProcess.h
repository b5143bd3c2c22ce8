// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace kelvane::testsupport {

/// How the command is started.
struct ToolOptions {
    std::map<std::string, std::string> environment; // added to that of the test
    bool isUnprivileged = false; // run as "nobody", for whom permissions count
    std::string program = {}; // a copy of the command; empty means the one that was built
};

/// Whether "nobody" could run the command: it needs the superuser to become him, and folders that he may enter.
[[nodiscard]] bool canRunUnprivileged();

/// The kelvane command as a process of its own, with its standard output and error caught in files.
class ToolProcess {
public:
    /// Starts the command.
    explicit ToolProcess(const std::vector<std::string> &arguments, const ToolOptions &options = {});
    /// Kills it if it still runs.
    ~ToolProcess();
    ToolProcess(const ToolProcess &) = delete;
    ToolProcess &operator=(const ToolProcess &) = delete;

    /// Waits for the end. The exit code, or minus the signal that ended it.
    int wait();
    void signal(int number) const;
    /// Waits until the output so far contains `text`; false where the process ends without.
    bool waitForOutput(const std::string &text);
    [[nodiscard]] bool isRunning();

    [[nodiscard]] std::string output() const;
    [[nodiscard]] std::string errors() const;

private:
    pid_t _pid = -1;
    int _status = 0;
    std::string _outputPath;
    std::string _errorPath;
};

/// What a run of the command gave.
struct ToolResult {
    int code = 0;
    std::string output;
    std::string errors;

    [[nodiscard]] std::vector<std::string> outputLines() const;
    [[nodiscard]] std::vector<std::string> errorLines() const;
};

/// Runs the command to its end.
ToolResult runTool(const std::vector<std::string> &arguments, const ToolOptions &options = {});

} // namespace kelvane::testsupport
