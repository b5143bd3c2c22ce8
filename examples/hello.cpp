// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <kelvane/kelvane.h>
using namespace kelvane;

int main()
{
    auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &running, const Object &) {
        running.incStepCount(2);
        running.incStep(); // half of the work is done …
        running.incStep(); // … and all of it
        return true;
    });
    task->addBaseAsyncTaskProgressChanged([](BaseAsyncTask &, int percent) { std::printf("%d %%\n", percent); });
    task->startTask();
    std::puts(task->waitDone() ? "done" : task->errorText().c_str());
}
