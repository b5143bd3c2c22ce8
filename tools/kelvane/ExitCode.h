// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace kelvane::tool {

/// What the command tells the shell.
enum ExitCode {
    ExitDone = 0,
    ExitSomeFailed = 1,
    ExitWrongUse = 2,
    ExitCannotStart = 3,
    ExitInterrupted = 130,
};

/// Ends the command before it did anything; what() is the error line without "kelvane: ".
class StopError : public std::runtime_error {
public:
    StopError(ExitCode code, const std::string &line) : std::runtime_error(line), _code(code) {}
    [[nodiscard]] ExitCode code() const noexcept { return _code; }

private:
    ExitCode _code;
};

/// Why one item failed; the other items go on. what() is the reason alone: who reports it knows the file.
class ItemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace kelvane::tool
