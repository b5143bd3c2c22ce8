// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncSummary.h"

#include <string>

namespace kelvane::tool {

/// A table of what a run did: a row for each outcome that there was, a column for each kind of media, items and bytes.
/// A terminal of few columns is shown the totals alone. "" where there is nothing to tell.
[[nodiscard]] std::string summaryTable(const SyncSummary &summary, std::size_t width);

/// "3 copied, 1 replaced, 8 unchanged; 12.3 MB in 0.41 s (30.0 MB/s)": the closing words of the views for people.
[[nodiscard]] std::string summaryText(const SyncSummary &summary);

} // namespace kelvane::tool
