// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <string>

namespace kelvane::tool {

/// kelvane list DEVICE
ExitCode listDevice(const std::string &devicePath, bool isJson);

} // namespace kelvane::tool
