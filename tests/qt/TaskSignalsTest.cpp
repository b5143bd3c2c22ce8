// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/qt/TaskSignals.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include <gmock/gmock.h>

#include <atomic>
#include <semaphore>
#include <string>
#include <vector>

using namespace kelvane;
using namespace kelvane::qt;

namespace {

/// Writes down the signals of a task in their order.
struct Heard {
    explicit Heard(const std::shared_ptr<BaseAsyncTask> &task) : news(task)
    {
        const auto hear = [this](const QString &text) {
            EXPECT_EQ(QThread::currentThread(), news.thread());
            lines.push_back(text.toStdString());
        };
        QObject::connect(
            &news, &TaskSignals::progressChanged, [=](int percent) { hear(QString("progress %1").arg(percent)); });
        QObject::connect(
            &news, &TaskSignals::lengthChanged, [=](qlonglong length) { hear(QString("length %1").arg(length)); });
        QObject::connect(&news, &TaskSignals::stepChanged,
            [=](const QString &name, qlonglong value) { hear(QString("step %1 %2").arg(name).arg(value)); });
        QObject::connect(&news, &TaskSignals::cancelled, [=] { hear("cancelled"); });
        QObject::connect(&news, &TaskSignals::finished, [=, this](bool isSuccess, const QString &error) {
            hear(QString("finished %1 %2").arg(isSuccess ? "well" : "badly", error).trimmed());
            loop.quit();
        });
    }
    void waitForEnd() { loop.exec(); }

    TaskSignals news;
    QEventLoop loop;
    std::vector<std::string> lines;
};

std::shared_ptr<AsyncTaskIOS> taskThat(AsyncTaskIOS::WorkCallback work)
{
    return std::make_shared<AsyncTaskIOS>(std::move(work));
}

} // namespace

TEST(TaskSignals, TellInOrderOnTheirOwnThread)
{
    const auto task = taskThat([](AsyncTaskIOS &running, const Object &) {
        const auto self = std::dynamic_pointer_cast<IAsyncTask>(running.shared_from_this());
        running.onStepChanged(std::make_shared<AsyncTaskStepEvent>(self, "reading", 7, nullptr));
        running.reportStepProgress(40);
        running.onStepChanged(std::make_shared<AsyncTaskStepEvent>(self, "writing", 8, nullptr));
        return true;
    });
    Heard heard(task);
    task->startTask();
    heard.waitForEnd();
    EXPECT_THAT(heard.lines,
        ::testing::ElementsAre(
            "progress 0", "step reading 7", "progress 40", "step writing 8", "progress 100", "finished well"));
}

TEST(TaskSignals, ShowTheLastOfProgressThatComesFasterThanItIsShown)
{
    const auto task = taskThat([](AsyncTaskIOS &running, const Object &) {
        for (int round = 0; round < 1000; ++round)
            running.reportStepProgress(round / 10);
        return true;
    });
    Heard heard(task);
    task->start(true);
    QCoreApplication::processEvents();
    EXPECT_THAT(heard.lines, ::testing::ElementsAre("progress 100", "finished well"));
}

TEST(TaskSignals, TellOfALengthWhereItDiffers)
{
    const auto task = taskThat([](AsyncTaskIOS &running, const Object &) {
        running.setLastLenght(4096);
        running.reportStepProgress(50);
        running.reportStepProgress(60);
        return true;
    });
    Heard heard(task);
    task->start(true);
    QCoreApplication::processEvents();
    EXPECT_THAT(heard.lines, ::testing::ElementsAre("progress 50", "length 4096", "progress 100", "finished well"));
}

TEST(TaskSignals, TellOfAFailureWithItsReason)
{
    const auto task = taskThat(
        [](AsyncTaskIOS &, const Object &) -> bool { throw Exception("ImportException", "the cable is loose"); });
    Heard heard(task);
    task->startTask();
    heard.waitForEnd();
    EXPECT_THAT(heard.lines.back(),
        ::testing::AllOf(::testing::StartsWith("finished badly"), ::testing::HasSubstr("the cable is loose")));
}

TEST(TaskSignals, CancelTheTaskAndTellOfIt)
{
    std::binary_semaphore isAtWork{0};
    const auto task = taskThat([&](AsyncTaskIOS &running, const Object &) {
        isAtWork.release();
        while (running.canContinue())
            QThread::yieldCurrentThread();
        return false;
    });
    Heard heard(task);
    task->startTask();
    isAtWork.acquire();
    heard.news.cancel();
    EXPECT_TRUE(heard.lines.empty()) << "signals are queued";
    heard.waitForEnd();
    EXPECT_TRUE(task->isCancelled());
    EXPECT_THAT(heard.lines, ::testing::Contains("cancelled"));
    EXPECT_EQ(heard.lines.back(), "finished badly");
}

TEST(TaskSignals, MayGoWhileTheTaskRuns)
{
    std::binary_semaphore isAtWork{0};
    std::binary_semaphore mayEnd{0};
    const auto task = taskThat([&](AsyncTaskIOS &running, const Object &) {
        running.reportStepProgress(10);
        isAtWork.release();
        mayEnd.acquire();
        running.reportStepProgress(90);
        return true;
    });
    {
        const Heard heard(task);
        task->startTask();
        isAtWork.acquire();
    }
    mayEnd.release();
    EXPECT_TRUE(task->waitDone());
    QCoreApplication::processEvents();
}

TEST(TaskSignals, MayBeDeletedByASlot)
{
    const auto task = taskThat([](AsyncTaskIOS &, const Object &) { return true; });
    auto *news = new TaskSignals(task);
    int heard = 0;
    QObject::connect(news, &TaskSignals::progressChanged, [&] {
        ++heard;
        delete news;
    });
    task->start(true);
    QCoreApplication::processEvents();
    EXPECT_EQ(heard, 1);
}

TEST(TaskSignals, KeepTheirTask)
{
    std::weak_ptr<BaseAsyncTask> task;
    {
        const TaskSignals news(taskThat([](AsyncTaskIOS &, const Object &) { return true; }));
        task = news.task();
        EXPECT_FALSE(task.expired());
    }
    EXPECT_TRUE(task.expired());
}
