// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <atomic>
#include <exception>
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
/// threads, or no memory for them, there are fewer calls, so each takes what there is still to do from a place they share.
/// False where a call ended by an exception, as it does for want of memory.
template <class Work>
[[nodiscard]] bool onThreads(int count, Work &&work)
{
    std::atomic<bool> isDone = true;
    const auto call = [&]() noexcept {
        try {
            work();
        } catch (const std::exception &) {
            isDone = false;
        }
    };
    std::vector<std::thread> threads;
    try {
        threads.reserve(static_cast<std::size_t>(count));
        while (static_cast<int>(threads.size()) + 1 < count)
            threads.emplace_back(call);
    } catch (const std::exception &) {
        // The threads that there are do it.
    }
    call();
    for (std::thread &thread : threads)
        thread.join();
    return isDone;
}

} // namespace kelvane::decoder
