// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CallLog.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace kelvane::testsupport {

/// One call of a program that changed something, or meant to.
struct RecordedCall {
    CallKind kind;
    std::uint64_t inode;
    std::int64_t position;
    std::string path;
    std::string other;
    std::string bytes;
};

/// The calls in `path`, in the order in which they took effect.
[[nodiscard]] std::vector<RecordedCall> readCalls(const std::string &path);

/// A program and its arguments, and the folder whose changes are of interest.
struct WatchedProgram {
    std::vector<std::string> arguments;
    std::string folder;
};

/// Runs a program to its end, which must be a good one, and gives its calls.
[[nodiscard]] std::vector<RecordedCall> record(const WatchedProgram &program);
/// Runs a program that is killed just before its call `number`, from 1. False where it ended well before that.
[[nodiscard]] bool runUntil(const WatchedProgram &program, std::size_t number);
/// Runs a program as it is. Its exit code.
[[nodiscard]] int runAlone(const std::vector<std::string> &arguments);

} // namespace kelvane::testsupport
