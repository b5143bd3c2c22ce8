// SPDX-License-Identifier: Apache-2.0
#include "TerminalProgress.h"

#include "SummaryTable.h"
#include "Terminal.h"

#include <cstdio>

namespace kelvane::tool {

void TerminalProgress::itemProgress(const SyncItemNews &item, int /*percent*/, std::int64_t copied)
{
    _display.progress(item.path, copied);
}

void TerminalProgress::itemFinished(const SyncItemNews &item)
{
    _display.settle(item.path, item.what == "delete" ? 0 : item.bytes);
}

void TerminalProgress::failed(const std::string &path, const std::string & /*reason*/)
{
    _display.settle(path, 0);
}

void TerminalProgress::finished(const SyncSummary &summary)
{
    _display.finish();
    const bool isGood = summary.items(SyncOutcome::Failed) == 0 && !summary.isInterrupted;
    const bool hasColours = Terminal::hasColours();
    const std::string mark = !hasColours ? "" : isGood ? "\x1b[32m" : "\x1b[33m";
    const std::string text =
        summaryTable(summary, Terminal::columns()) + mark + summaryText(summary) + (hasColours ? "\x1b[0m\n" : "\n");
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

} // namespace kelvane::tool
