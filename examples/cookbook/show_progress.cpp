// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <algorithm>
#include <cstdio>

using namespace kelvane;

//! [recipe]
/// Called on the thread that does the work: a program with a window hands the number to its own thread here.
void showBar(BaseAsyncTask &, std::int32_t percent)
{
    char bar[] = "....................";
    std::fill_n(bar, percent / 5, '#');
    std::printf("[%s] %d %%\n", bar, percent);
}

int countCovers(const String &folder)
{
    int covers = 0;
    auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &running, const Object &) {
        const Array files = Utils::getFiles(folder);
        running.incStepCount(static_cast<std::int32_t>(files.size()));
        for (const Value &file : files) {
            covers += TagFile(file.string()).isExistArtwork();
            running.incStep();
        }
        return true;
    });
    task->addBaseAsyncTaskProgressChanged(&showBar);
    task->startTask();
    return task->waitDone() ? covers : -1;
}
//! [recipe]

int main(int, char **arguments)
{
    std::printf("%d covers\n", countCovers(pathCombine(arguments[1], "Music")));
}
