// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ReportData.h"

#include <string>

namespace kelvane::tool {

/// One page that needs nothing but itself: style, script, pictures and chart are in it. Its own policy lets browsers load
/// nothing from elsewhere and run no script but that one, whatever titles and file names hold. Without scripts it can be
/// read; with them its table can be sorted and filtered.
[[nodiscard]] std::string reportPage(const ReportData &data);

} // namespace kelvane::tool
