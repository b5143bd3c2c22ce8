// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CallLog.h"

#include <cerrno>
#include <cstdint>
#include <mutex>
#include <string>
#include <sys/types.h>

namespace kelvane::testsupport {

/// The part of CrashPoints that knows the watched folder, counts, writes down and kills. Loaded into programs of which
/// nothing may be assumed: it uses no call that CrashPoints takes the place of.

/// What a path is called from the watched folder, where it is below it.
struct Place {
    bool isInside = false;
    std::string path;
};

[[nodiscard]] Place placeOf(int descriptor);
/// The last component is not followed.
[[nodiscard]] Place placeOf(int folder, const char *path);

struct Call {
    CallKind kind = CallKind::Failed;
    std::uint64_t inode = 0;
    std::int64_t position = 0;
    std::string path = {};
    std::string other = {};
    std::string bytes = {};
};

[[nodiscard]] std::uint64_t inodeOf(int descriptor);
/// Write with what stands in the file after it: read back, because some calls copy what this process never sees.
[[nodiscard]] Call written(int descriptor, off_t position, ssize_t count);
[[nodiscard]] Call attributes(int descriptor);
[[nodiscard]] Call synchronised(int descriptor, const Place &place);

/// Held while a call that changes something is made: the order of the log is that in which they took effect.
[[nodiscard]] std::recursive_mutex &oneAtATime();
/// One more call that changes something is about to be made; kills the program if it is the chosen one.
void arrive();
void writeDown(const Call &call);

/// Makes a call. `describe` tells what it did if it succeeded. Calls that are not watched may wait for each other.
template <class Make, class Describe>
auto made(bool isWatched, Make make, Describe describe)
{
    if (!isWatched)
        return make();
    const std::lock_guard guard(oneAtATime());
    arrive();
    const auto result = make();
    const int error = errno;
    writeDown(result < 0 ? Call() : describe(result));
    errno = error;
    return result;
}

} // namespace kelvane::testsupport
