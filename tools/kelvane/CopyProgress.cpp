// SPDX-License-Identifier: Apache-2.0
#include "CopyProgress.h"

namespace kelvane::tool {

void CopyProgress::fileCopyWillStart(FastFileCopyer &copier)
{
    // The copier has just withdrawn what may have been asked of it before.
    if (_task.isCancelled())
        copier.setIsCancelled(true);
}

void CopyProgress::fileCopyProgressChanged(FastFileCopyer &copier)
{
    constexpr std::chrono::milliseconds reportInterval{100};
    if (_task.isCancelled())
        copier.setIsCancelled(true);
    const std::int64_t copied = copier.copiedSize();
    const std::int64_t percent = copier.totalSize() > 0 ? copied * 100 / copier.totalSize() : 0;
    const auto now = std::chrono::steady_clock::now();
    // One more percent of a large file takes longer than people like to look at a line that stands still.
    if (percent == _lastPercent && now - _lastReport < reportInterval)
        return;
    _lastPercent = percent;
    _lastReport = now;
    _task.setLastLenght(static_cast<std::int32_t>(copied / 1024));
    _task.reportStepProgress(static_cast<std::int32_t>(percent));
}

} // namespace kelvane::tool
