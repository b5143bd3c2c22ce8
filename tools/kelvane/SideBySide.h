// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "WorkProgress.h"

#include <functional>

namespace kelvane::tool {

/// Calls `work` with each number below `count`, at most `jobs` at once, in tasks on the library's queue, and returns
/// when all are done. The calling thread keeps `progress` moving. Once the user has interrupted, nothing more is begun.
/// Throws what `work` throws first; nothing more is begun then.
void runSideBySide(std::size_t count, int jobs, WorkProgress &progress, const std::function<void(std::size_t)> &work);
/// The same for short work, which shows no progress.
void runSideBySide(std::size_t count, int jobs, const std::function<void(std::size_t)> &work);

} // namespace kelvane::tool
