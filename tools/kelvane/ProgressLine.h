// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kelvane::tool {

/// What a line says beside its bar.
struct ProgressFacts {
    std::string label; // printable; "" for none
    double share = 0; // 0 to 1
    std::vector<std::string> parts; // in the order of their importance; what does not fit is left out
};

/// A line of at most `width` columns: the label, the bar, the percentage, the parts. A label is as wide in every line
/// of a width, so that bars stand below each other.
[[nodiscard]] std::string progressLine(const ProgressFacts &facts, std::size_t width, bool hasColours);

} // namespace kelvane::tool
