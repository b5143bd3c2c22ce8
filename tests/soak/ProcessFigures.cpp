// SPDX-License-Identifier: Apache-2.0
#include "ProcessFigures.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>

#include <malloc.h>

namespace kelvane::soak {
namespace {

// The number behind "NAME:" in a file of lines.
std::int64_t numberIn(const char *path, std::string_view name)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(name) && line.substr(name.size(), 1) == ":")
            return std::stoll(line.substr(name.size() + 1));
    return 0;
}

std::int64_t threadCount()
{
    return numberIn("/proc/self/status", "Threads");
}

std::int64_t descriptorCount()
{
    constexpr std::int64_t ofTheCount = 1;
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return std::distance(begin(folder), end(folder)) - ofTheCount;
}

} // namespace

ProcessFigures ProcessFigures::now()
{
    ::malloc_trim(0);
    const struct mallinfo2 heap = ::mallinfo2();
    constexpr std::size_t kibibyte = 1024;
    return {numberIn("/proc/self/smaps_rollup", "Private_Dirty"),
        static_cast<std::int64_t>((heap.uordblks + heap.hblkhd) / kibibyte), numberIn("/proc/self/status", "VmHWM"),
        descriptorCount(), threadCount()};
}

void waitForThreads(std::int64_t expected)
{
    using namespace std::chrono;
    using Clock = steady_clock;
    constexpr milliseconds look{20};
    constexpr seconds calm{4}; // idle threads stay for two seconds
    const auto end = Clock::now() + minutes(1);
    std::int64_t last = threadCount();
    for (auto changed = Clock::now(); Clock::now() < end; std::this_thread::sleep_for(look)) {
        const std::int64_t count = threadCount();
        if (expected > 0 ? count <= expected : Clock::now() - changed > calm)
            return;
        if (count != last)
            changed = Clock::now();
        last = count;
    }
}

} // namespace kelvane::soak
