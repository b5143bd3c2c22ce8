// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/ParallelAsyncTask.h>

namespace kelvane {

namespace {

/// Kinds of tasks from elsewhere say no more than whether they have completed and what a wait gives.
bool isSuccessCompleted(IAsyncTask &task)
{
    if (const auto *known = dynamic_cast<const BaseAsyncTask *>(&task))
        return known->isSuccessCompleted();
    return task.isCompleted() && task.waitDone(0);
}

} // namespace

IMultiAsyncTask::~IMultiAsyncTask() = default;

ParallelAsyncTask::ParallelAsyncTask(Tasks tasks, std::uint64_t parallelResult,
    const std::shared_ptr<IAsyncTask> &oneTask, std::shared_ptr<IAsyncTaskDelegate> completedHandler, Object userState)
    : AsyncTaskIOS(std::move(completedHandler), std::move(userState)),
      _tasks(std::make_shared<const Tasks>(std::move(tasks))),
      _parallelResult(parallelResult),
      _hasOneTask(oneTask != nullptr),
      _oneTask(oneTask)
{
}

ParallelAsyncTask::~ParallelAsyncTask()
{
    ParallelAsyncTask::disposeTask();
}

AsyncTaskIOS::Tasks ParallelAsyncTask::tasks() const
{
    const auto tasks = _tasks.get();
    return tasks ? *tasks : Tasks();
}

bool ParallelAsyncTask::waitDone(std::int32_t timeoutMs)
{
    if (_parallelResult == 0)
        waitForAll(timeoutMs);
    else
        waitForFirst(timeoutMs);
    return isSuccessCompleted();
}

void ParallelAsyncTask::waitForAll(std::int32_t timeoutMs)
{
    const Tasks children = tasks();
    if (!waitAll(children, timeoutMs))
        return;
    for (const auto &child : children)
        if (child && !kelvane::isSuccessCompleted(*child))
            setIsSuccess(false);
    onComplete();
}

void ParallelAsyncTask::waitForFirst(std::int32_t timeoutMs)
{
    const auto winner = waitAny(tasks(), timeoutMs);
    if (!winner) {
        if (timeoutMs == -1)
            doComplete(false);
        return;
    }
    _resultTask.set(winner);
    bool outcome = kelvane::isSuccessCompleted(*winner);
    if (_hasOneTask) {
        const bool isOneTask = _oneTask.lock() == winner;
        outcome = outcome && (_parallelResult == 1 ? isOneTask : !isOneTask);
        // Intended: only where a child is distinguished does a failed winner's error become this task's.
        if (const auto detailed = std::dynamic_pointer_cast<IAsyncTask2>(winner); detailed && !outcome) {
            setErrorText(detailed->errorText());
            setErrorCode(detailed->errorCode());
            setError(detailed->error());
        }
    }
    doComplete(outcome);
}

Value ParallelAsyncTask::taskResult() const
{
    const auto winner = std::dynamic_pointer_cast<IAsyncTask2>(_resultTask.get().lock());
    if (winner && isSuccessCompleted())
        return winner->taskResult();
    return result();
}

void ParallelAsyncTask::disposeTask()
{
    const auto children = _tasks.exchange(nullptr);
    if (!children)
        return;
    for (const auto &child : *children)
        if (child)
            child->cancel();
}

} // namespace kelvane
