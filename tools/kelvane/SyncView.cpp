// SPDX-License-Identifier: Apache-2.0
#include "SyncView.h"

#include "Text.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace kelvane::tool {
namespace {

std::string secondsText(double seconds)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), seconds < 0.995 ? "%.2f s" : seconds < 9.95 ? "%.1f s" : "%.0f s", seconds);
    return seconds < 59.5 ? std::string(text.data()) : durationText(static_cast<std::uint64_t>(std::llround(seconds)));
}

void appendCount(std::string &text, std::uint64_t count, const char *word)
{
    if (count > 0)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + word;
}

} // namespace

void SyncView::errorLine(const std::string &printableLine)
{
    clearForLine();
    const std::string line = "kelvane: " + printableLine + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
    drawAgain();
}

void SyncView::itemFailed(const std::string &path, std::string_view what, const std::string &reason)
{
    errorLine("cannot " + std::string(what) + ' ' + inQuotes(path) + ": " + reason);
    failed(path, reason);
}

std::string summaryText(const SyncSummary &summary)
{
    std::string text;
    appendCount(text, summary.added, summary.isDryRun ? "to copy" : "copied");
    appendCount(text, summary.changed, summary.isDryRun ? "to replace" : "replaced");
    appendCount(text, summary.deleted, summary.isDryRun ? "to remove" : "removed");
    appendCount(text, summary.unchanged, "unchanged");
    appendCount(text, summary.failed, "failed");
    if (text.empty())
        text = "nothing to do";
    if (summary.bytes > 0)
        text += "; " + bytesText(summary.bytes);
    if (!summary.isDryRun) {
        text += (summary.bytes > 0 ? " in " : "; ") + secondsText(summary.seconds);
        if (summary.bytes > 0 && summary.seconds > 0)
            text += " (" + bytesText(static_cast<std::uint64_t>(static_cast<double>(summary.bytes) / summary.seconds))
                + "/s)";
    }
    return (summary.isInterrupted ? "interrupted: " : "") + text;
}

std::string_view verb(std::string_view what)
{
    return what == "add" ? "copy" : what == "change" ? "replace" : what == "delete" ? "remove" : "verify";
}

std::string_view pastTense(std::string_view what)
{
    return what == "add" ? "copied" : what == "change" ? "replaced" : what == "delete" ? "removed" : "verified";
}

} // namespace kelvane::tool
