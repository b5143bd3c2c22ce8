// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvane::tool {

/// A part of a bar: what the legend calls it, and the word by which the style colours it.
struct ChartPart {
    std::string title;
    std::string style;
    std::uint64_t bytes = 0;
};

/// A figure of a bar that shows how `all` bytes are made up, as inline SVG, with a legend in words and numbers: nothing
/// is told by colour alone. Parts of nothing are left out. `note` stands beside the title.
[[nodiscard]] std::string chart(
    const std::string &title, const std::string &note, const std::vector<ChartPart> &parts, std::uint64_t all);

/// A small square of a part's colour.
[[nodiscard]] std::string swatch(const std::string &style);

} // namespace kelvane::tool
