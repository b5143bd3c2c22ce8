// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <string>
#include <vector>

namespace kelvane::tool {

/// Runs a command through the library's external-process task and prints what it wrote: its output and errors each to
/// their own stream, or both in one JSON object. A name without a slash is looked for in PATH. Its exit code is not
/// looked at.
ExitCode runExternalCommand(const std::vector<std::string> &command, bool isJson);

} // namespace kelvane::tool
