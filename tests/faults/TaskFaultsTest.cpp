// SPDX-License-Identifier: Apache-2.0
// Tasks when memory and threads run out.
#include "FaultTest.h"

#include <kelvane/common/AsyncTask.h>
#include <kelvane/common/AsyncTaskIOS.h>

#include <cstdio>
#include <memory>

#include <new>
#include <unistd.h>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

namespace fs = std::filesystem;

TEST(TaskFaults, WorkThatFailsForWantOfMemoryIsNoSuccess)
{
    FaultReport report{};
    const auto task = std::make_shared<AsyncTaskIOS>([&](AsyncTaskIOS &, const Object &) -> bool {
        kelvane_fault_begin(FaultMemory, 1, 1, &report); // not even for the text of the error
        throw std::bad_alloc();
    });
    const bool isSuccess = task->start(true);
    kelvane_fault_end();
    ::alarm(0);
    EXPECT_FALSE(isSuccess);
    EXPECT_FALSE(task->isSuccess());
    EXPECT_TRUE(task->isCompleted());
    EXPECT_GT(report.hits, 0U);
}

class TasksFaults : public FaultTest {};

/// What a task holds as long as it lives: the layer of faults finds files that are left open.
std::shared_ptr<std::FILE> openFile()
{
    return {std::fopen("/dev/null", "re"), [](std::FILE *file) {
                if (file)
                    std::fclose(file);
            }};
}

TEST_P(TasksFaults, AnOperationTaskThatWasStartedOrNotIsLetGoWhenItWasWaitedFor)
{
    tryCalls({"tasks of operations", [](const fs::path &) {},
        [](const fs::path &) {
            const auto task = std::make_shared<AsyncTask>();
            task->setTaskWorkCallbackBlock([held = openFile()](AsyncTask &, const Object &) { return true; });
            task->startTask(false);
            return task->waitDone(60000);
        },
        [](const fs::path &, bool) { return ""; }});
}

TEST_P(TasksFaults, ATaskThatCouldNotBeStartedIsStartedLater)
{
    tryCalls({"tasks", [](const fs::path &) {},
        [](const fs::path &) {
            const auto task =
                std::make_shared<AsyncTaskIOS>([held = openFile()](AsyncTaskIOS &, const Object &) { return true; });
            try {
                task->start(false);
            } catch (const std::bad_alloc &) {
                task->start(false);
            }
            return task->waitDone();
        },
        [](const fs::path &, bool) { return ""; }});
}

KELVANE_ALL_FAULTS(TasksFaults);

} // namespace
