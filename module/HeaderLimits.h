// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SourceFile.h"

#include <string_view>

namespace kelvane::module {

/// Whether the tables that a file announces have a size that a real recording could have. The demuxers make an entry
/// for every sample that a header announces, also for those that cannot be in the file: a few bytes could make them
/// fill gigabytes.
[[nodiscard]] bool areTablesReasonable(SourceFile &file, std::string_view demuxer);

} // namespace kelvane::module
