// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/BaseAsyncTask.h>
#include <kelvane/common/SyncCompletedDelegate.h>
#include <kelvane/common/SyncItemCompletedDelegate.h>

namespace kelvane {

/// A task that is complete, with a given outcome, the moment it is made: for code that must return a task although
/// there is nothing to do. Waits on it return at once; a cancel finds it completed and is ignored.
///
/// Threads: as BaseAsyncTask; listeners are told in the constructor, on its thread. Ownership: an item listener is not
/// kept alive.
class KELVANE_EXPORT DummyAsyncTask : public BaseAsyncTask {
public:
    using AsyncCallback = Block<void(BaseAsyncTask &task)>;

    /// @selector initDummyAsyncTask:ItemCompletedHandler:userState:
    /// Tells the listener at once, without a notification, and forgets it.
    DummyAsyncTask(
        bool isSuccess, const std::shared_ptr<SyncItemCompletedDelegate> &itemCompletedHandler, Object userState);
    /// @selector initDummyAsyncTask:userState:
    /// A success; the listener hears nothing until onCompleted() runs.
    DummyAsyncTask(const std::shared_ptr<SyncItemCompletedDelegate> &itemCompletedHandler, Object userState);
    /// @selector initDummyAsyncTask:completedHandler:userState:
    /// Tells the listener as the next one does, then adds it to the delegates.
    DummyAsyncTask(bool isSuccess, const std::shared_ptr<SyncCompletedDelegate> &completedHandler, Object userState);
    /// @selector initDummyAsyncTask:errorText:completedHandler:userState:
    /// Tells the listener at once, with an event made of the task's fields. Intended: `errorText` is stored nowhere, the
    /// event carries the task's own, which is not set; listeners go by the result.
    DummyAsyncTask(bool isSuccess, const String &errorText,
        const std::shared_ptr<SyncCompletedDelegate> &completedHandler, Object userState);
    /// @selector initDummyAsyncTask:AsyncCallback:userState:
    /// Calls the block, if any, at once.
    DummyAsyncTask(bool isSuccess, const AsyncCallback &callback, Object userState);
    ~DummyAsyncTask() override;

    /// Tells the kept item listener, then the listeners of the task.
    void onCompleted() override;

private:
    void markCompleted(bool isSuccess, Object userState);

    std::weak_ptr<SyncItemCompletedDelegate> _itemCompletedDelegate;
};

} // namespace kelvane
