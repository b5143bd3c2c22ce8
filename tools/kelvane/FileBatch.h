// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CommandLine.h"

#include <functional>
#include <string>
#include <vector>

namespace kelvane::tool {

/// A command that does the same to each of its files.
struct FileBatch {
    std::vector<std::string> files;
    int jobs = 1; // files that are worked on at once
    OutputOptions output;
    std::string failure; // "cannot convert"
    /// Works on one file; what it returns goes to standard output, in the order of the files. Throws ItemError.
    /// Called on several threads where there are several jobs.
    std::function<std::string(const std::string &path)> work;
};

/// Runs a batch, with bars on a terminal. A file that fails gets a line on standard error, and an object of its own in
/// JSON; the others go on.
ExitCode runFileBatch(const FileBatch &batch);

} // namespace kelvane::tool
