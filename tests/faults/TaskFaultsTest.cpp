// SPDX-License-Identifier: Apache-2.0
// Tasks whose work fails when there is no memory to say so.
#include "FaultTest.h"

#include <kelvane/common/AsyncTaskIOS.h>

#include <new>
#include <unistd.h>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

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

} // namespace
