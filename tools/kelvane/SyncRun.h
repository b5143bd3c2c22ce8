// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SyncPlan.h"
#include "SyncWork.h"

#include <kelvane/common/MultiAsyncTask.h>
#include <kelvane/common/SyncItemAsyncTask.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace kelvane::tool {

/// Works off a plan in lanes, as many as there are jobs. A lane is a group task on the library's queue that runs one item's
/// task after the other; whenever one ends, the lane is handed the next item of the plan, so that a large file in one
/// keeps no other waiting. All that is shown comes from the tasks' delegates; what was done to an item, from the
/// committed events of its list.
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
        std::shared_ptr<MultiAsyncTask> lane;
        SyncItemNews news;
    };

    [[nodiscard]] std::shared_ptr<SyncItemAsyncTask> makeTask(const std::shared_ptr<SyncItem> &item);
    void startLanes();
    void handNextItemTo(const std::shared_ptr<MultiAsyncTask> &lane);
    void waitForLanes();
    void abandonLanes();
    void countUnfinished(std::size_t unfinished);
    void cancelAll();
    void committed(const DataItemChangeEventArgs &args);
    void settle(Running &running, const SyncCompletedNotification &notification);

    const SyncPlan::Items &_pending;
    const std::shared_ptr<ObservableDataItemList> _list;
    const std::shared_ptr<SyncWork> _work;
    const std::size_t _jobs;
    const std::thread::id _runThread = std::this_thread::get_id();
    bool _isCancelling = false; // of _runThread alone
    std::mutex _mutex;
    std::condition_variable _changed;
    SyncView &_view; // guarded by _mutex, as the rest is
    std::size_t _next = 0; // place of the next item in _pending
    std::size_t _busyLanes = 0;
    std::vector<std::shared_ptr<MultiAsyncTask>> _lanes;
    std::unordered_map<const IAsyncTask *, Running> _running; // by task
    SyncSummary _summary;
};

} // namespace kelvane::tool
