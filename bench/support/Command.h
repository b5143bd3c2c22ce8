// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace kelvane::bench {

/// What a process took.
struct Usage {
    double seconds;
    double peakBytes; ///< of its resident set
};

/// Runs a command of the shell, whose output goes to the file `output`, and ends the program where it fails.
Usage runCommand(const std::string &command, const std::filesystem::path &output = "/dev/null");

/// `word` as one word of the shell.
[[nodiscard]] std::string shellWord(const std::filesystem::path &word);

} // namespace kelvane::bench
