// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTaskDelegate.h>
#include <kelvane/common/IAsyncTaskStepEvent.h>

#include <functional>

namespace kelvane {

/// A delegate made of lambdas, for programs that want one or two of its messages:
///
///     task->setDelegate(makeDelegate({.onProgress = [](IAsyncTask &, std::int32_t percent) { show(percent); }}));
///
/// Threads, ownership and errors are those of IAsyncTaskDelegate; each member left empty hears nothing.
struct TaskObserver {
    std::function<void(IAsyncTask &task, std::int32_t percent)> onProgress{};
    std::function<void(IAsyncTask &task, std::int64_t lenght)> onLenght{};
    std::function<void(IAsyncTask &task, IAsyncTaskStepEvent &event)> onStep{};
    std::function<void(IAsyncTask &task)> onFinished{};
    std::function<void(IAsyncTask &task)> onCancel{};
    std::function<void(IAsyncTask &task)> onWaiting{};
};

/// The delegate that hands its messages on to `observer`.
[[nodiscard]] KELVANE_EXPORT std::shared_ptr<IAsyncTaskDelegate> makeDelegate(TaskObserver observer);

} // namespace kelvane
