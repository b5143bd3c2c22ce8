// SPDX-License-Identifier: Apache-2.0

// A program whose work ends in good order when somebody types Ctrl-C. Here it sends the signal to itself.
#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/CancelOnSignal.h>

#include <csignal>
#include <cstdio>

using namespace kelvane;

int main()
{
    const auto task = std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &running, const Object &) {
        std::raise(SIGINT);
        running.sleep(501); // until there is news: the cancel
        return running.canContinue();
    });
    const CancelOnSignal guard(task, {SIGINT});
    const bool isSuccess = task->start(true);
    std::printf("%s, signal %d\n", isSuccess ? "succeeded" : "cancelled", guard.caughtSignal());
}
