// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TemporaryFolder.h"

#include <kelvane/common/AsyncExecuteProcessTask.h>
#include <kelvane/common/detail/CommandLine.h>
#include <kelvane/common/detail/GetPipe.h>
#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/Pipe.h>
#include <kelvane/platform/Process.h>
#include <kelvane/platform/RunLoop.h>

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <latch>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace kelvane;
using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

namespace {

std::shared_ptr<AsyncExecuteProcessTask> shell(const String &script)
{
    auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->setLaunchPath("/bin/sh");
    task->setArguments({"-c", script});
    return task;
}

std::size_t openDescriptors()
{
    const auto folder = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Waits until the command has told through a FIFO that it runs.
class Announcement {
public:
    Announcement() : path((_folder.path() / "fifo").string()) { ::mkfifo(path.c_str(), 0600); }
    void wait() const { std::ifstream(path).get(); }

private:
    testsupport::TemporaryFolder _folder;

public:
    const std::string path;
};

} // namespace

TEST(ProcessTask, CollectsStandardOutputAndPrintsTheMissingError)
{
    const auto task = shell("printf abc");
    task->startExecuteTask();
    EXPECT_EQ(task->getCompletedResult()->result(), "abc");
    EXPECT_TRUE(task->getCompletedResult()->error().isEmpty());
    EXPECT_EQ(task->outputResult(), "abc (null)");
    EXPECT_TRUE(task->isCompleted());
    EXPECT_FALSE(task->isSucceed()) << "success is the caller's to judge";
    EXPECT_FALSE(task->getCompletedResult()->cancelled());
    EXPECT_TRUE(task->getCompletedResult()->userState().isNull());
}

TEST(ProcessTask, CollectsStandardErrorAndPrintsTheMissingOutput)
{
    const auto task = shell("printf oops >&2; exit 3");
    task->startExecuteTask();
    EXPECT_TRUE(task->getCompletedResult()->result().isNull());
    EXPECT_EQ(task->getCompletedResult()->error(), "oops");
    EXPECT_EQ(task->outputResult(), "(null) oops");
}

TEST(ProcessTask, JoinsBothByOneBlank)
{
    const auto task = shell("printf out; printf err >&2");
    task->startExecuteTask();
    EXPECT_EQ(task->outputResult(), "out err");
    const auto silent = shell("true");
    silent->startExecuteTask();
    EXPECT_EQ(silent->outputResult(), "(null) (null)");
}

TEST(ProcessTask, ReportsProgressZeroAndCallsTheFinishBlockOnceComplete)
{
    const auto task = shell("true");
    task->setProgress(50);
    task->setUserState(Object::of(7));
    int seen = 0;
    task->setTaskFinishCallbackBlock([&](AsyncTask &ended, const Object &state) {
        EXPECT_TRUE(ended.isCompleted());
        seen = *state.as<int>();
    });
    task->startExecuteTask();
    EXPECT_EQ(task->progress(), 0);
    EXPECT_EQ(seen, 7);
}

TEST(ProcessTask, ACommandThatDoesNotExistLeavesTheReason)
{
    const auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->setLaunchPath("/no/such/program");
    bool isFinishCalled = false;
    task->setTaskFinishCallbackBlock([&](AsyncTask &, const Object &) { isFinishCalled = true; });
    task->startExecuteTask();
    EXPECT_THAT(task->getCompletedResult()->error().str(), HasSubstr("/no/such/program"));
    EXPECT_TRUE(task->isCompleted());
    EXPECT_TRUE(isFinishCalled);
    EXPECT_TRUE(task->outputResult().isNull());
}

TEST(ProcessTask, AFileWithoutTheExecuteBitLeavesTheReason)
{
    testsupport::TemporaryFolder folder;
    const auto path = (folder.path() / "plain").string();
    std::ofstream(path) << "#!/bin/sh\n";
    const auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->setLaunchPath(path);
    task->startExecuteTask();
    EXPECT_THAT(task->getCompletedResult()->error().str(), HasSubstr("Permission denied"));
}

TEST(ProcessTask, WithoutALaunchPathLeavesTheReason)
{
    const auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->startExecuteTask();
    EXPECT_THAT(task->getCompletedResult()->error().str(), HasSubstr("without a path"));
}

TEST(ProcessTask, HandsOnArgumentsEnvironmentAndFolderAsTheyAre)
{
    testsupport::TemporaryFolder folder;
    const auto task = shell("printf '%s|' \"$NAME\" \"$HOME\" \"$@\"; pwd");
    task->setArguments({"-c", "printf '%s|' \"$NAME\" \"$HOME\" \"$@\"; pwd", "sh", "a b", "$(x)", "'"});
    task->setEnvironment({{"NAME", "value"}});
    task->setCurrentDirectoryPath(folder.path().string());
    task->startExecuteTask();
    EXPECT_EQ(task->getCompletedResult()->result(), "value||a b|$(x)|'|" + folder.path().string() + "\n");
}

TEST(ProcessTask, AFolderThatDoesNotExistLeavesTheReason)
{
    const auto task = shell("true");
    task->setCurrentDirectoryPath("/no/such/folder");
    task->startExecuteTask();
    EXPECT_THAT(task->getCompletedResult()->error().str(), HasSubstr("cannot launch"));
}

TEST(ProcessTask, BytesThatAreNotAsciiReadAsReplacementCharacters)
{
    const auto task = shell("printf 'a\\303\\251'");
    task->startExecuteTask();
    EXPECT_EQ(task->getCompletedResult()->result(), "a\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(ProcessTask, ReadsOnlyWhatThePipeHoldsWhenTheCommandExits)
{
    // The grandchild keeps the pipe open; nobody waits for it.
    const auto task = shell("printf now; (sleep 60; printf later) & exit 0");
    const auto start = Clock::now();
    task->startExecuteTask();
    EXPECT_LT(secondsSince(start), 30);
    EXPECT_EQ(task->getCompletedResult()->result(), "now");
}

TEST(ProcessTask, WhatFillsThePipeExactlyIsRead)
{
    const auto task = shell("head -c 65536 /dev/zero | tr '\\0' x");
    task->startExecuteTask();
    EXPECT_EQ(task->getCompletedResult()->result().size(), 65536U);
}

TEST(ProcessTask, WhatDoesNotFitIntoThePipeBlocksUntilTheCancel)
{
    const Announcement announcement;
    const auto task = shell(String("echo > '") + String(announcement.path)
        + "'; exec perl -e '$| = 1; print \"x\" x 65537' 2>/dev/null || exec head -c 65537 /dev/zero");
    task->startTask(false);
    announcement.wait();
    task->cancel();
    while (!task->isFinished())
        std::this_thread::yield();
    EXPECT_TRUE(task->isCompleted());
    EXPECT_LE(task->getCompletedResult()->result().size(), 65536U);
    task->waitDone();
}

TEST(ProcessTask, CancelEndsARunningCommandAtOnce)
{
    const Announcement announcement;
    const auto task = shell(String("echo > '") + String(announcement.path) + "'; exec sleep 100");
    task->setSynchronous(false);
    task->startExecuteTask();
    announcement.wait();
    const auto start = Clock::now();
    task->cancel();
    while (!task->isFinished())
        std::this_thread::yield();
    EXPECT_LT(secondsSince(start), 30);
    EXPECT_TRUE(task->isCompleted());
    EXPECT_EQ(task->outputResult(), "(null) (null)");
    task->waitDone();
}

TEST(ProcessTask, TerminateAndKillWithoutARunningCommandDoNothing)
{
    const auto task = shell("printf x");
    task->terminateTask();
    task->killProcess();
    task->startExecuteTask();
    EXPECT_EQ(task->getCompletedResult()->result(), "x");
    task->terminateTask();
    task->closeProcess(true);
    task->closeProcess(true);
    task->terminateTask();
    task->setLaunchPath("/bin/true");
    task->setArguments({});
}

TEST(ProcessTask, WithoutItsProcessCompletesWithNothing)
{
    const auto task = shell("printf x");
    task->closeProcess(false);
    task->startExecuteTask();
    EXPECT_TRUE(task->isCompleted());
    EXPECT_TRUE(task->outputResult().isNull());
}

TEST(ProcessTaskWait, OnASynchronousTaskNotFinishedRunsOneSliceForAShortTime)
{
    const auto task = shell("true");
    for (const std::int32_t time : {0, -1, 1}) {
        const auto start = Clock::now();
        EXPECT_FALSE(task->waitDone(time));
        EXPECT_GE(secondsSince(start), 1.0);
        EXPECT_LT(secondsSince(start), 1.99);
    }
}

TEST(ProcessTaskWait, OnASynchronousTaskRunsTheThreadsBlocksMeanwhile)
{
    const auto task = shell("true");
    bool hasRun = false;
    RunLoop::current()->perform([&] {
        hasRun = true;
        task->startExecuteTask();
    });
    EXPECT_TRUE(task->waitDone(2));
    EXPECT_TRUE(hasRun);
}

TEST(ProcessTaskWait, OnAQueuedTaskIsThatOfTheOperationTask)
{
    const auto task = shell("true");
    task->startTask(false);
    while (!task->isFinished())
        std::this_thread::yield();
    EXPECT_TRUE(task->waitDone(1000));
}

struct SplitCase {
    const char *name;
    const char *line;
    std::vector<std::string> arguments;
};

class CommandLineSplit : public testing::TestWithParam<SplitCase> {};

TEST_P(CommandLineSplit, GivesTheseArguments)
{
    std::vector<std::string> arguments;
    for (const auto &argument : detail::splitCommandLine(GetParam().line))
        arguments.push_back(argument.str());
    EXPECT_EQ(arguments, GetParam().arguments);
}

INSTANTIATE_TEST_SUITE_P(Table, CommandLineSplit,
    testing::Values(SplitCase{"Empty", "", {}}, SplitCase{"BlanksOnly", "  \t ", {}},
        SplitCase{"QuotedPair", "cp \"my file\" dest", {"cp", "my file", "dest"}},
        SplitCase{"QuotedMiddle", "-a \"b c\" d", {"-a", "b c", "d"}},
        SplitCase{"QuotedWordKeepsItsQuotes", "say \"hello\"", {"say", "\"hello\""}},
        SplitCase{"ManyWords", "\"a  b\tc d\"", {"a b c d"}}, SplitCase{"UnclosedIsDropped", "a \"b c", {"a"}},
        SplitCase{"QuoteInsideAWordKeepsThePiece", "x a\"b c\"", {"x", "a\"b", "c\""}},
        SplitCase{"LoneQuote", "\"", {}}, SplitCase{"EmptyQuotes", "\"\"", {"\"\""}},
        SplitCase{"LineBreakIsNoBlank", "a\nb", {"a\nb"}},
        SplitCase{"WideBlanks",
            "a\xC2\xA0"
            "b\xE3\x80\x80"
            "c",
            {"a", "b", "c"}}),
    [](const auto &row) { return row.param.name; });

TEST(ProcessTask, SetCmdArgsPassesTheSplitArguments)
{
    const auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->setLaunchPath("/usr/bin/printf");
    task->setCmdArgs("%s| one \"two three\"");
    task->startExecuteTask();
    EXPECT_EQ(task->getCompletedResult()->result(), "one|two three|");
}

TEST(GetPipe, IsAWorkingPipe)
{
    const auto pipe = AsyncExecuteProcessTask::GetPipe();
    ASSERT_NE(pipe, nullptr);
    EXPECT_TRUE(pipe->availableData().isEmpty());
    ASSERT_EQ(::write(pipe->writingEnd(), "abc", 3), 3);
    EXPECT_EQ(pipe->availableData().view(), "abc");
    EXPECT_FALSE(pipe->isAtEnd());
    pipe->closeWritingEnd();
    EXPECT_TRUE(pipe->isAtEnd());
    EXPECT_TRUE(pipe->waitForData(-1));
}

TEST(GetPipe, EndsWithAPipeOfTheFirstFiveAttemptsAndNeverWithALaterOne)
{
    struct Enough {};
    for (const int succeedsAt : {1, 2, 5, 6, 7}) {
        int attempts = 0;
        const auto make = [&]() -> std::shared_ptr<int> {
            if (++attempts == 50)
                throw Enough{};
            return attempts >= succeedsAt ? std::make_shared<int>(attempts) : nullptr;
        };
        if (succeedsAt <= 5) {
            EXPECT_EQ(*detail::getPipe(make), succeedsAt);
        } else {
            EXPECT_THROW((void)detail::getPipe(make), Enough) << "the loop goes on with a pipe in hand";
        }
    }
}

TEST(ProcessDescriptors, NoneLeaksIntoTheCommand)
{
    const int leaky = ::open("/dev/null", O_RDONLY); // without close-on-exec, as applications do
    ASSERT_GE(leaky, 3);
    const auto task = shell("ls /proc/self/fd");
    task->startExecuteTask();
    ::close(leaky);
    // Three streams, and the one with which ls reads the folder.
    EXPECT_EQ(task->getCompletedResult()->result(), "0\n1\n2\n3\n");
}

TEST(ProcessDescriptors, NoneStaysOpenAndNoChildUnreaped)
{
    shell("true")->startExecuteTask();
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 200; ++i) {
        const auto task = shell(i % 3 == 0 ? "printf x" : "exit 1");
        if (i % 7 == 0)
            task->setLaunchPath("/no/such/program");
        task->startExecuteTask();
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
    EXPECT_EQ(errno, ECHILD);
}

TEST(ProcessDescriptors, ManyThreadsStartCommandsAtOnce)
{
    constexpr int count = 8;
    std::latch start(count);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&start, i] {
            start.arrive_and_wait();
            for (int n = 0; n < 10; ++n) {
                const auto task = shell("printf " + String::number(std::int64_t{i}) + "; ls /proc/self/fd | wc -l >&2");
                task->startExecuteTask();
                EXPECT_EQ(task->getCompletedResult()->result(), String::number(std::int64_t{i}));
                EXPECT_EQ(task->getCompletedResult()->error().intValue(), 4);
            }
        });
    for (auto &thread : threads)
        thread.join();
}

TEST(ProcessSignals, TheApplicationsHandlingIsLeftAloneAndTheCommandHasTheDefaults)
{
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t previous;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &previous);
    const auto task = shell("grep -E 'SigBlk|SigIgn' /proc/self/status");
    task->startExecuteTask();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    EXPECT_EQ(std::signal(SIGPIPE, before), SIG_IGN);
    // The C library of Linux has the program ignore its own two signals, 32 and 33, whatever it is told.
    EXPECT_THAT(task->getCompletedResult()->result().str(),
        testing::AnyOf("SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n",
            "SigBlk:\t0000000000000000\nSigIgn:\t0000000180000000\n"));
}

