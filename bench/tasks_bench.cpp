// SPDX-License-Identifier: Apache-2.0
//
// What a task costs, beside the task engines of others, in three works that stand for what programs do with them:
//   flood  100,000 tasks with empty work, made, started, and waited for; per task
//   trip   one task at a time: started while everything sleeps, run on another thread, waited for; per task
//   block  100 tasks that sleep 20 ms each, 100 at once: with no thread made yet (cold), and with threads that sleep
//          (warm); in all
// Ours is AsyncTaskIOS: outcome, error, progress, listeners and cancel included. Each round runs in a process of its
// own, so that no engine meets the threads of another.
#include "support/Contest.h"

#include <kelvane/common/AsyncTaskIOS.h>

#include <asio/post.hpp>
#include <asio/thread_pool.hpp>
#include <asio/use_future.hpp>
#include <atomic>
#include <chrono>
#include <future>
#include <gio/gio.h>
#include <memory>
#include <QtConcurrent/QtConcurrentRun>
#include <string>
#include <thread>
#include <ThreadWeaver/ThreadWeaver>
#include <vector>

using namespace kelvane;
using namespace kelvane::bench;

namespace {

using Work = void (*)();

std::atomic<int> worked{0};

void nothing()
{
    worked.fetch_add(1, std::memory_order_relaxed);
}

void block()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    nothing();
}

// Each engine runs `count` tasks that do `work`, and returns when all of them have ended.

void runOurs(int count, Work work)
{
    std::vector<std::shared_ptr<AsyncTaskIOS>> tasks;
    tasks.reserve(static_cast<std::size_t>(count));
    const AsyncTaskIOS::WorkCallback callback([work](AsyncTaskIOS &, const Object &) {
        work();
        return true;
    });
    for (int i = 0; i < count; ++i) {
        tasks.push_back(std::make_shared<AsyncTaskIOS>(callback));
        tasks.back()->startTask();
    }
    bool isSuccess = true;
    for (const auto &task : tasks)
        isSuccess = task->waitDone() && isSuccess;
    require(isSuccess, "the outcome of our tasks");
}

void runThreadWeaver(ThreadWeaver::Queue &queue, int count, Work work)
{
    for (int i = 0; i < count; ++i)
        queue.stream() << ThreadWeaver::make_job([work] { work(); });
    queue.finish();
}

void runQtConcurrent(QThreadPool &pool, int count, Work work)
{
    QVector<QFuture<bool>> futures;
    futures.reserve(count);
    for (int i = 0; i < count; ++i)
        futures.append(QtConcurrent::run(&pool, [work] {
            work();
            return true;
        }));
    for (auto &future : futures)
        require(future.result(), "the outcome of Qt's tasks");
}

// GTask reports to the main context of whoever made it.
struct GlibRun {
    Work work;
    int left;
};

void runGlib(int count, Work work)
{
    GMainContext *context = g_main_context_new();
    g_main_context_push_thread_default(context);
    GlibRun run{work, count};
    for (int i = 0; i < count; ++i) {
        GTask *task = g_task_new(
            nullptr, nullptr,
            [](GObject *, GAsyncResult *result, gpointer data) {
                require(g_task_propagate_boolean(G_TASK(result), nullptr) != 0, "the outcome of GLib's tasks");
                --static_cast<GlibRun *>(data)->left;
            },
            &run);
        g_task_set_task_data(task, &run, nullptr);
        g_task_run_in_thread(task, [](GTask *own, gpointer, gpointer data, GCancellable *) {
            static_cast<GlibRun *>(data)->work();
            g_task_return_boolean(own, 1);
        });
        g_object_unref(task);
    }
    while (run.left > 0)
        g_main_context_iteration(context, 1);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
}

void runAsio(asio::thread_pool &pool, int count, Work work)
{
    std::vector<std::future<void>> futures;
    futures.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        futures.push_back(asio::post(pool, asio::use_future([work] { work(); })));
    for (auto &future : futures)
        future.get();
}

