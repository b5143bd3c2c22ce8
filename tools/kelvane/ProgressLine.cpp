// SPDX-License-Identifier: Apache-2.0
#include "ProgressLine.h"

#include "Text.h"

#include <algorithm>

namespace kelvane::tool {
namespace {

constexpr std::size_t smallestBar = 10;
constexpr std::size_t largestBar = 30;
constexpr std::size_t brackets = 2;

std::string bar(std::size_t width, double share, bool hasColours)
{
    const auto full = static_cast<std::size_t>(share * static_cast<double>(width));
    const std::string done(full, '#');
    const std::string rest(width - full, '.');
    return hasColours ? "[\x1b[32m" + done + "\x1b[2;39m" + rest + "\x1b[0m]" : "[" + done + rest + "]";
}

} // namespace

std::string progressLine(const ProgressFacts &facts, std::size_t width, bool hasColours)
{
    std::string label;
    if (!facts.label.empty())
        label = fitted(facts.label, std::clamp<std::size_t>(width * 3 / 10, smallestBar, 48)) + "  ";
    const std::size_t labelWidth = displayWidth(label);
    const std::string percent = fittedRight(std::to_string(static_cast<int>(facts.share * 100)) + '%', 5);
    if (labelWidth + smallestBar + brackets + percent.size() > width)
        return fitted(label + percent, width);
    std::string text = percent;
    for (const std::string &part : facts.parts)
        if (labelWidth + text.size() + 2 + part.size() + smallestBar + brackets <= width)
            text += "  " + part;
    const std::size_t barWidth = std::min(width - labelWidth - text.size() - brackets, largestBar);
    return label + bar(barWidth, facts.share, hasColours) + text;
}

} // namespace kelvane::tool