TEST(ProcessObject, SaysHowTheProgramEnded)
{
    Process process;
    EXPECT_FALSE(process.isRunning());
    EXPECT_FALSE(process.terminationStatus().has_value());
    process.waitUntilExit();
    process.setLaunchPath("/bin/sh");
    process.setArguments({"-c", "exit 7"});
    process.launch();
    EXPECT_NE(process.processIdentifier(), 0);
    process.waitUntilExit();
    process.waitUntilExit();
    EXPECT_EQ(process.terminationStatus(), 7);
    EXPECT_FALSE(process.isRunning());
    EXPECT_THROW(process.launch(), Exception);
    process.terminate();
}

TEST(ProcessObject, SaysWhichSignalEndedTheProgram)
{
    Process process;
    process.setLaunchPath("/bin/sleep");
    process.setArguments({"100"});
    process.launch();
    EXPECT_TRUE(process.isRunning());
    process.terminate();
    process.waitUntilExit();
    EXPECT_EQ(process.terminationStatus(), 128 + SIGTERM);
}

TEST(ProcessObject, ThatGoesWhileItsProgramRunsReapsItInTheBackground)
{
    int child = 0;
    {
        const auto pipe = Pipe::pipe();
        Process process;
        process.setLaunchPath("/bin/sleep");
        process.setArguments({"100"});
        process.launch();
        child = process.processIdentifier();
    }
    EXPECT_EQ(::kill(child, 0), 0) << "it is not stopped";
    ::kill(child, SIGKILL);
    while (::kill(child, 0) == 0)
        std::this_thread::yield(); // until it has been reaped
}

TEST(ProcessObject, ALongOutputIsReadWhileTheProgramRuns)
{
    const auto output = Pipe::pipe();
    Process process;
    process.setLaunchPath("/bin/sh");
    process.setArguments({"-c", "head -c 1000000 /dev/zero"});
    process.setStandardOutput(output);
    process.launch();
    std::size_t size = 0;
    while (!output->isAtEnd()) {
        output->waitForData(-1);
        size += output->availableData().size();
    }
    process.waitUntilExit();
    EXPECT_EQ(size, 1000000U);
}
