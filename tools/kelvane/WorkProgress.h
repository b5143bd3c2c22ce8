// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CommandLine.h"
#include "ProgressDisplay.h"

#include <mutex>
#include <optional>
#include <string>

namespace kelvane::tool {

/// Shows how a command goes that works on files: bars on a terminal, with the command's lines above them. Without a
/// terminal, and where the output is for programs or the library's log is shown, there are the lines alone.
///
/// Threads: any.
class WorkProgress {
public:
    explicit WorkProgress(const OutputOptions &output);

    void plan(std::uint64_t items, std::uint64_t bytes);
    void start(const std::string &path, std::int64_t bytes);
    void progress(const std::string &path, std::int64_t bytesSoFar);
    void settle(const std::string &path, std::int64_t bytes);
    void tick();
    /// Takes the bars away.
    void finish();

    /// Printable lines, each with its end, for standard output.
    void print(const std::string &lines);
    /// "kelvane: " and a printable line, for standard error.
    void printError(const std::string &line);

private:
    std::mutex _mutex;
    std::optional<ProgressDisplay> _display; // guarded by _mutex
};

} // namespace kelvane::tool
