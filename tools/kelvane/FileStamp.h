// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>
#include <sys/stat.h>

namespace kelvane::tool {

/// By what a file is known to be the same as before, without reading it.
struct FileStamp {
    std::int64_t size = 0; // bytes
    std::int64_t modifiedNs = 0; // since 1970

    [[nodiscard]] static FileStamp of(const struct stat &status)
    {
        return {status.st_size, std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
    }
    /// Equal but for what a file system of a device rounds away: the coarsest in use count in steps of two seconds.
    [[nodiscard]] bool isAbout(const FileStamp &other) const
    {
        constexpr std::int64_t coarsestStepNs = 2'000'000'000;
        return size == other.size && std::llabs(modifiedNs - other.modifiedNs) <= coarsestStepNs;
    }
    friend bool operator==(const FileStamp &, const FileStamp &) = default;
};

} // namespace kelvane::tool
