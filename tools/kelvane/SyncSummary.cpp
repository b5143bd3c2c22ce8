// SPDX-License-Identifier: Apache-2.0
#include "SyncSummary.h"

#include "Text.h"

#include <algorithm>

namespace kelvane::tool {
namespace {

std::size_t placeOf(const MediaFormat *format)
{
    if (!format)
        return SyncSummary::kindCount - 1;
    return format->kind == MediaKind::Audio ? 0 : format->kind == MediaKind::Video ? 1 : 2;
}

} // namespace

void SyncSummary::count(SyncOutcome outcome, const std::string &path, std::int64_t bytes)
{
    const std::size_t kind = placeOf(formatOfExtension(lowerExtension(path)));
    Tally &tally = tallies[static_cast<std::size_t>(outcome)][kind];
    ++tally.items;
    tally.bytes += static_cast<std::uint64_t>(std::max<std::int64_t>(bytes, 0));
}

SyncSummary::Tally SyncSummary::total(SyncOutcome outcome) const
{
    Tally sum;
    for (const Tally &tally : tallies[static_cast<std::size_t>(outcome)]) {
        sum.items += tally.items;
        sum.bytes += tally.bytes;
    }
    return sum;
}

std::uint64_t SyncSummary::bytesWritten() const
{
    return total(SyncOutcome::Copied).bytes + total(SyncOutcome::Replaced).bytes;
}

} // namespace kelvane::tool
