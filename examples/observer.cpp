// SPDX-License-Identifier: Apache-2.0

// A delegate made of lambdas.
#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/TaskObserver.h>

#include <cstdio>

using namespace kelvane;

int main()
{
    auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &running, const Object &) {
        running.reportStepProgress(50);
        return true;
    });
    task->setDelegate(makeDelegate({
        .onProgress = [](IAsyncTask &, std::int32_t percent) { std::printf("%d %%\n", percent); },
        .onFinished = [](IAsyncTask &) { std::puts("finished"); },
    }));
    task->start(true);
}
