// SPDX-License-Identifier: Apache-2.0

// Work that gets its user state by type.
#include <kelvane/common/TypedTask.h>

#include <cstdio>

using namespace kelvane;

struct Import {
    String folder;
    int count = 0;
};

int main()
{
    const auto import = std::make_shared<Import>(Import{"Music", 3});
    const auto task = makeTask(import, [](AsyncTaskIOS &, Import &state) {
        state.count += 1;
        return state.count == 4;
    });
    const bool isSuccess = task->start(true);
    std::printf("%s, %d of %s\n", isSuccess ? "succeeded" : "failed", import->count, import->folder.c_str());
}
