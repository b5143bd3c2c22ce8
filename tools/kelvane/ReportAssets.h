// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kelvane::tool {

/// report/report.css and report/report.js, which the build puts into the program.
extern const std::string_view reportStyle;
extern const std::string_view reportScript;

} // namespace kelvane::tool
