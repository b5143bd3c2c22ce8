// SPDX-License-Identifier: Apache-2.0
#include "SpaceBudget.h"

#include "ExitCode.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace kelvane::tool {
namespace {

struct Unit {
    std::string_view name;
    double bytes;
};

constexpr Unit units[] = {{"", 1}, {"b", 1}, {"kb", 1e3}, {"mb", 1e6}, {"gb", 1e9}, {"tb", 1e12}, {"k", 1e3},
    {"m", 1e6}, {"g", 1e9}, {"t", 1e12}};

} // namespace

std::optional<SpaceReserve> SpaceReserve::parse(const std::string &text)
{
    constexpr double most = 1e15;
    if (text.empty() || text.front() < '0' || text.front() > '9')
        return std::nullopt;
    char *end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    std::string unit;
    for (; *end; ++end)
        if (*end != ' ')
            unit += *end >= 'A' && *end <= 'Z' ? static_cast<char>(*end - 'A' + 'a') : *end;
    if (unit == "%")
        return number <= 100 ? std::optional(SpaceReserve{number, std::numeric_limits<std::uint64_t>::max()})
                             : std::nullopt;
    const auto *const found =
        std::find_if(std::begin(units), std::end(units), [&](const Unit &each) { return each.name == unit; });
    if (found == std::end(units) || !(number * found->bytes <= most))
        return std::nullopt;
    return SpaceReserve{100, static_cast<std::uint64_t>(std::llround(number * found->bytes))};
}

std::uint64_t SpaceReserve::of(std::uint64_t capacity) const
{
    return std::min(static_cast<std::uint64_t>(static_cast<double>(capacity) * percent / 100), bytes);
}

SpaceBudget::SpaceBudget(const DeviceFolder &device, SpaceReserve reserve)
    : _device(device),
      _reserve(reserve.of(device.capacity()))
{
}

SpaceBudget::Claim::Claim(SpaceBudget &budget, std::int64_t bytes)
    : _budget(budget),
      _bytes(static_cast<std::uint64_t>(bytes))
{
    std::unique_lock lock(budget._mutex);
    std::uint64_t free = 0;
    const auto fits = [&] {
        free = budget._device.freeSpace();
        return _bytes + budget._reserve + budget._claimed <= free;
    };
    budget._released.wait(lock, [&] { return fits() || budget._claimed == 0; });
    if (!fits()) {
        budget._hasRefused = true;
        std::string reason =
            "no space left on the device (needs " + bytesText(_bytes) + ", " + bytesText(free) + " free";
        if (_bytes <= free)
            reason += ", of which " + bytesText(budget._reserve) + " are kept in reserve";
        throw ItemError(reason + ')');
    }
    budget._claimed += _bytes;
}

SpaceBudget::Claim::~Claim()
{
    const std::lock_guard guard(_budget._mutex);
    _budget._claimed -= _bytes;
    _budget._released.notify_all();
}

bool SpaceBudget::hasRefused() const
{
    const std::lock_guard guard(_mutex);
    return _hasRefused;
}

} // namespace kelvane::tool
