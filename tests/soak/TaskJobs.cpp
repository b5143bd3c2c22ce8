// SPDX-License-Identifier: Apache-2.0
#include "Job.h"

#include <kelvane/common/AsyncTask.h>
#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/MultiAsyncTask.h>
#include <kelvane/common/ParallelAsyncTask.h>
#include <kelvane/foundation/Exception.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace kelvane::soak {
namespace {

/// What became of one task. Kept by its blocks, because a cancelled task may outlive the wait for it.
struct Fate {
    enum class Way { Started, Synchronous, CancelledAtWork, NeverStarted };

    Way way = Way::Started;
    bool mustSucceed = true;
    bool mustThrow = false;
    std::atomic<int> runs = 0;
    std::atomic<int> endings = 0;
    std::shared_ptr<AsyncTaskIOS> task;
};

bool work(Fate &fate, AsyncTaskIOS &task)
{
    ++fate.runs;
    task.incStepCount(3);
    for (int step = 0; step < 3 && task.canContinue(); ++step)
        task.incStep();
    if (fate.mustThrow)
        throw Exception("SoakException", "thrown by work");
    return fate.mustSucceed;
}

std::shared_ptr<Fate> makeTask(Turn &turn)
{
    auto fate = std::make_shared<Fate>();
    fate->way = static_cast<Fate::Way>(turn.between(0, 3));
    fate->mustThrow = turn.oneIn(50);
    fate->mustSucceed = !fate->mustThrow && !turn.oneIn(5);
    // The task owns its blocks: they refer to its fate weakly, which owns the task.
    const std::weak_ptr<Fate> known = fate;
    fate->task = std::make_shared<AsyncTaskIOS>([known](AsyncTaskIOS &task, const Object &) {
        const auto own = known.lock();
        return own && work(*own, task);
    });
    fate->task->addBaseAsyncTaskCompleted([known](BaseAsyncTask &, const Object &) {
        if (const auto own = known.lock())
            ++own->endings;
    });
    return fate;
}

void begin(Fate &fate)
{
    switch (fate.way) {
    case Fate::Way::Synchronous:
        check(fate.task->start(true) == fate.mustSucceed, "a synchronous start gives the outcome");
        break;
    case Fate::Way::NeverStarted:
        fate.task->cancel();
        break;
    case Fate::Way::CancelledAtWork:
        fate.task->startTask();
        fate.task->cancel();
        break;
    case Fate::Way::Started:
        fate.task->startTask();
    }
}

void settle(Fate &fate)
{
    const bool isSuccess = fate.task->waitDone();
    // A cancelled task is not waited for, but it still has to leave the queue.
    while (fate.way != Fate::Way::NeverStarted && !fate.task->isFinished())
        std::this_thread::yield();
    check(fate.endings >= 1, "every task tells of its end");
    if (fate.task->isCancelled()) {
        check(fate.way != Fate::Way::Started && fate.way != Fate::Way::Synchronous, "nobody else cancels a task");
        check(fate.runs <= 1, "a cancelled task runs once at the most");
        return;
    }
    check(fate.way != Fate::Way::NeverStarted, "a task that was never started can be cancelled");
    check(isSuccess == fate.mustSucceed && fate.task->isSuccess() == isSuccess, "a wait gives the outcome");
    check(fate.runs == 1 && fate.endings == 1, "a task runs once and ends once");
    check(fate.task->lastPercent() == 100, "a task that is done has done all");
    check((fate.task->error() != nullptr) == fate.mustThrow, "what was thrown is the error");
}

std::shared_ptr<AsyncTaskIOS> counting(std::atomic<int> &count, bool outcome)
{
    return std::make_shared<AsyncTaskIOS>([&count, outcome](AsyncTaskIOS &, const Object &) {
        ++count;
        return outcome;
    });
}

} // namespace

void runTasks(Turn &turn)
{
    std::vector<std::shared_ptr<Fate>> fates(static_cast<std::size_t>(turn.between(200, 600)));
    for (auto &fate : fates) {
        fate = makeTask(turn);
        begin(*fate);
    }
    for (const auto &fate : fates)
        settle(*fate);
}

void groupTasks(Turn &turn)
{
    // One after the other: all run, and one that fails makes the group fail.
    std::atomic<int> count = 0;
    const int width = turn.between(3, 30);
    const int failing = turn.oneIn(2) ? turn.between(0, width - 1) : width;
    const auto group = std::make_shared<MultiAsyncTask>();
    for (int i = 0; i < width; ++i)
        group->addTask(counting(count, i != failing));
    group->startTask();
    check(group->waitDone() == (failing == width), "a group succeeds if all did");
    check(count == width, "a group runs all of its tasks");

    // Side by side.
    AsyncTaskIOS::Tasks tasks;
    std::atomic<int> parallelCount = 0;
    for (int i = 0; i < width; ++i) {
        const auto task = counting(parallelCount, true);
        task->startTask();
        tasks.push_back(task);
    }
    const auto all = std::make_shared<ParallelAsyncTask>(tasks, 0, nullptr);
    check(all->waitDone() && parallelCount == width, "who waits for all waits for all");

    // The lighter kind.
    std::vector<std::shared_ptr<AsyncTask>> light(static_cast<std::size_t>(width));
    std::atomic<int> lightCount = 0;
    for (auto &task : light) {
        task = std::make_shared<AsyncTask>("soak");
        task->setTaskWorkCallbackBlock([&lightCount](AsyncTask &, const Object &) {
            ++lightCount;
            return true;
        });
        task->startTask(turn.oneIn(3));
    }
    for (const auto &task : light) {
        static_cast<void>(task->waitDone(60'000));
        while (!task->isFinished())
            std::this_thread::yield();
        check(task->isSucceed(), "an operation task does its work");
    }
    check(lightCount == width, "every operation task runs once");
}

} // namespace kelvane::soak
