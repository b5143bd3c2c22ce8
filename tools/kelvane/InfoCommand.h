// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <string>
#include <vector>

namespace kelvane::tool {

/// kelvane info FILE...
ExitCode showInfo(const std::vector<std::string> &files, bool isJson);

} // namespace kelvane::tool
