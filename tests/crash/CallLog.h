// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane::testsupport {

/// What CrashPoints writes for each call that changed something below the watched folder: a head, the first path, the
/// second path, the bytes. Paths are relative to the folder; it itself is "".
enum class CallKind : std::uint32_t {
    Create, // an empty file `inode` at `path`; `position` is the mode, and `madeExclusively` if it had to be new
    CreateNameless, // an empty file without a name; `position` the same
    Write, // the bytes to `inode` at `position`
    Truncate, // `inode` to the size `position`
    Attributes, // `inode` has the modification time `position` in nanoseconds
    Link, // `path` is one more name of `inode`
    Rename, // from `path` to `other`
    Unlink, // the file at `path`
    MakeFolder,
    RemoveFolder,
    Sync, // file `inode`
    SyncFolder, // folder `path`
    Failed, // a call that failed: a point to be killed at, and nothing else
};

constexpr std::int64_t madeExclusively = 1 << 20;

struct CallHead {
    CallKind kind;
    std::uint32_t pathSize;
    std::uint32_t otherSize;
    std::uint32_t byteCount;
    std::uint64_t inode;
    std::int64_t position;
};

} // namespace kelvane::testsupport
