// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
std::shared_ptr<AsyncTaskIOS> step(const char *name, bool succeeds = true)
{
    auto task = std::make_shared<AsyncTaskIOS>([=](AsyncTaskIOS &running, const Object &) {
        if (!running.isSuccess()) // a task before this one failed, and this one starts with its error
            return false;
        std::printf("  %s\n", name);
        if (!succeeds)
            running.setErrorText(String(name) + " failed");
        return succeeds;
    });
    task->addBaseAsyncTaskCompleted([=](BaseAsyncTask &ended, const Object &) {
        std::printf("  end of \"%s\": %s\n", name, ended.isSuccess() ? "succeeded" : "failed");
    });
    return task;
}

void runChain(const char *what, bool copySucceeds)
{
    auto chain = std::make_shared<MultiAsyncTask>();
    chain->addTask(step("read the tags"));
    chain->addTask(step("copy the file", copySucceeds));
    chain->addTask(step("write the row"));
    std::printf("%s\n", what);
    chain->startTask();
    const bool isSuccess = chain->waitDone();
    std::printf("%s\n", isSuccess ? "all done" : chain->errorText().c_str());
}
//! [recipe]

int main()
{
    runChain("the good chain:", true);
    runChain("the other one:", false);
}