// Engines and their settings, each as a function from (count, work) to a round. Pools are made in the child process and
// are not torn down: threads that end are not what is measured.

using Engine = std::function<std::function<void(int, Work)>()>;

Engine ours()
{
    return [] { return runOurs; };
}

Engine threadWeaver(int threads)
{
    return [threads] {
        auto *queue = new ThreadWeaver::Queue;
        queue->setMaximumNumberOfThreads(threads);
        return [queue](int count, Work work) { runThreadWeaver(*queue, count, work); };
    };
}

Engine qtConcurrent(int threads)
{
    return [threads] {
        auto *pool = new QThreadPool;
        pool->setMaxThreadCount(threads);
        return [pool](int count, Work work) { runQtConcurrent(*pool, count, work); };
    };
}

Engine glib()
{
    return [] { return runGlib; };
}

Engine asioPool(std::size_t threads)
{
    return [threads] {
        auto *pool = new asio::thread_pool(threads);
        return [pool](int count, Work work) { runAsio(*pool, count, work); };
    };
}

enum class Start { cold, warm };

Contest::Round tasks(const Engine &engine, int count, Work work, Start start)
{
    return [=] {
        return inChild([=] {
            std::function<void(int, Work)> run;
            const auto measured = [&] {
                if (!run)
                    run = engine();
                run(count, work);
            };
            if (start == Start::warm)
                measured();
            worked = 0;
            const double time = seconds(measured);
            require(worked == count, "the number of tasks that ran");
            return time;
        });
    };
}

Contest::Round trips(const Engine &engine)
{
    return [=] {
        return inChild([=] {
            constexpr int count = 2'000;
            const auto run = engine();
            run(1, nothing);
            return seconds([&] {
                for (int i = 0; i < count; ++i)
                    run(1, nothing);
            }) / count;
        });
    };
}

void flood()
{
    constexpr int count = 100'000;
    const auto round = [](const Engine &engine) { return tasks(engine, count, nothing, Start::warm); };
    Contest("tasks", "100,000 empty tasks", {"us/task", 1e6 / count})
        .ours(round(ours()))
        .peer("ThreadWeaver", 1.0, round(threadWeaver(100)))
        .peer("QtConcurrent, pool of 100", 0.1, round(qtConcurrent(100)))
        .peer("QtConcurrent, pool of 2", 1.0, round(qtConcurrent(2)))
        .peer("GTask", 0.3, round(glib()))
        .run();
}

} // namespace

int main()
{
    flood();
    scaling(
        "tasks", "empty tasks", {"us/task", 1e6}, {10'000, 100'000, 1'000'000},
        [](int size) { return tasks(ours(), size, nothing, Start::warm)() / size; }, 3);

    const auto memory = [](const Engine &engine) { return memoryOf([engine] { engine()(100'000, nothing); }); };
    Contest("tasks", "100,000 empty tasks, peak memory", {"MB", 1e-6})
        .ours(memory(ours()))
        .peer("ThreadWeaver", 0, memory(threadWeaver(100)))
        .peer("QtConcurrent, pool of 2", 0, memory(qtConcurrent(2)))
        .peer("GTask", 0, memory(glib()))
        .run(3);

    Contest("tasks", "one task, start to done", {"us", 1e6})
        .ours(trips(ours()))
        .peer("asio, future", 1.0, trips(asioPool(2)))
        .peer("GTask", 0.2, trips(glib()))
        .run();

    for (const auto start : {Start::cold, Start::warm}) {
        const auto blocked = [=](const Engine &engine) { return tasks(engine, 100, block, start); };
        Contest("tasks", start == Start::cold ? "100 tasks of 20 ms, pool cold" : "100 tasks of 20 ms, pool warm",
            {"ms", 1e3})
            .ours(blocked(ours()))
            .peer("asio, 100 threads", 1.03, blocked(asioPool(100)))
            .peer("QtConcurrent, pool of 100", 0, blocked(qtConcurrent(100)))
            .run();
    }
}
