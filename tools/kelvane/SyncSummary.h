// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane::tool {

/// What a run has to do, or did: numbers of items, and the bytes of their files.
struct SyncSummary {
    std::uint64_t added = 0;
    std::uint64_t changed = 0;
    std::uint64_t deleted = 0;
    std::uint64_t unchanged = 0;
    std::uint64_t failed = 0;
    std::uint64_t ignored = 0; // files in the sources that are no media
    std::uint64_t bytes = 0;
    double seconds = 0;
    bool isInterrupted = false;
    bool isDryRun = false;
};

} // namespace kelvane::tool
