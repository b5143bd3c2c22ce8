// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/SerialQueue.h>
#include <kelvane/storage/FastFileCopyer.h>

#include <algorithm>
#include <fcntl.h>
#include <future>
#include <gmock/gmock.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <tests/support/CopyRecorder.h>
#include <tests/support/LogCapture.h>
#include <tests/support/TemporaryFolder.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

/// How much of a file is in the system's memory, 0 to 1.
double residentPart(const std::string &path, std::size_t size)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    void *const memory = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    if (memory == MAP_FAILED)
        return -1;
    const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    std::vector<unsigned char> pages((size + pageSize - 1) / pageSize);
    const bool isTold = ::mincore(memory, size, pages.data()) == 0;
    ::munmap(memory, size);
    const auto resident = std::count_if(pages.begin(), pages.end(), [](unsigned char page) { return (page & 1) != 0; });
    return isTold ? static_cast<double>(resident) / static_cast<double>(pages.size()) : -1;
}

bool isInMemoryOnly(const std::string &path)
{
    struct statfs status {};
    return ::statfs(path.c_str(), &status) == 0 && status.f_type == TMPFS_MAGIC;
}

class Listener : public FastFileCopyerDelegate {
public:
    void fileCopyWillStart(FastFileCopyer &copier) override { tell("start", copier); }
    void fileCopyProgressChanged(FastFileCopyer &copier) override { tell("progress", copier); }
    void fileCopyDidFinish(FastFileCopyer &copier) override { tell("finish", copier); }

    std::vector<std::string> calls;
    std::vector<std::int64_t> sizes; // copiedSize() at each
    std::vector<std::int64_t> states; // state() at each
    std::function<void(const std::string &call, FastFileCopyer &copier)> action;

private:
    void tell(const std::string &call, FastFileCopyer &copier)
    {
        calls.push_back(call);
        sizes.push_back(copier.copiedSize());
        states.push_back(copier.state());
        if (action)
            action(call, copier);
    }
};

class FastFileCopyerTest : public testing::Test {
protected:
    FastFileCopyerTest() { copier->setDelegate(listener); }

    // Returns when all copies queued so far are done.
    static void waitForQueue()
    {
        std::promise<void> done;
        FastFileCopyer::fastFileCopyerQueue().async([&] { done.set_value(); });
        done.get_future().wait();
    }

    const TemporaryFolder folder;
    const String from = folder.string("from");
    const String to = folder.string("to");
    const std::shared_ptr<FastFileCopyer> copier = std::make_shared<FastFileCopyer>();
    const std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

} // namespace

TEST_F(FastFileCopyerTest, ANewCopierHasDoneNothing)
{
    EXPECT_EQ(copier->state(), 0);
    EXPECT_EQ(copier->resultCode(), 0);
    EXPECT_EQ(copier->totalSize(), 0);
    EXPECT_EQ(copier->copiedSize(), 0);
    EXPECT_EQ(copier->copiedAllSize(), 0);
    EXPECT_FALSE(copier->isCancelled());
    EXPECT_TRUE(copier->fromPath().isNull());
    EXPECT_TRUE(copier->toPath().isNull());
    EXPECT_EQ(std::make_shared<FastFileCopyer>()->delegate(), nullptr);
}

TEST_F(FastFileCopyerTest, AFileArrivesAndTheDelegateIsToldInOrder)
{
    writeFile(from.str(), "content");
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
    EXPECT_EQ(copier->resultCode(), 0);
    EXPECT_EQ(copier->errorNumber(), 0);
    EXPECT_EQ(copier->totalSize(), 7);
    EXPECT_EQ(copier->copiedSize(), 7);
    EXPECT_EQ(readFile(to.str()), "content");
    EXPECT_THAT(listener->calls, ElementsAre("start", "progress", "finish"));
    EXPECT_THAT(listener->sizes, ElementsAre(0, 7, 7));
    EXPECT_THAT(listener->states, ElementsAre(0, 1, 2));
    EXPECT_TRUE(isSameObject(copier->fromPath(), from));
    EXPECT_TRUE(isSameObject(copier->toPath(), to));
}

TEST_F(FastFileCopyerTest, TheLastFileCountsTwiceUntilTheNextCopyStarts)
{
    writeFile(from.str(), "content");
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->copiedAllSize(), 14);
    std::int64_t atStart = -1;
    listener->action = [&](const std::string &call, FastFileCopyer &which) {
        if (call == "start")
            atStart = which.copiedAllSize();
    };
    copier->fileCopyFromPath(from, folder.string("to-2"));
    EXPECT_EQ(atStart, 7);
    EXPECT_EQ(copier->copiedAllSize(), 21);
}

