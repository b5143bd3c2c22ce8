// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

namespace kelvane {
class IDataItem;
}

namespace kelvane::qt {

/// How rows become other rows: what to take out, then what to put in. Rows that stay keep their order, and as many stay
/// as can. An item that changes its place is taken out and put in again.
struct RowSteps {
    struct Range {
        std::size_t first;
        std::size_t count;
        friend bool operator==(const Range &, const Range &) = default;
    };
    /// In the numbers of the rows before, from the last to the first.
    std::vector<Range> removed;
    /// In the numbers of the rows after, from the first to the last.
    std::vector<Range> inserted;
};

/// An item may be there several times. Takes n log n steps of the n rows between the first and the last difference.
[[nodiscard]] RowSteps rowSteps(
    const std::vector<const IDataItem *> &before, const std::vector<const IDataItem *> &after);

} // namespace kelvane::qt
