// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Object.h>

#include <optional>

namespace kelvane {

class AsyncTask;

/// Does the work of an operation task, and hears of its cancel.
///
/// Threads: the work runs on the thread that runs the task, the cancel on the one that cancels.
class KELVANE_EXPORT AsyncTaskCallbackDelegate {
public:
    virtual ~AsyncTaskCallbackDelegate();

    /// @selector asyncTaskCallback:userState:
    /// Does the work and returns its success. Not overridden, it has no say: the empty answer changes nothing.
    virtual std::optional<bool> asyncTaskCallback(AsyncTask &task, const Object &userState);
    /// @selector asyncTaskCancel:
    virtual void asyncTaskCancel(AsyncTask &task);
};

} // namespace kelvane