TEST_F(FastFileCopyerTest, AMissingSourceFailsAndLeavesResultAndTotalsAlone)
{
    writeFile(from.str(), "content");
    copier->fileCopyFromPath(from, from); // exists already: result -1
    ASSERT_EQ(copier->resultCode(), -1);
    const std::int64_t total = copier->copiedAllSize();
    listener->calls.clear();
    copier->fileCopyFromPath(folder.string("missing"), to);
    EXPECT_EQ(copier->state(), 3);
    EXPECT_EQ(copier->resultCode(), -1);
    EXPECT_EQ(copier->copiedAllSize(), total);
    EXPECT_EQ(copier->totalSize(), 7);
    EXPECT_EQ(copier->errorNumber(), ENOENT);
    EXPECT_THAT(listener->calls, ElementsAre("start", "finish"));
    EXPECT_FALSE(std::filesystem::exists(to.str()));
}

TEST_F(FastFileCopyerTest, TheStateOfTheCopyBeforeStaysUntilTheNextOneCopies)
{
    writeFile(from.str(), "content");
    copier->fileCopyFromPath(folder.string("missing"), to);
    copier->fileCopyFromPath(from, to);
    copier->fileCopyFromPath(from, folder.string("to-2"));
    EXPECT_THAT(
        listener->calls, ElementsAre("start", "finish", "start", "progress", "finish", "start", "progress", "finish"));
    EXPECT_THAT(listener->states, ElementsAre(0, 3, 3, 1, 2, 2, 1, 2));
}

TEST_F(FastFileCopyerTest, NullPathsAndADanglingLinkAreMissingSources)
{
    std::filesystem::create_symlink("nowhere", from.str());
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 3);
    copier->fileCopyFromPath(nullptr, nullptr);
    EXPECT_EQ(copier->state(), 3);
    EXPECT_EQ(copier->resultCode(), 0);
    EXPECT_EQ(listener->calls.size(), 4U);
}

TEST_F(FastFileCopyerTest, ASourceWithoutDestinationFails)
{
    writeFile(from.str(), "content");
    copier->fileCopyFromPath(from, nullptr);
    EXPECT_EQ(copier->state(), 3);
    EXPECT_EQ(copier->resultCode(), -1);
}

TEST_F(FastFileCopyerTest, AnExistingDestinationFailsAndCountsInTheTotal)
{
    writeFile(from.str(), "content");
    writeFile(to.str(), "old");
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 3);
    EXPECT_NE(copier->resultCode(), 0);
    EXPECT_EQ(copier->errorNumber(), EEXIST);
    EXPECT_EQ(copier->copiedAllSize(), 7);
    EXPECT_EQ(readFile(to.str()), "old");
    EXPECT_THAT(listener->calls, ElementsAre("start", "finish"));
}

TEST_F(FastFileCopyerTest, TheFlagsHoldTheRecursiveOneForAFolderOnly)
{
    EXPECT_EQ(copier->flags(), 0xE000FU);
    writeFile(from.str(), "content");
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->flags(), 0xE000FU);
    std::filesystem::create_directory(folder.path("tree"));
    copier->fileCopyFromPath(folder.string("tree"), folder.string("tree-2"));
    EXPECT_EQ(copier->flags(), 0xE800FU);
    copier->fileCopyFromPath(folder.string("missing"), to);
    EXPECT_EQ(copier->flags(), 0xE000FU);
}

TEST_F(FastFileCopyerTest, AFolderIsCopiedWithItsContentAndItsTotalIsThatOfItsEntry)
{
    std::filesystem::create_directory(from.str());
    writeFile(from.str() + "/file", "content");
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
    EXPECT_EQ(readFile(to.str() + "/file"), "content");
    EXPECT_EQ(copier->totalSize(), statOf(from.str()).st_size);
    EXPECT_EQ(copier->copiedSize(), 7);
}

TEST_F(FastFileCopyerTest, ALinkIsCopiedAsALinkWithItsOwnSize)
{
    writeFile(folder.path("target"), "some content");
    std::filesystem::create_symlink("target", from.str());
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
    EXPECT_TRUE(std::filesystem::is_symlink(to.str()));
    EXPECT_EQ(copier->totalSize(), 6);
}

