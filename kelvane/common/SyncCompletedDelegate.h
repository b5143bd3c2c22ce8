// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTaskDelegate.h>
#include <kelvane/common/SyncCompletedNotification.h>

namespace kelvane {

/// Listens to the completion of a whole synchronisation. Also a task delegate, because tasks take one where they take
/// the other.
class KELVANE_EXPORT SyncCompletedDelegate : public IAsyncTaskDelegate {
public:
    /// @selector syncDidCompleted:notification:
    virtual void syncDidCompleted(IAsyncTask &task, const std::shared_ptr<SyncCompletedNotification> &notification);
};

} // namespace kelvane
