// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

namespace kelvane::decoder {

/// Threads that decode one picture, this one included.
[[nodiscard]] inline int coreCount() noexcept
{
    constexpr unsigned int most = 16;
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, most));
}

/// Calls `work` on `count` threads, one of them this one, and returns when all have. Where the system gives no more
/// threads there are fewer calls, so each takes what there is still to do from a place they share. `work` must not throw.
template <class Work>
void onThreads(int count, Work &&work)
{
    std::vector<std::thread> threads;
    try {
        threads.reserve(static_cast<std::size_t>(count));
        while (static_cast<int>(threads.size()) + 1 < count)
            threads.emplace_back([&work] { work(); });
    } catch (const std::system_error &) {
        // The threads that there are do it.
    }
    work();
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace kelvane::decoder
