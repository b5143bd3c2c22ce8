// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane {

/// Where a task is in its life.
enum AsyncTaskState : std::uint64_t {
    AsyncTaskStateIdle = 0, ///< not started; also after a reset
    AsyncTaskStateQueued = 1, ///< started: queued, or about to run on the caller's thread
    AsyncTaskStateWorking = 2, ///< the work runs
    AsyncTaskStateCompleting = 3, ///< the work returned, the completion runs
    AsyncTaskStateFinished = 4, ///< the completion returned
};

} // namespace kelvane
