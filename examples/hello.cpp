// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <kelvane/kelvane.h>

int main()
{
    auto task = std::make_shared<kelvane::AsyncTaskIOS>([](auto &running, const auto &) {
        running.incStepCount(2);
        running.incStep(); // half of the work is done …
        running.incStep(); // … and all of it
        return true;
    });
    task->addBaseAsyncTaskProgressChanged([](auto &, int percent) { std::printf("%d %%\n", percent); });
    task->startTask();
    std::puts(task->waitDone() ? "done" : task->errorText().c_str());
}
