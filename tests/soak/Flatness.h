// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ProcessFigures.h"

#include <string>
#include <vector>

namespace kelvane::soak {

/// Figures at the end of a round.
struct Sample {
    double minutes = 0; ///< since the start
    std::int64_t round = 0;
    ProcessFigures figures;
};

/// The slope of points by Theil and Sen: the median of the slopes between all pairs of points, which a few points far off
/// do not move. 0 for fewer than two points.
struct Point {
    double x = 0;
    double y = 0;
};
[[nodiscard]] double robustSlope(const std::vector<Point> &points);

/// Whether a process is as large at the end as after its warm-up.
class Flatness {
public:
    /// How fast memory may grow, in KiB a minute. What is measured is the slope of noise; a loss of 100 bytes a round of
    /// some seconds would be above the second limit.
    static constexpr double mostWritten = 32;
    static constexpr double mostInUse = 4;

    /// `samples` are those after the warm-up, whose last is the first of them. `judgesMemory`: a run of a few rounds, or
    /// one under a sanitizer, tells nothing of memory.
    Flatness(const std::vector<Sample> &samples, bool judgesMemory);

    /// What is not flat, a line each; nothing where all is.
    [[nodiscard]] const std::vector<std::string> &problems() const { return _problems; }
    /// What was found, in a few lines.
    [[nodiscard]] const std::string &text() const { return _text; }

private:
    void judgeCount(const char *what, std::int64_t ProcessFigures::*figure);
    void judgeMemory(const char *what, std::int64_t ProcessFigures::*figure, double most);

    const std::vector<Sample> &_samples;
    std::vector<std::string> _problems;
    std::string _text;
};

} // namespace kelvane::soak
