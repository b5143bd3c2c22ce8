// SPDX-License-Identifier: Apache-2.0

// A task that runs other tasks inside itself, or waits for them.
#include <kelvane/common/AsyncTaskIOS.h>

#include <kelvane/common/detail/AtScopeEnd.h>

#include <chrono>
#include <limits>
#include <thread>

namespace kelvane {

namespace {

constexpr std::int32_t withoutDeadline = std::numeric_limits<std::int32_t>::max();

/// The rhythm of the polling waits: one look, then a sleep of 100 ms, as long as the counted time does not exceed
/// the whole seconds of the time-out. Intended: the count is a float raised by 0.1, not a clock.
class PollingRhythm {
public:
    // NOLINTNEXTLINE(bugprone-integer-division): whole seconds
    explicit PollingRhythm(std::int32_t timeoutMs) : _limit(static_cast<float>(timeoutMs / 1000)) {}

    [[nodiscard]] bool isTimeLeft() const { return _elapsed <= _limit; }
    void sleep()
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        _elapsed += 0.1F;
    }

private:
    float _elapsed = 0;
    float _limit;
};

} // namespace

BaseAsyncTask::ProgressChangedBlock AsyncTaskIOS::forwardProgressOf(BaseAsyncTask &child)
{
    // Weak: a report that is on its way may arrive after the block was removed.
    return child.addBaseAsyncTaskProgressChanged(
        [parent = weak_from_this()](BaseAsyncTask &reporter, std::int32_t percent) {
            if (const auto alive = parent.lock())
                static_cast<AsyncTaskIOS &>(*alive).reportStepProgress(&reporter, percent);
        });
}

void AsyncTaskIOS::copyErrorOf(const IAsyncTask2 &child)
{
    setErrorCode(child.errorCode());
    setErrorText(child.errorText());
    setError(child.error());
}

bool AsyncTaskIOS::executeTask(const std::shared_ptr<AsyncTaskIOS> &child, Object workUserState)
{
    if (!child || isCancelled())
        return false;
    const auto retained = child; // NOLINT(performance-unnecessary-copy-initialization): listeners may drop the caller's
    retained->setIsSubTask(true);
    const ProgressChangedBlock forward = forwardProgressOf(*retained);
    setChildTaskArray(std::make_shared<const Tasks>(Tasks{retained}));
    const detail::AtScopeEnd tidyUp([&] {
        retained->removeBaseAsyncTaskProgressChanged(forward);
        setChildTaskArray(nullptr);
        copyErrorOf(*retained);
    });
    // Intended: it is this task's own workUserState that decides whether the child gets the given one.
    if (!this->workUserState().isNull())
        return retained->start(true, std::move(workUserState));
    return retained->start(true);
}

bool AsyncTaskIOS::executeTask(const std::shared_ptr<AsyncTaskIOS> &child)
{
    return child && executeTask(child, workUserState());
}

bool AsyncTaskIOS::executeIAsyncTask(const std::shared_ptr<IAsyncTask> &child)
{
    if (const auto runnable = std::dynamic_pointer_cast<AsyncTaskIOS>(child))
        return executeTask(runnable, nullptr);
    return child && waitTaskDone(child); // a kind of task that cannot be started from here
}

bool AsyncTaskIOS::executeIAsyncTask(const std::shared_ptr<IAsyncTask> &child, Object workUserState)
{
    const auto runnable = std::dynamic_pointer_cast<AsyncTaskIOS>(child);
    if (runnable && !runnable->isStarted())
        return executeTask(runnable, std::move(workUserState));
    return waitTaskDone(child);
}

bool AsyncTaskIOS::waitTaskDone(const std::shared_ptr<IAsyncTask> &task, const Tasks *tasks, std::int32_t timeoutMs)
{
    if (isCancelled() || !task)
        return false;
    const auto retained = task; // NOLINT(performance-unnecessary-copy-initialization): listeners may drop the caller's
    const auto reporter = std::dynamic_pointer_cast<BaseAsyncTask>(retained);
    ProgressChangedBlock forward;
    if (stepCount() > 0 && reporter)
        forward = forwardProgressOf(*reporter);
    setChildTaskArray(std::make_shared<const Tasks>(tasks ? *tasks : Tasks{retained}));
    const bool outcome = retained->waitDone(timeoutMs);
    if (reporter)
        reporter->removeBaseAsyncTaskProgressChanged(forward);
    if (retained->isCompleted())
        if (const auto detailed = std::dynamic_pointer_cast<IAsyncTask2>(retained))
            copyErrorOf(*detailed);
    setChildTaskArray(nullptr);
    return outcome;
}

bool AsyncTaskIOS::waitTaskDone(const std::shared_ptr<IAsyncTask> &task, std::int32_t timeoutMs)
{
    if (!task)
        return true;
    const Tasks tasks{task};
    return waitTaskDone(task, &tasks, timeoutMs);
}

bool AsyncTaskIOS::waitTaskDone(const std::shared_ptr<IAsyncTask> &task)
{
    return waitTaskDone(task, withoutDeadline);
}

bool AsyncTaskIOS::waitTaskDone(const std::shared_ptr<IAsyncTask> &task, const Tasks &childrenTasks)
{
    return waitTaskDone(task, &childrenTasks, -1);
}

bool AsyncTaskIOS::waitAll(const Tasks &tasks, std::int32_t timeoutMs)
{
    if (isCancelled())
        return false;
    setChildTaskArray(std::make_shared<const Tasks>(tasks));
    const detail::AtScopeEnd forgetChildren([this] { setChildTaskArray(nullptr); });
    std::size_t completed = 0; // over all looks
    for (PollingRhythm rhythm(timeoutMs); rhythm.isTimeLeft(); rhythm.sleep()) {
        if (tasks.size() <= completed)
            return true;
        for (const auto &task : tasks)
            if (task && task->isCompleted())
                ++completed;
    }
    return false;
}

bool AsyncTaskIOS::waitAll(const Tasks &tasks)
{
    return waitAll(tasks, withoutDeadline);
}

std::shared_ptr<IAsyncTask> AsyncTaskIOS::waitAny(const Tasks &tasks, std::int32_t timeoutMs)
{
    if (isCancelled() || tasks.empty())
        return nullptr;
    setChildTaskArray(std::make_shared<const Tasks>(tasks));
    const detail::AtScopeEnd forgetChildren([this] { setChildTaskArray(nullptr); });
    for (PollingRhythm rhythm(timeoutMs); rhythm.isTimeLeft(); rhythm.sleep()) {
        std::shared_ptr<IAsyncTask> found;
        for (const auto &task : tasks)
            if (task && task->isCompleted())
                found = task;
        if (found)
            return found;
    }
    return nullptr;
}

std::shared_ptr<IAsyncTask> AsyncTaskIOS::waitAny(const Tasks &tasks)
{
    return waitAny(tasks, withoutDeadline);
}

} // namespace kelvane
