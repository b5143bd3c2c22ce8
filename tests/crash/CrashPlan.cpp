// SPDX-License-Identifier: Apache-2.0
#include "CrashPlan.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>

namespace kelvane::testsupport {
namespace {

constexpr std::size_t usualPoints = 6;

std::size_t mostPoints()
{
    const char *asked = std::getenv("KELVANE_CRASH_POINTS");
    if (!asked)
        return usualPoints;
    return std::string_view(asked) == "all" ? static_cast<std::size_t>(-1) : std::strtoul(asked, nullptr, 10);
}

std::uint32_t chosenSeed()
{
    const char *asked = std::getenv("KELVANE_CRASH_SEED");
    return asked ? static_cast<std::uint32_t>(std::strtoul(asked, nullptr, 10)) : std::random_device{}();
}

} // namespace

CrashPlan::CrashPlan() : _most(mostPoints()), _seed(chosenSeed()) {}

std::vector<std::size_t> CrashPlan::pointsOf(std::size_t count) const
{
    const std::size_t stride = _most == 0 || count <= _most ? 1 : (count + _most - 1) / _most;
    std::vector<std::size_t> points;
    for (std::size_t point = 1 + _seed % stride; point <= count; point += stride)
        points.push_back(point);
    return points;
}

std::vector<PowerLoss::Luck> CrashPlan::lucks(std::size_t point) const
{
    using Names = PowerLoss::Luck::Names;
    using Data = PowerLoss::Luck::Data;
    const auto seed = _seed + static_cast<std::uint32_t>(point);
    return {{Names::None, Data::Lost}, {Names::None, Data::All}, {Names::All, Data::Lost}, {Names::All, Data::Zeros},
        {Names::Some, Data::Some, seed}};
}

std::string CrashPlan::text() const
{
    return "KELVANE_CRASH_SEED=" + std::to_string(_seed) + " repeats this run";
}

void countCrashes(const std::string &operation, const std::string &what, std::size_t calls, std::size_t crashes)
{
    std::printf("crash %s: %zu calls, %zu %s\n", operation.c_str(), calls, crashes, what.c_str());
}

} // namespace kelvane::testsupport
