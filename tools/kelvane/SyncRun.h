// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncPlan.h"
#include "SyncWork.h"

#include <kelvane/common/SyncItemAsyncTask.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace kelvane::tool {

/// Works off a plan: one task for each item on the library's queue, a number of them at once. All that is shown comes
/// from the tasks' delegates; what was done to an item, from the committed events of its list.
///
/// Threads: run() belongs to one thread; the delegates' messages come from the queue's.
class SyncRun : public IAsyncTaskDelegate,
                public SyncItemCompletedDelegate,
                public std::enable_shared_from_this<SyncRun> {
public:
    SyncRun(SyncPlan &plan, std::shared_ptr<SyncWork> work, SyncView &view, int jobs);

    /// Returns when all items are done, or the running ones have stopped after the user interrupted.
    void run();
    /// What was done, with what the plan had settled.
    [[nodiscard]] const SyncSummary &summary() const { return _summary; }

    void asyncTaskLenghtChanged(IAsyncTask &task, std::int64_t lenght) override;
    void asyncTaskStepEvent(IAsyncTask &task, const std::shared_ptr<IAsyncTaskStepEvent> &event) override;
    void syncItemDidCompleted(
        IAsyncTask &task, const std::shared_ptr<SyncCompletedNotification> &notification) override;

private:
    struct Running {
        std::shared_ptr<SyncItemAsyncTask> task;
        SyncItemNews news;
        int percent = -1;
    };

    [[nodiscard]] std::shared_ptr<SyncItemAsyncTask> makeTask(const std::shared_ptr<SyncItem> &item);
    void start(const std::shared_ptr<SyncItem> &item);
    void cancelAll();
    void committed(DataItemState state);
    void settle(Running &running, const SyncCompletedNotification &notification);

    const SyncPlan::Items &_pending;
    const std::shared_ptr<ObservableDataItemList> _list;
    const std::shared_ptr<SyncWork> _work;
    const std::size_t _jobs;
    std::mutex _mutex;
    std::condition_variable _changed;
    SyncView &_view; // guarded by _mutex, as the rest is
    std::unordered_map<const IAsyncTask *, Running> _running; // by task
    SyncSummary _summary;
};

} // namespace kelvane::tool
