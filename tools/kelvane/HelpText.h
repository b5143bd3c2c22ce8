// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Program.h"

#include <string>

namespace kelvane::tool {

/// The help of a command, and that of the program: lines of at most `width` columns, and never more than 80, which is
/// what people like to read. In a narrow window descriptions stand below the options that they are of.
[[nodiscard]] std::string helpOf(const Command &command, std::size_t width);
[[nodiscard]] std::string helpOf(const Program &program, std::size_t width);

/// "done", "some items failed", …
[[nodiscard]] std::string meaningOf(ExitCode code);

} // namespace kelvane::tool
