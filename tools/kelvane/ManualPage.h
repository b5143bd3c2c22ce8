// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Program.h"

#include <string>

namespace kelvane::tool {

/// The manual page of the program, kelvane(1), and those of its commands, kelvane-sync(1) and so on, as man(1) reads
/// them. Their date is that of SOURCE_DATE_EPOCH where it is set, so that a build can be repeated to the letter.
[[nodiscard]] std::string manualPageOf(const Program &program);
[[nodiscard]] std::string manualPageOf(const Command &command);

} // namespace kelvane::tool
