// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

namespace kelvane::testsupport {

/// How many threads of this process have the name now.
inline int threadsNamed(std::string_view name)
{
    int count = 0;
    std::error_code error; // a thread may end between being listed and being read
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::string line;
        std::getline(std::ifstream(entry.path() / "comm"), line);
        count += line == name;
    }
    return count;
}

/// Waits until no thread has the name any more, 30 seconds at most; whether that came true.
inline bool waitUntilNoThreadIsNamed(std::string_view name)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (threadsNamed(name) > 0) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

} // namespace kelvane::testsupport
