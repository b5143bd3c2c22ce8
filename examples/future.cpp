// SPDX-License-Identifier: Apache-2.0

// A task's outcome as a std::future: for code that already speaks futures.
#include <kelvane/common/TaskFuture.h>

#include <cstdio>

using namespace kelvane;

int main()
{
    auto good = startAsFuture(std::make_shared<AsyncTaskIOS>([](AsyncTaskIOS &, const Object &) { return true; }));
    auto bad = startAsFuture(std::make_shared<AsyncTaskIOS>(
        [](AsyncTaskIOS &, const Object &) -> bool { throw Exception("ImportException", "the cable is loose"); }));
    std::printf("good: %s\n", good.get() ? "succeeded" : "failed");
    try {
        bad.get();
    } catch (const Exception &exception) {
        std::printf("bad: %s, %s\n", exception.name().c_str(), exception.reason().c_str());
    }
}
