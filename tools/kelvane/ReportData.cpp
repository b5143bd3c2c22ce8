// SPDX-License-Identifier: Apache-2.0
#include "ReportData.h"

namespace kelvane::tool {
namespace {

void add(ReportData::Total &total, const ReportItem &item)
{
    ++total.items;
    total.bytes += item.bytes;
    total.seconds += item.seconds;
}

} // namespace

ReportData::Total ReportData::total(ReportKind kind) const
{
    Total sum;
    for (const ReportItem &item : items)
        if (item.kind == kind)
            add(sum, item);
    return sum;
}

ReportData::Total ReportData::total() const
{
    Total sum;
    for (const ReportItem &item : items)
        add(sum, item);
    return sum;
}

const char *titleOf(ReportKind kind)
{
    constexpr std::array<const char *, reportKindCount> titles{"Audio", "Video", "Images", "Other"};
    return titles[static_cast<std::size_t>(kind)];
}

const char *styleOf(ReportKind kind)
{
    constexpr std::array<const char *, reportKindCount> styles{"audio", "video", "images", "unknown"};
    return styles[static_cast<std::size_t>(kind)];
}

} // namespace kelvane::tool
