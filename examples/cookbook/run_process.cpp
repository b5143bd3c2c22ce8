// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
void run(const String &program, std::vector<String> arguments)
{
    auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->setLaunchPath(program); // no shell: every argument arrives as it is
    task->setArguments(std::move(arguments));
    task->startExecuteTask(); // on this thread; after setSynchronous(false), on a thread of the queue

    const auto left = task->getCompletedResult();
    if (!left->result().isNull())
        std::printf("it printed: %s\n", trim(left->result()).c_str());
    if (!left->error().isNull())
        std::printf("it complained: %s\n", trim(left->error()).c_str());
}

int main()
{
    run("/bin/echo", {"two words", "$HOME"});
    run("/bin/ls", {"/nothing/here"});
    run("/usr/bin/no-such-program", {});
}
//! [recipe]
