// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Program.h"

#include <string>

namespace kelvane::tool {

/// Writes what is installed beside the program and made from its definitions: the manual pages into man1 below
/// `folder`, the completions into bash, zsh and fish. The build asks for it by "kelvane --generate FOLDER".
ExitCode generateFiles(const Program &program, const std::string &folder);

} // namespace kelvane::tool
