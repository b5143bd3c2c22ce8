// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <vector>

namespace kelvane::detail {

/// The arguments of a command line; see AsyncExecuteProcessTask::setCmdArgs(). Linear in the length of the text.
[[nodiscard]] KELVANE_EXPORT std::vector<String> splitCommandLine(const String &commandLine);

} // namespace kelvane::detail
