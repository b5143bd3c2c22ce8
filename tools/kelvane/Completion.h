// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Program.h"

#include <string>

namespace kelvane::tool {

/// Scripts that let a shell complete the program's command line: its commands, their options, and files, folders or
/// programs where those are expected. Each is to be loaded by its shell in that shell's own way.
[[nodiscard]] std::string bashCompletion(const Program &program);
[[nodiscard]] std::string zshCompletion(const Program &program);
[[nodiscard]] std::string fishCompletion(const Program &program);

} // namespace kelvane::tool
