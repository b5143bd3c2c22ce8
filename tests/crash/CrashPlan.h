// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PowerLoss.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kelvane::testsupport {

/// Which of the many moments a run of the tests looks at. KELVANE_CRASH_POINTS says how many of each operation, a
/// number or "all" (script/crash); they lie evenly, and a seed chooses where they begin, so that many runs see all of
/// them. KELVANE_CRASH_SEED repeats a run.
class CrashPlan {
public:
    CrashPlan();

    /// Some of 1, 2, ... `count`, in order.
    [[nodiscard]] std::vector<std::size_t> pointsOf(std::size_t count) const;
    /// What is tried at each moment that the power goes out.
    [[nodiscard]] std::vector<PowerLoss::Luck> lucks(std::size_t point) const;
    /// Says how to repeat this run.
    [[nodiscard]] std::string text() const;

private:
    std::size_t _most;
    std::uint32_t _seed;
};

/// Adds to what the test's line for script/crash says: how many calls, and what was done at how many of them.
void countCrashes(const std::string &operation, const std::string &what, std::size_t calls, std::size_t crashes);

} // namespace kelvane::testsupport
