// SPDX-License-Identifier: Apache-2.0

// Tasks one after the other in a coroutine, without a callback in sight.
#include <kelvane/common/TaskAwaitable.h>

#include <cstdio>
#include <future>

using namespace kelvane;

namespace {

/// The smallest coroutine type that a thread can wait for.
struct Job {
    struct promise_type {
        std::promise<void> done;
        Job get_return_object() { return {done.get_future()}; }
        std::suspend_never initial_suspend() { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() { done.set_value(); }
        void unhandled_exception() { done.set_exception(std::current_exception()); }
    };
    std::future<void> finished;
};

std::shared_ptr<AsyncTaskIOS> step(const char *name)
{
    return std::make_shared<AsyncTaskIOS>([name](AsyncTaskIOS &, const Object &) {
        std::printf("%s\n", name);
        return true;
    });
}

Job importSongs()
{
    const auto reading = step("read the tags");
    const auto copying = step("copy the file");
    if (!co_await startAndAwait(reading))
        co_return;
    if (co_await startAndAwait(copying))
        std::puts("imported");
}

} // namespace

int main()
{
    importSongs().finished.get();
}