TEST_F(FastFileCopyerTest, CancellingDuringALargeCopyStopsItAtTheNextCallback)
{
    writeFile(from.str(), pattern(40 * mebibyte));
    listener->action = [](const std::string &call, FastFileCopyer &which) {
        if (call == "progress")
            which.setIsCancelled(true);
    };
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 3);
    EXPECT_EQ(copier->resultCode(), -1);
    EXPECT_EQ(copier->errorNumber(), ECANCELED);
    EXPECT_TRUE(copier->isCancelled());
    EXPECT_THAT(listener->calls, ElementsAre("start", "progress", "finish"));
    EXPECT_FALSE(std::filesystem::exists(to.str()));
    EXPECT_EQ(copier->copiedAllSize(), static_cast<std::int64_t>(40 * mebibyte) + copier->copiedSize());
}

TEST_F(FastFileCopyerTest, AnEarlierCancellationIsWithdrawnAtTheStart)
{
    writeFile(from.str(), "content");
    copier->setIsCancelled(true);
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
    EXPECT_FALSE(copier->isCancelled());
}

TEST_F(FastFileCopyerTest, ACancellationMayBeWithdrawnBeforeTheNextCallback)
{
    writeFile(from.str(), "content");
    listener->action = [](const std::string &, FastFileCopyer &which) {
        which.setIsCancelled(true);
        which.setIsCancelled(false);
    };
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
}

TEST_F(FastFileCopyerTest, CancellingInWillStartEndsTheCopyBeforeAnythingIsLogged)
{
    std::filesystem::create_directory(from.str());
    listener->action = [](const std::string &, FastFileCopyer &which) { which.setIsCancelled(true); };
    const LogCapture log;
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 3);
    EXPECT_THAT(log.debugLines(), IsEmpty());
    EXPECT_THAT(log.errorLines(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(to.str()));
}

TEST_F(FastFileCopyerTest, ADelegateThatIsGoneIsNotTold)
{
    writeFile(from.str(), "content");
    auto gone = std::make_shared<Listener>();
    copier->setDelegate(gone);
    EXPECT_EQ(copier->delegate(), gone);
    gone.reset();
    EXPECT_EQ(copier->delegate(), nullptr);
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
}

TEST_F(FastFileCopyerTest, ADelegateNeedsToAnswerNothing)
{
    class Silent : public FastFileCopyerDelegate {};
    const auto silent = std::make_shared<Silent>();
    writeFile(from.str(), "content");
    copier->setDelegate(silent);
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
}

TEST_F(FastFileCopyerTest, ATreeLogsItsStages)
{
    std::filesystem::create_directory(from.str());
    writeFile(from.str() + "/file", "content");
    if (setxattr((from.str() + "/file").c_str(), "user.note", "1", 1, 0) != 0)
        GTEST_SKIP() << "the temporary folder's file system has no attributes of users";
    const LogCapture log;
    copier->fileCopyFromPath(from, to);
    EXPECT_THAT(log.debugLines(),
        ElementsAre("Dir Start", "Dir Finish", "File Start", "Xattr Start", "Xattr Finish", "File Finish",
            "Dir Cleanup Start", "Dir Cleanup Finish"));
    EXPECT_THAT(log.errorLines(), IsEmpty());
    EXPECT_THAT(log.systemLines(), IsEmpty());
}

TEST_F(FastFileCopyerTest, AFailedEntryIsLoggedWithItsNumberAndListedAndTheRestArrives)
{
    std::filesystem::create_directory(from.str());
    ASSERT_EQ(mkfifo((from.str() + "/fifo").c_str(), 0600), 0);
    writeFile(from.str() + "/file", "content");
    const LogCapture log;
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
    EXPECT_EQ(copier->resultCode(), 0);
    EXPECT_THAT(log.errorLines(), ElementsAre("File Error " + std::to_string(ENOTSUP)));
    EXPECT_EQ(copier->failedCount(), 1U);
    ASSERT_EQ(copier->failures().size(), 1U);
    EXPECT_EQ(copier->failures()[0].path, from + "/fifo");
    EXPECT_EQ(readFile(to.str() + "/file"), "content");
    copier->fileCopyFromPath(from, folder.string("missing") + "/to");
    EXPECT_EQ(copier->failedCount(), 0U);
}

// The table of stages: what is logged for each pair, with errno 42 and a state that knows of no file.
struct StageCase {
    int what;
    int stage;
    const char *debug;
    const char *error;
};

class FastFileCopyerStatus : public testing::TestWithParam<StageCase> {};

