// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/IMultiAsyncTask.h>
#include <kelvane/common/SyncCompletedDelegate.h>
#include <kelvane/common/SyncItemCompletedDelegate.h>

#include <deque>
#include <mutex>

namespace kelvane {

/// Runs tasks one after another as one task, with one progress and one outcome.
///
/// No child is skipped: after a failure the others still start, already marked as failed and carrying its error, so
/// that each can tell its own listeners. The error that counts at the end is the last failing child's. A cancel takes
/// effect at the next child: that and the later ones start cancelled, and do no work.
///
/// Threads: as AsyncTaskIOS; the children run on the thread that runs this task, and their news comes from there.
/// Ownership: keeps the children until each has run, and does not keep the two completion listeners alive.
class KELVANE_EXPORT MultiAsyncTask : public AsyncTaskIOS, public IMultiAsyncTask {
public:
    /// @selector initMultiAsyncTask:userState:
    explicit MultiAsyncTask(std::shared_ptr<IAsyncTaskDelegate> completedHandler = {}, Object userState = {});
    /// @selector initMultiAsyncTask:SyncCompletedHandler:ItemCompletedHandler:userState:
    /// `allCompleted` is told once, when this task ends, before its own listeners; `itemCompleted` of every child.
    MultiAsyncTask(std::shared_ptr<IAsyncTaskDelegate> completedHandler,
        const std::shared_ptr<SyncCompletedDelegate> &allCompleted,
        const std::shared_ptr<SyncItemCompletedDelegate> &itemCompleted, Object userState = {});
    ~MultiAsyncTask() override;

    /// Appends a child that is not started yet; null is ignored. Meant for the time before the start.
    void addTask(std::shared_ptr<AsyncTaskIOS> task);
    /// The children that have not run yet.
    [[nodiscard]] std::vector<std::shared_ptr<IAsyncTask>> tasks() const override;

    /// Runs the children; the present success is the result.
    bool onWork() override;
    /// Reports a child's percentage (capped at 100, with no lower bound) as part of the whole.
    void onTaskProgressChanged(std::int32_t percent);
    /// @selector syncItemDidCompleted:userState:
    /// Hands a child's completion on to the item listener. The user state is not passed on.
    void syncItemDidCompleted(const std::shared_ptr<SyncCompletedNotification> &notification, const Object &userState);
    void onCompleted() override;

private:
    [[nodiscard]] std::shared_ptr<AsyncTaskIOS> firstTask() const;
    void runChild(AsyncTaskIOS &child);
    void childIsProcessed();

    mutable std::mutex _mutex;
    std::deque<std::shared_ptr<AsyncTaskIOS>> _tasks; // guarded by _mutex
    std::atomic<std::int32_t> _taskCount = 0; // what the run is measured against
    std::atomic<std::int32_t> _procCount = 0; // children that have run
    std::weak_ptr<SyncCompletedDelegate> _allCompleteDelegate;
    std::weak_ptr<SyncItemCompletedDelegate> _itemCompletedDelegate;
};

} // namespace kelvane
