// SPDX-License-Identifier: Apache-2.0
#include "SyncRun.h"

#include "Interruption.h"
#include "Text.h"

#include <algorithm>
#include <exception>
#include <optional>

namespace kelvane::tool {
namespace {

std::string_view nameOfAction(std::uint64_t action)
{
    constexpr std::string_view names[] = {"verify", "add", "delete", "change"};
    return names[std::min<std::uint64_t>(action, 3)];
}

// What was committed of an item in this state.
std::optional<SyncOutcome> outcomeOf(DataItemState state)
{
    switch (state) {
    case DataItemState::Added:
        return SyncOutcome::Copied;
    case DataItemState::Modified:
        return SyncOutcome::Replaced;
    case DataItemState::Deleted:
        return SyncOutcome::Removed;
    default:
        return std::nullopt;
    }
}

} // namespace

SyncRun::SyncRun(SyncPlan &plan, std::shared_ptr<SyncWork> work, SyncView &view, int jobs)
    : _pending(plan.pending()),
      _list(plan.list()),
      _work(std::move(work)),
      _jobs(static_cast<std::size_t>(jobs)),
      _view(view),
      _summary(plan.settled())
{
}

void SyncRun::run()
{
    const DataItemList::Watcher watcher = [this](const DataItemChangeEventArgs &args) { committed(args); };
    _list->addItemCommitedWatcher(watcher);
    Interruption::whenRequested([this] {
        const std::lock_guard guard(_mutex);
        _changed.notify_all();
    });
    std::exception_ptr thrown;
    try {
        startLanes();
        waitForLanes();
    } catch (...) {
        thrown = std::current_exception();
        abandonLanes(); // which work with what the caller is about to take away
    }
    Interruption::whenRequested({});
    _list->removeItemCommitedWatcher(watcher);
    _lanes.clear(); // they know of this run, too
    _summary.isInterrupted = Interruption::isRequested();
    const std::size_t unfinished = _pending.size() - _next + _running.size();
    _running.clear();
    if (thrown)
        std::rethrow_exception(thrown);
    if (unfinished > 0 && !_summary.isInterrupted)
        countUnfinished(unfinished);
}

// Lets the items at work come to their end, and begins no further one.
void SyncRun::abandonLanes()
{
    std::unique_lock lock(_mutex);
    _next = _pending.size();
    _changed.wait(lock, [this] { return _busyLanes == 0; });
}

// An error while an item's end was noted, as for want of memory, ends its lane: what was not noted counts as failed,
// so that the run does not pass for complete.
void SyncRun::countUnfinished(std::size_t unfinished)
{
    for (std::size_t i = 0; i < unfinished; ++i)
        _summary.count(SyncOutcome::Failed, {}, 0);
    _view.errorLine(countText(unfinished, "item") + " could not be finished; sync again");
}

void SyncRun::startLanes()
{
    const std::size_t count = std::min(_jobs, _pending.size());
    for (std::size_t i = 0; i < count; ++i) {
        const auto lane = std::make_shared<MultiAsyncTask>();
        lane->addBaseAsyncTaskCompleted([self = shared_from_this()](BaseAsyncTask &, const Object &) {
            const std::lock_guard laneGuard(self->_mutex);
            --self->_busyLanes;
            self->_changed.notify_all();
        });
        {
            const std::lock_guard guard(_mutex);
            handNextItemTo(lane);
            _lanes.push_back(lane);
            ++_busyLanes;
        }
        try {
            lane->startTask();
        } catch (...) {
            const std::lock_guard guard(_mutex);
            --_busyLanes;
            throw;
        }
    }
}

// Called under the lock.
void SyncRun::handNextItemTo(const std::shared_ptr<MultiAsyncTask> &lane)
{
    if (_next == _pending.size() || Interruption::isRequested())
        return;
    const std::shared_ptr<SyncItem> &item = _pending[_next];
    const std::shared_ptr<SyncItemAsyncTask> task = makeTask(item);
    const std::shared_ptr<SyncRecord> record = item->record();
    const SyncItemNews news{record->source, record->devicePath, nameOfAction(task->action()), record->sourceStamp.size};
    _running.emplace(task.get(), Running{task, lane, news});
    ++_next; // from here on it counts as unfinished where it is listed as running
    _view.itemStarted(news);
    lane->addTask(task);
}

void SyncRun::waitForLanes()
{
    constexpr std::chrono::milliseconds tickInterval{100};
    bool isCancelled = false;
    std::unique_lock lock(_mutex);
    while (_busyLanes > 0) {
        if (Interruption::isRequested() && !isCancelled) {
            isCancelled = true;
            lock.unlock();
            cancelAll();
            lock.lock();
            continue;
        }
        _changed.wait_for(lock, tickInterval);
        _view.tick();
    }
}

std::shared_ptr<SyncItemAsyncTask> SyncRun::makeTask(const std::shared_ptr<SyncItem> &item)
{
    const auto work = [work = _work](
                          AsyncTaskIOS &task, const Object &state) { return work->run(task, state.as<SyncItem>()); };
    return std::make_shared<SyncItemAsyncTask>(
        work, Object(item), shared_from_this(), Object(), shared_from_this(), std::shared_ptr<IDataItem>(item));
}

// A lane that is cancelled starts no further item's work; the item at work is reached by its own task.
void SyncRun::cancelAll()
{
    std::vector<std::shared_ptr<IAsyncTask>> tasks;
    {
        const std::lock_guard guard(_mutex);
        tasks.assign(_lanes.begin(), _lanes.end());
        for (const auto &[key, running] : _running)
            tasks.push_back(running.task);
    }
    _isCancelling = true;
    for (const auto &task : tasks)
        task->cancel();
    _isCancelling = false;
}

void SyncRun::asyncTaskLenghtChanged(IAsyncTask &task, std::int64_t lenght)
{
    const std::lock_guard guard(_mutex);
    const auto found = _running.find(&task);
    if (found == _running.end())
        return;
    Running &running = found->second;
    const int percent = running.task->lastPercent();
    // At its end a task reports 100 percent by itself, with the length of the last report of the copy.
    const std::int64_t copied = percent >= 100 ? running.news.bytes : std::min(lenght * 1024, running.news.bytes);
    _view.itemProgress(running.news, percent, copied);
}

void SyncRun::asyncTaskStepEvent(IAsyncTask &task, const std::shared_ptr<IAsyncTaskStepEvent> &event)
{
    const std::lock_guard guard(_mutex);
    if (const auto found = _running.find(&task); found != _running.end())
        _view.itemStep(found->second.news, event->name().view());
}

// On the thread of the item's task, before that tells of its completion.
void SyncRun::committed(const DataItemChangeEventArgs &args)
{
    const auto item = std::dynamic_pointer_cast<SyncItem>(args.item());
    const std::optional<SyncOutcome> outcome = outcomeOf(args.state());
    if (!item || !outcome)
        return;
    const std::shared_ptr<SyncRecord> record = item->record();
    const std::lock_guard guard(_mutex);
    _summary.count(*outcome, record->devicePath, record->deviceStamp.size);
}

void SyncRun::syncItemDidCompleted(IAsyncTask &task, const std::shared_ptr<SyncCompletedNotification> &notification)
{
    // A cancel tells of the end of a task at once, and the end of its work tells again, on its lane's thread: only then
    // is it known what became of the item.
    if (std::this_thread::get_id() == _runThread && _isCancelling)
        return;
    const std::lock_guard guard(_mutex);
    const auto found = _running.find(&task);
    if (found == _running.end())
        return;
    settle(found->second, *notification);
    const std::shared_ptr<MultiAsyncTask> lane = std::move(found->second.lane);
    _running.erase(found);
    handNextItemTo(lane);
}

void SyncRun::settle(Running &running, const SyncCompletedNotification &notification)
{
    SyncItemNews &news = running.news;
    const auto item = std::dynamic_pointer_cast<SyncItem>(running.task->dataItem());
    const std::shared_ptr<SyncRecord> record = item->record();
    if (notification.result() == AsyncTaskResultSuccess) {
        // A copy that turned out damaged was made anew.
        const bool isRepaired = news.what == "verify" && record->devicePath != news.devicePath;
        if (isRepaired)
            news.what = "change";
        news.devicePath = record->devicePath;
        if (news.what == "verify")
            _summary.count(SyncOutcome::Unchanged, record->devicePath, record->deviceStamp.size);
        _view.itemFinished(news);
    } else if (!running.task->isCancelled()) {
        _summary.count(SyncOutcome::Failed, news.path, news.bytes);
        const String reason = notification.errorText();
        _view.itemFailed(news.path, verb(news.what), reason.isNull() ? "it failed" : printable(reason.view()));
    }
}

} // namespace kelvane::tool
