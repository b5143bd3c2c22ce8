// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane {

/// How a task ended. The numbers are part of the interface: applications store and compare them.
enum AsyncTaskResultCode : std::uint64_t {
    AsyncTaskResultSuccess = 1,
    AsyncTaskResultFailed = 2,
    AsyncTaskResultError = 3, ///< failed with an error: may be set, is never returned (a failure reads as 2)
    AsyncTaskResultCancelled = 4,
    AsyncTaskResultIOSUpload = 5, ///< an override set from outside; wins over all others
};

} // namespace kelvane
