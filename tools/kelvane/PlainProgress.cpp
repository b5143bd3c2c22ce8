// SPDX-License-Identifier: Apache-2.0
#include "PlainProgress.h"

#include "SummaryTable.h"
#include "Terminal.h"
#include "Text.h"

#include <cstdio>

namespace kelvane::tool {

void PlainProgress::itemPlanned(const SyncItemNews &item)
{
    std::puts(("would " + std::string(verb(item.what)) + ' ' + shownPath(item.path)).c_str());
}

void PlainProgress::itemFinished(const SyncItemNews &item)
{
    std::string line = std::string(pastTense(item.what)) + ' ' + shownPath(item.path);
    if (!item.devicePath.empty() && item.what != "delete")
        line += " -> " + printable(item.devicePath);
    std::puts(line.c_str());
    std::fflush(stdout);
}

void PlainProgress::finished(const SyncSummary &summary)
{
    std::puts((summaryTable(summary, Terminal::columns()) + summaryText(summary)).c_str());
    std::fflush(stdout);
}

} // namespace kelvane::tool
