// SPDX-License-Identifier: Apache-2.0
#include "SummaryTable.h"

#include "Text.h"

#include <algorithm>
#include <array>
#include <vector>

namespace kelvane::tool {
namespace {

struct Words {
    SyncOutcome outcome;
    const char *done;
    const char *planned;
};

constexpr std::array<Words, syncOutcomeCount> words{{{SyncOutcome::Copied, "copied", "to copy"},
    {SyncOutcome::Replaced, "replaced", "to replace"}, {SyncOutcome::Removed, "removed", "to remove"},
    {SyncOutcome::Unchanged, "unchanged", "unchanged"}, {SyncOutcome::Failed, "failed", "failed"}}};

const char *wordOf(const Words &row, const SyncSummary &summary)
{
    return summary.isDryRun ? row.planned : row.done;
}

bool hasKind(const SyncSummary &summary, std::size_t kind)
{
    return std::any_of(
        summary.tallies.begin(), summary.tallies.end(), [&](const auto &kinds) { return kinds[kind].items > 0; });
}

// Numbers of a million items take seven digits.
constexpr std::size_t numberWidth = 7;
constexpr std::size_t sizeWidth = 10;
constexpr std::size_t wordWidth = 10;

std::string number(std::uint64_t value)
{
    return fittedRight(value > 0 ? std::to_string(value) : "", numberWidth);
}

} // namespace

std::string summaryTable(const SyncSummary &summary, std::size_t width)
{
    constexpr std::array<const char *, SyncSummary::kindCount> names{"audio", "video", "images", "other"};
    std::vector<std::size_t> kinds;
    for (std::size_t kind = 0; kind < SyncSummary::kindCount; ++kind)
        if (hasKind(summary, kind))
            kinds.push_back(kind);
    if (kinds.empty())
        return {};
    if (wordWidth + (kinds.size() + 1) * (numberWidth + 1) + sizeWidth + 1 > width)
        kinds.clear();
    std::string text(wordWidth, ' ');
    for (const std::size_t kind : kinds)
        text += ' ' + fittedRight(names[kind], numberWidth);
    text += ' ' + fittedRight("items", numberWidth) + ' ' + fittedRight("size", sizeWidth) + '\n';
    for (const Words &row : words) {
        const SyncSummary::Tally total = summary.total(row.outcome);
        if (total.items == 0)
            continue;
        text += fitted(wordOf(row, summary), wordWidth);
        for (const std::size_t kind : kinds)
            text += ' ' + number(summary.tallies[static_cast<std::size_t>(row.outcome)][kind].items);
        text += ' ' + number(total.items) + ' ' + fittedRight(bytesText(total.bytes), sizeWidth) + '\n';
    }
    return text;
}

std::string summaryText(const SyncSummary &summary)
{
    std::string text;
    for (const Words &row : words)
        if (const std::uint64_t items = summary.items(row.outcome); items > 0)
            text += (text.empty() ? "" : ", ") + std::to_string(items) + ' ' + wordOf(row, summary);
    if (text.empty())
        text = "nothing to do";
    const std::uint64_t bytes = summary.bytesWritten();
    if (summary.isDryRun)
        text += bytes > 0 ? "; " + bytesText(bytes) : "";
    else
        text += "; " + amountText(bytes, summary.seconds);
    return (summary.isInterrupted ? "interrupted: " : "") + text;
}

} // namespace kelvane::tool
