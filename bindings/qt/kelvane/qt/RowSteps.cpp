// SPDX-License-Identifier: Apache-2.0
#include "RowSteps_p.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace kelvane::qt {

namespace {

using Rows = std::vector<const IDataItem *>;
using Range = RowSteps::Range;

constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();

/// Where in after[begin, end) the rows before[begin, …] are found, each at a place of its own; `nowhere` for those that
/// are not.
std::vector<std::size_t> placesAfter(
    const Rows &before, std::size_t begin, std::size_t beforeEnd, const Rows &after, std::size_t afterEnd)
{
    using Place = std::pair<const IDataItem *, std::size_t>;
    std::vector<Place> index;
    index.reserve(afterEnd - begin);
    for (std::size_t place = begin; place < afterEnd; ++place)
        index.emplace_back(after[place], place);
    const auto byItem = [](const Place &a, const Place &b) {
        return a.first == b.first ? a.second < b.second : std::less<>()(a.first, b.first);
    };
    std::sort(index.begin(), index.end(), byItem);

    // How often the item at the first of its places has been found already.
    std::vector<std::size_t> used(index.size());
    std::vector<std::size_t> places;
    places.reserve(beforeEnd - begin);
    for (std::size_t row = begin; row < beforeEnd; ++row) {
        const auto first = std::lower_bound(index.begin(), index.end(), Place(before[row], 0), byItem);
        const auto offset = static_cast<std::size_t>(first - index.begin());
        const std::size_t found = offset < index.size() ? offset + used[offset] : index.size();
        if (found >= index.size() || index[found].first != before[row]) {
            places.push_back(nowhere);
            continue;
        }
        ++used[offset];
        places.push_back(index[found].second);
    }
    return places;
}

/// Sets all places to `nowhere` but those of one of the longest runs that go up.
void keepLongestRun(std::vector<std::size_t> &places)
{
    // ends[n]: the row at which the run of n + 1 rows ends that ends at the lowest place. previous: the row before it.
    std::vector<std::size_t> ends;
    std::vector<std::size_t> previous(places.size(), nowhere);
    for (std::size_t row = 0; row < places.size(); ++row) {
        if (places[row] == nowhere)
            continue;
        const auto longer = std::lower_bound(ends.begin(), ends.end(), places[row],
            [&](std::size_t end, std::size_t place) { return places[end] < place; });
        if (longer != ends.begin())
            previous[row] = *std::prev(longer);
        if (longer == ends.end())
            ends.push_back(row);
        else
            *longer = row;
    }
    std::vector<std::size_t> kept(places.size(), nowhere);
    for (std::size_t row = ends.empty() ? nowhere : ends.back(); row != nowhere; row = previous[row])
        kept[row] = places[row];
    places = std::move(kept);
}

void append(std::vector<Range> &ranges, std::size_t row)
{
    if (!ranges.empty() && ranges.back().first + ranges.back().count == row)
        ++ranges.back().count;
    else
        ranges.push_back({row, 1});
}

} // namespace

RowSteps rowSteps(const Rows &before, const Rows &after)
{
    const std::size_t shorter = std::min(before.size(), after.size());
    std::size_t begin = 0;
    while (begin < shorter && before[begin] == after[begin])
        ++begin;
    std::size_t beforeEnd = before.size();
    std::size_t afterEnd = after.size();
    while (beforeEnd > begin && afterEnd > begin && before[beforeEnd - 1] == after[afterEnd - 1])
        --beforeEnd, --afterEnd;

    std::vector<std::size_t> places = placesAfter(before, begin, beforeEnd, after, afterEnd);
    keepLongestRun(places);

    RowSteps steps;
    std::size_t next = begin;
    for (std::size_t offset = 0; offset < places.size(); ++offset) {
        if (places[offset] == nowhere) {
            append(steps.removed, begin + offset);
            continue;
        }
        for (; next < places[offset]; ++next)
            append(steps.inserted, next);
        ++next;
    }
    for (; next < afterEnd; ++next)
        append(steps.inserted, next);
    std::reverse(steps.removed.begin(), steps.removed.end());
    return steps;
}

} // namespace kelvane::qt
