// SPDX-License-Identifier: Apache-2.0
#include "Files.h"
#include "Job.h"

#include <kelvane/common/AsyncExecuteProcessTask.h>

#include <chrono>
#include <memory>
#include <thread>

namespace kelvane::soak {
namespace {

std::shared_ptr<AsyncExecuteProcessTask> shell(const std::string &script)
{
    auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->setLaunchPath("/bin/sh");
    task->setArguments({"-c", String(script)});
    return task;
}

void waitForFile(const std::filesystem::path &path)
{
    while (!std::filesystem::exists(path))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace

void runPrograms(Turn &turn)
{
    const std::string text = std::to_string(turn.random());
    const auto talking = shell("printf " + text + "; printf e" + text + " >&2");
    talking->startExecuteTask();
    check(talking->getCompletedResult()->result() == text, "a program's output is its result");
    check(talking->getCompletedResult()->error() == 'e' + text, "a program's error output is its error");

    const auto missing = std::make_shared<AsyncExecuteProcessTask>();
    missing->setLaunchPath("/nowhere/program");
    missing->startExecuteTask();
    check(!missing->getCompletedResult()->error().isEmpty(), "a program that is not there says so");

    const auto endless = shell("echo > '" + (turn.folder / "runs").native() + "'; exec sleep 1000");
    endless->setSynchronous(false);
    endless->startExecuteTask();
    waitForFile(turn.folder / "runs");
    endless->cancel();
    while (!endless->isFinished())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    static_cast<void>(endless->waitDone(1000));
}

} // namespace kelvane::soak
