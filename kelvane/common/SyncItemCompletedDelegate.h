// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTask.h>
#include <kelvane/common/SyncCompletedNotification.h>

namespace kelvane {

/// Listens to the completion of single items.
///
/// Threads: the thread that completes the task. Errors: what the listener throws is logged and goes no further.
class KELVANE_EXPORT SyncItemCompletedDelegate {
public:
    virtual ~SyncItemCompletedDelegate();

    /// @selector syncItemDidCompleted:notification:
    /// `notification` is null where the kind of task has nothing to say.
    virtual void syncItemDidCompleted(IAsyncTask &task, const std::shared_ptr<SyncCompletedNotification> &notification);
};

} // namespace kelvane
