// SPDX-License-Identifier: Apache-2.0
#include "ReportChart.h"

#include "Html.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace kelvane::tool {
namespace {

std::string percentText(std::uint64_t bytes, std::uint64_t all)
{
    const double percent = all > 0 ? 100 * static_cast<double>(bytes) / static_cast<double>(all) : 0;
    if (percent > 0 && percent < 0.1)
        return "under 0.1 %";
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), percent < 10 ? "%.1f %%" : "%.0f %%", percent);
    return text.data();
}

std::string number(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", value);
    return text.data();
}

} // namespace

std::string swatch(const std::string &style)
{
    return "<svg viewBox=\"0 0 1 1\" aria-hidden=\"true\"><rect class=\"" + style
        + "\" width=\"1\" height=\"1\"/></svg>";
}

std::string chart(
    const std::string &title, const std::string &note, const std::vector<ChartPart> &parts, std::uint64_t all)
{
    constexpr double width = 1000;
    constexpr double smallest = 3; // to be seen at all
    std::string bars;
    std::string legend;
    double x = 0;
    for (const ChartPart &part : parts) {
        if (part.bytes == 0)
            continue;
        const double exact = all > 0 ? width * static_cast<double>(part.bytes) / static_cast<double>(all) : 0;
        const double wide = std::clamp(exact, smallest, std::max(width - x, smallest));
        const std::string amount = bytesText(part.bytes) + ", " + percentText(part.bytes, all);
        bars += "<rect class=\"" + part.style + "\" x=\"" + number(x) + "\" width=\"" + number(wide)
            + "\" height=\"10\"><title>" + html(part.title) + ": " + amount + "</title></rect>";
        legend += "<li>" + swatch(part.style) + html(part.title) + " <span>" + amount + "</span></li>";
        x += wide;
    }
    return "<figure><figcaption><b>" + html(title) + "</b><span>" + html(note)
        + "</span></figcaption>\n<svg class=\"bar\" viewBox=\"0 0 1000 10\" preserveAspectRatio=\"none\" role=\"img\" "
          "aria-label=\""
        + html(title) + ": " + html(note) + "\">" + bars + "</svg>\n<ul class=\"legend\">" + legend
        + "</ul></figure>\n";
}

} // namespace kelvane::tool
