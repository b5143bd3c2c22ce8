// SPDX-License-Identifier: Apache-2.0

// Records who is told of what, on which thread, and compares it with the table of docs/tasks.md, row by row.
#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/common/TaskObserver.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <latch>
#include <mutex>
#include <sstream>
#include <thread>

using namespace kelvane;

namespace {

class OrderRecord {
public:
    void add(const std::string &what, const std::string &whom)
    {
        const std::lock_guard guard(_mutex);
        const bool isWaiter = std::this_thread::get_id() == _waiter;
        _rows.push_back(what + " | " + whom + " | " + (isWaiter ? "waiter" : "task"));
    }
    [[nodiscard]] std::vector<std::string> rows() const { return _rows; }

private:
    const std::thread::id _waiter = std::this_thread::get_id();
    std::mutex _mutex;
    std::vector<std::string> _rows;
};

std::vector<std::string> documentedRows()
{
    std::ifstream page(KELVANE_SOURCE_DIR "/docs/tasks.md");
    std::vector<std::string> rows;
    bool isInTable = false;
    for (std::string line; std::getline(page, line);) {
        if (line.find("order: a test records this") != std::string::npos)
            isInTable = true;
        const auto number = "| " + std::to_string(rows.size() + 1) + " | ";
        if (isInTable && line.starts_with(number))
            rows.push_back(line.substr(number.size(), line.size() - number.size() - 2));
    }
    return rows;
}

/// The rows of one task's life.
std::vector<std::string> recordedRows()
{
    OrderRecord record;
    std::latch waiterIsThere(1);
    const auto observer = [&] {
        return makeDelegate({
            .onProgress = [&](IAsyncTask &,
                              std::int32_t p) { record.add("progress " + std::to_string(p), "delegate"); },
            .onLenght = [&](IAsyncTask &, std::int64_t) { record.add("lenght", "delegate"); },
            .onStep = [&](IAsyncTask &, IAsyncTaskStepEvent &) { record.add("step", "delegate"); },
            .onFinished = [&](IAsyncTask &) { record.add("asyncTaskFinished", "delegate"); },
            .onWaiting = [&](IAsyncTask &) { record.add("asyncTaskWaiting", "delegate"); },
        });
    };
    class Task : public AsyncTaskIOS {
    public:
        using AsyncTaskIOS::AsyncTaskIOS;
        std::function<void()> beforeMain;

    private:
        void main() override
        {
            beforeMain();
            AsyncTaskIOS::main();
        }
    };
    const auto task = std::make_shared<Task>(AsyncTaskIOS::WorkCallback([&](AsyncTaskIOS &running, const Object &) {
        record.add("the work", "work block");
        running.incStepCount(2);
        running.onStepChanged(std::make_shared<AsyncTaskStepEvent>(nullptr, "first", 1, String()));
        running.incStep();
        return true;
    }),
        Object(),
        AsyncTaskIOS::AsyncTaskCallback([&](AsyncTaskIOS &) { record.add("completion", "completion block"); }));
    task->beforeMain = [&] { waiterIsThere.wait(); };
    task->setDelegate(observer());
    task->addBaseAsyncTaskProgressChanged(
        [&](BaseAsyncTask &, std::int32_t p) { record.add("progress " + std::to_string(p), "block"); });
    task->addBaseAsyncTaskWaiting([&](BaseAsyncTask &) {
        record.add("waiting", "block");
        waiterIsThere.count_down();
    });
    task->addBaseAsyncTaskCompleted([&](BaseAsyncTask &, const Object &) { record.add("completed", "block"); });
    const auto callback =
        makeDelegate({.onFinished = [&](IAsyncTask &) { record.add("asyncTaskFinished", "completion callback"); }});
    task->addCompleteEvent(callback);
    task->startTask();
    EXPECT_TRUE(task->waitDone());
    record.add("waitDone returns", "caller");

    while (task->taskState() != AsyncTaskStateFinished)
        std::this_thread::yield();
    return record.rows();
}

} // namespace

TEST(TaskOrder, IsTheOneThatTheDocumentationShows)
{
    const auto documented = documentedRows();
    ASSERT_EQ(documented.size(), 18U);
    // A waiter that the system stops just before it blocks may find the task completed and return early; that leaves
    // the order of all other rows as it is. One life in which it blocks in time shows the whole order.
    std::vector<std::string> rows;
    for (int attempt = 0; attempt < 100 && rows != documented; ++attempt) {
        rows = recordedRows();
        auto others = rows;
        others.erase(std::find(others.begin(), others.end(), documented.back()));
        ASSERT_EQ(others, std::vector<std::string>(documented.begin(), documented.end() - 1));
    }
    EXPECT_EQ(rows, documented);
}