TEST_P(FastFileCopyerStatus, WritesItsLineAndGoesOn)
{
    const auto copier = std::make_shared<FastFileCopyer>();
    FileCopyState state;
    const LogCapture log;
    errno = 42;
    EXPECT_EQ(FastFileCopyer::copyStatus(GetParam().what, GetParam().stage, &state, "a", "b", copier.get()),
        COPYFILE_CONTINUE);
    const auto lines = [](const char *text) {
        return text ? std::vector<std::string>{text} : std::vector<std::string>{};
    };
    EXPECT_EQ(log.debugLines(), lines(GetParam().debug));
    EXPECT_EQ(log.errorLines(), lines(GetParam().error));
    EXPECT_THAT(log.infoLines(), IsEmpty());
    const bool unreadable = GetParam().what == COPYFILE_COPY_DATA && GetParam().stage == COPYFILE_PROGRESS;
    EXPECT_EQ(log.systemLines(), lines(unreadable ? "Could not retrieve copyfile state" : nullptr));
}

TEST_P(FastFileCopyerStatus, QuitsSilentlyWhenCancelled)
{
    const auto copier = std::make_shared<FastFileCopyer>();
    copier->setIsCancelled(true);
    FileCopyState state;
    const LogCapture log;
    EXPECT_EQ(
        FastFileCopyer::copyStatus(GetParam().what, GetParam().stage, &state, "a", "b", copier.get()), COPYFILE_QUIT);
    EXPECT_THAT(log.debugLines(), IsEmpty());
    EXPECT_THAT(log.errorLines(), IsEmpty());
    EXPECT_THAT(log.systemLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, FastFileCopyerStatus,
    testing::Values(StageCase{1, 1, "File Start", nullptr}, StageCase{1, 2, "File Finish", nullptr},
        StageCase{1, 3, nullptr, "File Error 42"}, StageCase{1, 4, nullptr, nullptr},
        StageCase{2, 1, "Dir Start", nullptr}, StageCase{2, 2, "Dir Finish", nullptr},
        StageCase{2, 3, nullptr, "Dir Error"}, StageCase{2, 4, nullptr, nullptr},
        StageCase{3, 1, "Dir Cleanup Start", nullptr}, StageCase{3, 2, "Dir Cleanup Finish", nullptr},
        StageCase{3, 3, nullptr, "Dir Cleanup Error"}, StageCase{3, 4, nullptr, nullptr},
        StageCase{4, 1, nullptr, nullptr}, StageCase{4, 2, nullptr, nullptr},
        StageCase{4, 3, nullptr, "copy Data Error"}, StageCase{4, 4, nullptr, nullptr},
        StageCase{5, 1, "Xattr Start", nullptr}, StageCase{5, 2, "Xattr Finish", nullptr},
        StageCase{5, 3, nullptr, "Xattr Error"}, StageCase{5, 4, nullptr, nullptr}),
    [](const auto &row) {
        return "What" + std::to_string(row.param.what) + "Stage" + std::to_string(row.param.stage);
    });

TEST_F(FastFileCopyerTest, AStateThatIsMissingTellsNoProgress)
{
    const LogCapture log;
    EXPECT_EQ(FastFileCopyer::copyStatus(4, 4, nullptr, "a", "b", copier.get()), COPYFILE_CONTINUE);
    EXPECT_THAT(log.systemLines(), ElementsAre("Could not retrieve copyfile state"));
    EXPECT_THAT(listener->calls, IsEmpty());
}

TEST_F(FastFileCopyerTest, TheQueueIsOneAndItsLabelEndsInItsName)
{
    EXPECT_EQ(&FastFileCopyer::fastFileCopyerQueue(), &FastFileCopyer::fastFileCopyerQueue());
    EXPECT_THAT(FastFileCopyer::fastFileCopyerQueue().label().str(), testing::EndsWith(".fastFileCopyerQueue"));
}

TEST_F(FastFileCopyerTest, AnAsynchronousCopyRunsOnTheQueueAndKeepsTheCopierAlive)
{
    writeFile(from.str(), "content");
    std::promise<void> go;
    FastFileCopyer::fastFileCopyerQueue().async([&] { go.get_future().wait(); });
    std::thread::id thread;
    listener->action = [&](const std::string &, FastFileCopyer &) { thread = std::this_thread::get_id(); };
    auto other = std::make_shared<FastFileCopyer>();
    other->setDelegate(listener);
    other->asyncfileCopyFromPath(from, to);
    EXPECT_EQ(other->fromPath(), from);
    EXPECT_EQ(other->toPath(), to);
    EXPECT_EQ(other->state(), 0);
    const std::weak_ptr<FastFileCopyer> watched = other;
    other.reset();
    EXPECT_FALSE(watched.expired());
    go.set_value();
    waitForQueue();
    EXPECT_EQ(readFile(to.str()), "content");
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_THAT(listener->calls, ElementsAre("start", "progress", "finish"));
}

TEST_F(FastFileCopyerTest, AsynchronousCopiesOfTwoCopiersRunOneAfterTheOther)
{
    writeFile(from.str(), pattern(8 * mebibyte));
    const auto second = std::make_shared<FastFileCopyer>();
    second->setDelegate(listener);
    copier->asyncfileCopyFromPath(from, to);
    second->asyncfileCopyFromPath(from, folder.string("to-2"));
    waitForQueue();
    const auto finished = std::find(listener->calls.begin(), listener->calls.end(), "finish");
    EXPECT_EQ(std::count(listener->calls.begin(), finished, "start"), 1);
    EXPECT_EQ(std::count(listener->calls.begin(), listener->calls.end(), "finish"), 2);
    EXPECT_EQ(copier->state(), 2);
    EXPECT_EQ(second->state(), 2);
}

TEST_F(FastFileCopyerTest, ACopyThatWaitsInTheQueueCannotBeCancelled)
{
    writeFile(from.str(), "content");
    std::promise<void> go;
    FastFileCopyer::fastFileCopyerQueue().async([&] { go.get_future().wait(); });
    copier->asyncfileCopyFromPath(from, to);
    copier->setIsCancelled(true);
    go.set_value();
    waitForQueue();
    EXPECT_EQ(copier->state(), 2);
}

TEST_F(FastFileCopyerTest, ARunningCopyIsCancelledAndWatchedFromAnotherThread)
{
    writeFile(from.str(), pattern(40 * mebibyte));
    std::promise<void> begun;
    std::promise<void> cancelled;
    listener->action = [&](const std::string &call, FastFileCopyer &) {
        if (call == "progress" && listener->calls.size() == 2) {
            begun.set_value();
            cancelled.get_future().wait();
        }
    };
    copier->asyncfileCopyFromPath(from, to);
    begun.get_future().wait();
    EXPECT_EQ(copier->state(), 1);
    EXPECT_EQ(copier->totalSize(), static_cast<std::int64_t>(40 * mebibyte));
    EXPECT_GT(copier->copiedAllSize(), 0);
    copier->setIsCancelled(true);
    cancelled.set_value();
    waitForQueue();
    EXPECT_EQ(copier->state(), 3);
    EXPECT_FALSE(std::filesystem::exists(to.str()));
}

TEST_F(FastFileCopyerTest, WhatADelegateThrowsInAnAsynchronousCopyIsLogged)
{
    writeFile(from.str(), "content");
    const LogCapture log;
    listener->action = [](const std::string &call, FastFileCopyer &) {
        if (call == "progress")
            throw Exception("Name", "the reason");
    };
    copier->asyncfileCopyFromPath(from, to);
    waitForQueue();
    EXPECT_THAT(log.errorLines(), ElementsAre("copy file exception:the reason"));
    EXPECT_EQ(copier->state(), 3);
    EXPECT_FALSE(std::filesystem::exists(to.str()));
}

TEST_F(FastFileCopyerTest, AnythingElseThatADelegateThrowsIsPassedOnToTheQueue)
{
    writeFile(from.str(), "content");
    const LogCapture log;
    listener->action = [](const std::string &, FastFileCopyer &) { throw 42; };
    copier->asyncfileCopyFromPath(from, to);
    waitForQueue();
    EXPECT_THAT(log.errorLines(), ElementsAre("uncaught exception of unknown type on a queue thread"));
    listener->action = nullptr;
    copier->asyncfileCopyFromPath(from, to);
    waitForQueue();
    EXPECT_EQ(copier->state(), 2) << "the queue goes on";
}

TEST_F(FastFileCopyerTest, WhatADelegateThrowsInASynchronousCopyIsPassedOn)
{
    writeFile(from.str(), "content");
    listener->action = [](const std::string &, FastFileCopyer &) { throw Exception("Name", "the reason"); };
    EXPECT_THROW(copier->fileCopyFromPath(from, to), Exception);
}

TEST_F(FastFileCopyerTest, SynchronisedCopiesArriveAsWell)
{
    writeFile(from.str(), "content");
    copier->setSynchronise(true);
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
    EXPECT_EQ(readFile(to.str()), "content");
}

TEST_F(FastFileCopyerTest, SynchronisedCopiesLeaveTheSystemsMemory)
{
    if (isInMemoryOnly(folder.string("").str()))
        GTEST_SKIP() << "the files are in memory only";
    writeFile(from.str(), std::string(8 * mebibyte, 'x'));
    copier->setSynchronise(true);
    copier->fileCopyFromPath(from, to);
    EXPECT_EQ(copier->state(), 2);
    const double resident = residentPart(to.str(), 8 * mebibyte);
    EXPECT_GE(resident, 0);
    EXPECT_LT(resident, 0.5);
}
