// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/storage/FastFileCopyer.h>

#include <chrono>

namespace kelvane::tool {

/// Hands the progress of a copy on to its task, as percentage and as kilobytes (of 1024) in the task's length, and a
/// cancel of the task on to the copy.
///
/// Threads: the one that copies.
class CopyProgress : public FastFileCopyerDelegate {
public:
    explicit CopyProgress(AsyncTaskIOS &task) : _task(task) {}

    void fileCopyWillStart(FastFileCopyer &copier) override;
    void fileCopyProgressChanged(FastFileCopyer &copier) override;

private:
    AsyncTaskIOS &_task;
    std::int64_t _lastPercent = 0;
    std::chrono::steady_clock::time_point _lastReport = std::chrono::steady_clock::now();
};

} // namespace kelvane::tool
