// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
/// Turns the bytes of a copy into the progress of a task, and a cancel of the task into one of the copy.
class CopyProgress : public FastFileCopyerDelegate {
public:
    explicit CopyProgress(AsyncTaskIOS &task) : _task(task) {}

    void fileCopyProgressChanged(FastFileCopyer &copier) override
    {
        copier.setIsCancelled(!_task.canContinue());
        if (copier.totalSize() > 0)
            _task.reportStepProgress(static_cast<std::int32_t>(100 * copier.copiedSize() / copier.totalSize()));
    }

private:
    AsyncTaskIOS &_task;
};

bool copyFiles(AsyncTaskIOS &task, const String &from, const String &to)
{
    const Array files = Utils::getFiles(from);
    task.incStepCount(static_cast<std::int32_t>(files.size())); // each file is a step
    const auto progress = std::make_shared<CopyProgress>(task);
    const auto copier = std::make_shared<FastFileCopyer>();
    copier->setDelegate(progress);
    for (const Value &file : files) {
        if (!task.canContinue())
            return false;
        const String name = file.string().str().substr(from.size() + 1);
        copier->fileCopyFromPath(file.string(), pathCombine(to, name));
        if (copier->state() != 2) { // whatever happened, no half of a file has a name in the new folder
            task.setErrorText(name + " was not copied");
            return false;
        }
        task.incStep();
    }
    return true;
}
//! [recipe]

int main(int, char **arguments)
{
    const String from = pathCombine(arguments[1], "Photos");
    Utils::createDirectory("copy");
    auto task = std::make_shared<AsyncTaskIOS>(
        [&](AsyncTaskIOS &running, const Object &) { return copyFiles(running, from, "copy"); });
    std::int32_t shown = 0;
    task->addBaseAsyncTaskProgressChanged([&](BaseAsyncTask &, std::int32_t percent) {
        if (percent / 25 > shown)
            std::printf("%d %%\n", (shown = percent / 25) * 25);
    });
    task->startTask();
    std::puts(task->waitDone() ? "copied" : task->errorText().c_str());
    std::puts(Utils::directorySize("copy") == Utils::directorySize(from) ? "all of it" : "not all of it");
}
