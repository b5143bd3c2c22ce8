// SPDX-License-Identifier: Apache-2.0
#include "Flatness.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace kelvane::soak {
namespace {

template <class... Values>
std::string formatted(const char *format, Values... values)
{
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

} // namespace

double robustSlope(const std::vector<Point> &points)
{
    std::vector<double> slopes;
    for (std::size_t i = 0; i < points.size(); ++i)
        for (std::size_t k = i + 1; k < points.size(); ++k)
            if (points[k].x != points[i].x)
                slopes.push_back((points[k].y - points[i].y) / (points[k].x - points[i].x));
    if (slopes.empty())
        return 0;
    const auto middle = slopes.begin() + static_cast<std::ptrdiff_t>(slopes.size() / 2);
    std::nth_element(slopes.begin(), middle, slopes.end());
    return *middle;
}

Flatness::Flatness(const std::vector<Sample> &samples, bool judgesMemory) : _samples(samples)
{
    if (samples.size() < 2) {
        _problems.emplace_back("too few samples after the warm-up to tell");
        return;
    }
    judgeCount("descriptors", &ProcessFigures::descriptors);
    judgeCount("threads", &ProcessFigures::threads);
    if (!judgesMemory)
        return;
    judgeMemory("memory written to", &ProcessFigures::written, mostWritten);
    judgeMemory("memory in use", &ProcessFigures::inUse, mostInUse);
}

void Flatness::judgeCount(const char *what, std::int64_t ProcessFigures::*figure)
{
    const auto [lowest, highest] = std::minmax_element(_samples.begin(), _samples.end(),
        [&](const Sample &a, const Sample &b) { return a.figures.*figure < b.figures.*figure; });
    const long first = _samples.front().figures.*figure;
    const long least = lowest->figures.*figure;
    const long most = highest->figures.*figure;
    _text += formatted("%s: %ld after the warm-up, %ld to %ld from then on\n", what, first, least, most);
    if (least != first || most != first)
        _problems.push_back(std::string(what) + " are not as many as after the warm-up");
}

void Flatness::judgeMemory(const char *what, std::int64_t ProcessFigures::*figure, double most)
{
    std::vector<Point> points;
    for (const Sample &sample : _samples)
        points.push_back({sample.minutes, static_cast<double>(sample.figures.*figure)});
    const double slope = robustSlope(points);
    _text += formatted("%s: %.0f KiB after the warm-up, %.0f KiB at the end, slope %+.2f KiB a minute (at most %.0f)\n",
        what, points.front().y, points.back().y, slope, most);
    if (slope > most)
        _problems.push_back(std::string(what) + " grows");
}

} // namespace kelvane::soak
