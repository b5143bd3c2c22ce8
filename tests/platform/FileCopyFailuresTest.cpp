// SPDX-License-Identifier: Apache-2.0
// Copies that cannot be made, fail on the way or are killed: what they answer and what they leave behind.
#include <kelvane/platform/FileCopy.h>

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/fs.h>
#include <sys/resource.h>
#include <sys/xattr.h>
#include <tests/support/CopyRecorder.h>
#include <tests/support/LogCapture.h>
#include <tests/support/OrdinaryUser.h>
#include <tests/support/SystemCallFault.h>
#include <tests/support/TemporaryFolder.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::ElementsAre;

namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

class FileCopyFailures : public testing::Test {
protected:
    // Forces reading and writing, where faults can be put at a place in the file.
    static SystemCallFault withoutKernelCopy()
    {
        SystemCallFault fault;
        fault.fail(SYS_copy_file_range, EXDEV);
        fault.fail(SYS_ioctl, EOPNOTSUPP, 1, static_cast<std::uint32_t>(FICLONE) & 0xFFU);
        return fault;
    }
    // Copies in a child where the faults are in force; what failed there ends the child with its line.
    int copyUnder(SystemCallFault &fault, const std::function<bool()> &check)
    {
        const std::optional<int> result = fault.run([&] { return check() ? 0 : 1; });
        if (!result)
            _unfiltered = true;
        return result.value_or(0);
    }

    TemporaryFolder folder;
    std::filesystem::path from = folder.path("from");
    std::filesystem::path to = folder.path("to");
    CopyRecorder copy;
    bool _unfiltered = false;
};

#define SKIP_UNFILTERED()                                                                                              \
    if (_unfiltered)                                                                                                   \
    GTEST_SKIP() << "system calls cannot be filtered here"

} // namespace

TEST_F(FileCopyFailures, AnExistingDestinationIsNotTouched)
{
    writeFile(from, "new");
    writeFile(to, "old");
    const struct stat before = statOf(to);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, EEXIST);
    EXPECT_EQ(readFile(to), "old");
    EXPECT_EQ(statOf(to).st_ino, before.st_ino);
    EXPECT_TRUE(copy.events.empty());
}

TEST_F(FileCopyFailures, AnExistingFolderOrDanglingLinkIsAnExistingDestination)
{
    std::filesystem::create_directory(from);
    writeFile(from / "file", "content");
    std::filesystem::create_directory(to);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), -1);
    EXPECT_EQ(copy.error, EEXIST);
    EXPECT_TRUE(std::filesystem::is_empty(to));
    std::filesystem::create_symlink("nowhere", folder.path("dangling"));
    EXPECT_EQ(copy.copy(from, folder.path("dangling"), CopyRecorder::treeFlags), -1);
    EXPECT_EQ(copy.error, EEXIST);
}

TEST_F(FileCopyFailures, ADestinationInsideTheSourceIsRefused)
{
    std::filesystem::create_directories(from / "inner");
    std::filesystem::create_directory_symlink("from/inner", folder.path("way-in"));
    EXPECT_EQ(copy.copy(from, from / "inner" / "to", CopyRecorder::treeFlags), -1);
    EXPECT_EQ(copy.error, EINVAL);
    EXPECT_EQ(copy.copy(from, folder.path("way-in") / "to", CopyRecorder::treeFlags), -1);
    EXPECT_EQ(copy.error, EINVAL);
    EXPECT_EQ(copy.copy(from, from / "to", CopyRecorder::treeFlags & ~COPYFILE_EXCL), -1);
    EXPECT_EQ(copy.error, EINVAL);
    EXPECT_THAT(namesIn(from), ElementsAre("inner"));
    EXPECT_EQ(copy.copy(from, folder.path("from-2"), CopyRecorder::treeFlags), 0) << "only the name begins alike";
}

TEST_F(FileCopyFailures, AFileIsNotCopiedOntoItself)
{
    writeFile(from, "content");
    EXPECT_EQ(copy.copy(from, from, COPYFILE_ALL), -1);
    EXPECT_EQ(copy.error, EINVAL);
    EXPECT_EQ(readFile(from), "content");
}

TEST_F(FileCopyFailures, BadArgumentsHaveTheirErrors)
{
    writeFile(from, "content");
    EXPECT_EQ(copyfile(nullptr, String("x"), nullptr, COPYFILE_ALL), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(copyfile(String(from.native()), String(std::string_view("a\0b", 3)), nullptr, COPYFILE_ALL), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(copy.copy(folder.path("none"), to, COPYFILE_ALL), -1);
    EXPECT_EQ(copy.error, ENOENT);
    EXPECT_EQ(copy.copy(from, folder.path("none") / "to", COPYFILE_ALL), -1);
    EXPECT_EQ(copy.error, ENOENT);
    EXPECT_EQ(copy.copy(from, folder.path("."), CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, EEXIST);
    EXPECT_EQ(copy.copy(from, to, COPYFILE_STAT), -1);
    EXPECT_EQ(copy.error, ENOTSUP);
}

TEST_F(FileCopyFailures, LostPermissionFailsTheEntryAndTheTreeGoesOn)
{
    std::filesystem::create_directories(from / "closed");
    writeFile(from / "secret", "content");
    writeFile(from / "open", "content");
    chmod((from / "secret").c_str(), 0);
    chmod((from / "closed").c_str(), 0);
    ASSERT_TRUE(giveToOrdinaryUser(folder.path()));
    EXPECT_TRUE(asOrdinaryUser([&] {
        EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
        EXPECT_EQ(copy.state.failedCount(), 2U);
        for (const FileCopyFailure &failure : copy.state.failures())
            EXPECT_EQ(failure.error, EACCES);
        EXPECT_EQ(copy.count("File Error"), 1);
        EXPECT_EQ(copy.count("Dir Error"), 1);
        return !HasFailure();
    }));
    EXPECT_THAT(namesIn(to), ElementsAre("open"));
    chmod((from / "closed").c_str(), 0700);
}

TEST_F(FileCopyFailures, ADestinationWithoutPermissionFailsAndIsNotTouched)
{
    writeFile(from, "content");
    std::filesystem::create_directory(folder.path("closed"));
    chmod(folder.path("closed").c_str(), 0500);
    ASSERT_TRUE(giveToOrdinaryUser(folder.path()));
    EXPECT_TRUE(asOrdinaryUser([&] {
        EXPECT_EQ(copy.copy(from, folder.path("closed") / "to", CopyRecorder::fileFlags), -1);
        EXPECT_EQ(copy.error, EACCES);
        return !HasFailure();
    }));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("closed")));
}

TEST_F(FileCopyFailures, ASourceThatGrowsWhileItIsCopiedFailsAndLeavesNothing)
{
    writeFile(from, pattern(4 * mebibyte));
    copy.answer = [&](const CopyRecorder::Event &event) {
        if (event.text == "Data Progress")
            std::ofstream(from, std::ios::app) << "more";
        return COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, EBUSY);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from"));
}

TEST_F(FileCopyFailures, ASourceThatIsCutWhileItIsCopiedFailsAndLeavesNothing)
{
    writeFile(from, pattern(4 * mebibyte));
    copy.answer = [&](const CopyRecorder::Event &) {
        std::filesystem::resize_file(from, 100);
        return COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, EBUSY);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from"));
}

TEST_F(FileCopyFailures, AnEntryThatVanishesFailsAlone)
{
    std::filesystem::create_directory(from);
    writeFile(from / "a", "content");
    copy.answer = [&](const CopyRecorder::Event &event) {
        if (event.text == "File Start")
            std::filesystem::remove(from / "a");
        return COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.count("File Error"), 1);
    EXPECT_EQ(copy.state.failures().at(0).error, ENOENT);
}

TEST_F(FileCopyFailures, AFileThatBecomesAFifoIsNotWaitedFor)
{
    std::filesystem::create_directory(from);
    writeFile(from / "a", "content");
    copy.answer = [&](const CopyRecorder::Event &event) {
        if (event.text == "File Start") {
            std::filesystem::remove(from / "a");
            EXPECT_EQ(mkfifo((from / "a").c_str(), 0600), 0);
        }
        return COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failures().at(0).error, ENOTSUP);
}

TEST_F(FileCopyFailures, ADestinationThatAppearsMeanwhileIsNotReplaced)
{
    writeFile(from, pattern(mebibyte));
    copy.answer = [&](const CopyRecorder::Event &) {
        writeFile(to, "somebody else's");
        return COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, EEXIST);
    EXPECT_EQ(readFile(to), "somebody else's");
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from", "to"));
}

TEST_F(FileCopyFailures, AFullDiskIsTriedThreeTimesAndLeavesNothing)
{
    writeFile(from, pattern(4 * mebibyte));
    EXPECT_EQ(SystemCallFault().run([&] {
        // No room for more than 1 MiB: the same as a full disk, with another number.
        const rlimit room{mebibyte, mebibyte};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &room);
        if (copy.copy(from, to, CopyRecorder::fileFlags) != -1 || copy.error != EFBIG)
            return 1;
        if (copy.count("Data Error") != 3 || copy.state.failedCount() != 1 || copy.state.failures()[0].error != EFBIG)
            return 2;
        return 0;
    }),
        0);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from"));
}

TEST_F(FileCopyFailures, AWriteThatSucceedsWhenTriedAgainIsNoFailure)
{
    writeFile(from, pattern(4 * mebibyte));
    EXPECT_EQ(SystemCallFault().run([&] {
        const rlimit tight{mebibyte, RLIM_INFINITY};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &tight);
        copy.answer = [](const CopyRecorder::Event &event) {
            const rlimit wide{RLIM_INFINITY, RLIM_INFINITY};
            if (event.text == "Data Error")
                setrlimit(RLIMIT_FSIZE, &wide);
            return COPYFILE_CONTINUE;
        };
        return copy.copy(from, to, CopyRecorder::fileFlags) == 0 && copy.count("Data Error") == 1
                && copy.state.failedCount() == 0
            ? 0
            : 1;
    }),
        0);
    EXPECT_EQ(readFile(to), readFile(from));
}

TEST_F(FileCopyFailures, ATreeGoesOnBehindAFileThatDoesNotFit)
{
    std::filesystem::create_directory(from);
    writeFile(from / "large", pattern(4 * mebibyte));
    writeFile(from / "small", "fits");
    EXPECT_EQ(SystemCallFault().run([&] {
        const rlimit room{mebibyte, mebibyte};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &room);
        return copy.copy(from, to, CopyRecorder::treeFlags) == 0 && copy.count("File Error") == 1
                && copy.state.failures().at(0).path.str() == (from / "large").native()
            ? 0
            : 1;
    }),
        0);
    EXPECT_THAT(namesIn(to), ElementsAre("small"));
}

TEST_F(FileCopyFailures, AReadErrorInTheMiddleLeavesNothing)
{
    writeFile(from, pattern(4 * mebibyte));
    SystemCallFault fault = withoutKernelCopy();
    fault.fail(SYS_pread64, EIO, 3, 2 * mebibyte, true);
    EXPECT_EQ(copyUnder(fault,
                  [&] {
                      return copy.copy(from, to, CopyRecorder::fileFlags) == -1 && copy.error == EIO
                          && copy.count("Data Error") == 1 && copy.count("Data Progress") > 0;
                  }),
        0);
    SKIP_UNFILTERED();
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from"));
}

TEST_F(FileCopyFailures, WithoutCopiesInsideTheKernelContentAndProgressAreTheSame)
{
    writeFile(from, pattern(20 * mebibyte + 5));
    SystemCallFault fault = withoutKernelCopy();
    EXPECT_EQ(copyUnder(fault,
                  [&] {
                      return copy.copy(from, to, CopyRecorder::fileFlags) == 0 && copy.count("Data Progress") >= 20
                          && copy.events.back().copied == static_cast<std::int64_t>(20 * mebibyte + 5);
                  }),
        0);
    SKIP_UNFILTERED();
    EXPECT_EQ(readFile(to), readFile(from));
}

TEST_F(FileCopyFailures, WithoutNamelessFilesAHiddenNameServesAndIsGoneAfterwards)
{
    writeFile(from, pattern(2 * mebibyte));
    std::vector<std::string> during;
    SystemCallFault fault;
    fault.fail(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY);
    EXPECT_EQ(copyUnder(fault,
                  [&] {
                      copy.answer = [&](const CopyRecorder::Event &) {
                          during = namesIn(folder.path());
                          return COPYFILE_CONTINUE;
                      };
                      if (copy.copy(from, to, CopyRecorder::fileFlags) != 0 || during.size() != 2)
                          return false;
                      if (!during[0].starts_with(".kelvane-") || !during[0].ends_with(".part"))
                          return false;
                      copy.answer = [](const CopyRecorder::Event &) { return COPYFILE_QUIT; };
                      return copy.copy(from, folder.path("to-2"), CopyRecorder::fileFlags) == -1
                          && copy.copy(from, to, CopyRecorder::fileFlags) == -1 && copy.error == EEXIST;
                  }),
        0);
    SKIP_UNFILTERED();
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from", "to"));
    EXPECT_EQ(readFile(to), readFile(from));
}

struct OldSystem {
    const char *name;
    bool hasLinks;
};

class FileCopyOldSystem : public testing::TestWithParam<OldSystem> {};

TEST_P(FileCopyOldSystem, PublishesWithoutReplacing)
{
    const TemporaryFolder folder;
    const auto from = folder.path("from");
    const auto to = folder.path("to");
    writeFile(from, pattern(mebibyte));
    SystemCallFault fault;
    fault.fail(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY).fail(SYS_renameat2, EINVAL, 4, RENAME_NOREPLACE);
    if (!GetParam().hasLinks)
        fault.fail(SYS_linkat, EPERM);
    const std::optional<int> result = fault.run([&] {
        CopyRecorder copy;
        if (copy.copy(from, to, CopyRecorder::fileFlags) != 0)
            return 1;
        copy.answer = [&](const CopyRecorder::Event &) {
            writeFile(folder.path("taken"), "somebody else's");
            return COPYFILE_CONTINUE;
        };
        return copy.copy(from, folder.path("taken"), CopyRecorder::fileFlags) == -1 && copy.error == EEXIST ? 0 : 2;
    });
    if (!result)
        GTEST_SKIP() << "system calls cannot be filtered here";
    EXPECT_EQ(*result, 0);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from", "taken", "to"));
    EXPECT_EQ(readFile(to), readFile(from));
    EXPECT_EQ(readFile(folder.path("taken")), "somebody else's");
}

INSTANTIATE_TEST_SUITE_P(Without, FileCopyOldSystem,
    testing::Values(OldSystem{"RenamingWithoutReplacing", true}, OldSystem{"HardLinksEither", false}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(FileCopyFailures, HardLinksThatCannotBeMadeBecomeFilesOfTheirOwn)
{
    std::filesystem::create_directory(from);
    writeFile(from / "one", "content");
    std::filesystem::create_hard_link(from / "one", from / "two");
    SystemCallFault fault;
    fault.fail(SYS_openat, EOPNOTSUPP, 2, O_TMPFILE & ~O_DIRECTORY).fail(SYS_linkat, EPERM);
    EXPECT_EQ(copyUnder(fault, [&] { return copy.copy(from, to, CopyRecorder::treeFlags) == 0; }), 0);
    SKIP_UNFILTERED();
    EXPECT_EQ(readFile(to / "one"), "content");
    EXPECT_EQ(readFile(to / "two"), "content");
    EXPECT_NE(statOf(to / "one").st_ino, statOf(to / "two").st_ino);
}

TEST_F(FileCopyFailures, AnAttributeThatCannotBeSetFailsItsStageAloneAndCountsTheEntryOnce)
{
    std::filesystem::create_directory(from);
    writeFile(from / "file", "content");
    if (setxattr((from / "file").c_str(), "user.a", "1", 1, 0) != 0
        || setxattr((from / "file").c_str(), "user.b", "2", 1, 0) != 0)
        GTEST_SKIP() << "the temporary folder's file system has no attributes of users";
    SystemCallFault fault;
    fault.fail(SYS_fsetxattr, EOPNOTSUPP);
    EXPECT_EQ(copyUnder(fault,
                  [&] {
                      return copy.copy(from, to, CopyRecorder::treeFlags) == 0 && copy.count("Xattr Error") == 2
                          && copy.state.failedCount() == 1 && copy.state.failures()[0].what == COPYFILE_COPY_XATTR
                          && copy.state.failures()[0].error == EOPNOTSUPP && copy.count("File Finish") == 1;
                  }),
        0);
    SKIP_UNFILTERED();
    EXPECT_EQ(readFile(to / "file"), "content");
}

TEST_F(FileCopyFailures, AttributesThatNeedPrivilegesAreLeftOutWithADebugLine)
{
    writeFile(from, "content");
    if (setxattr(from.c_str(), "trusted.note", "1", 1, 0) != 0)
        GTEST_SKIP() << "making such an attribute needs root";
    SystemCallFault fault;
    fault.fail(SYS_fsetxattr, EPERM);
    EXPECT_EQ(copyUnder(fault,
                  [&] {
                      const LogCapture log;
                      return copy.copy(from, to, CopyRecorder::fileFlags) == 0 && copy.count("Xattr Error") == 0
                          && copy.state.failedCount() == 0 && log.debugLines().size() == 1
                          && log.debugLines()[0].find("trusted.note") != std::string::npos;
                  }),
        0);
    SKIP_UNFILTERED();
    EXPECT_EQ(readFile(to), "content");
}

TEST_F(FileCopyFailures, SetIdBitsGoWhenTheOwnerCannotBeKept)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "giving files away needs root";
    writeFile(from, "content");
    ASSERT_EQ(chown(from.c_str(), 1234, 77), 0);
    ASSERT_EQ(chmod(from.c_str(), 06755), 0);
    SystemCallFault fault;
    fault.fail(SYS_fchown, EPERM);
    EXPECT_EQ(copyUnder(fault, [&] { return copy.copy(from, to, CopyRecorder::fileFlags) == 0; }), 0);
    SKIP_UNFILTERED();
    EXPECT_EQ(statOf(to).st_mode & 07777U, 0755U);
}

TEST_F(FileCopyFailures, AKilledCopyLeavesNoFileUnderTheFinalName)
{
    writeFile(from, pattern(64 * mebibyte));
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            // Killed at another place each time, by itself, so that no time is guessed.
            copy.answer = [&](const CopyRecorder::Event &) {
                if (static_cast<int>(copy.events.size()) > round / 4)
                    kill(getpid(), SIGKILL);
                return COPYFILE_CONTINUE;
            };
            (void)copy.copy(from, to, CopyRecorder::fileFlags);
            _exit(1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the copy must report more often than it was killed";
        EXPECT_FALSE(std::filesystem::exists(to));
    }
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), 0) << "nothing is in the way of the next attempt";
}

TEST_F(FileCopyFailures, AKilledTreeHoldsWholeFilesOnly)
{
    std::filesystem::create_directory(from);
    for (int number = 0; number < 200; ++number)
        writeFile(from / std::to_string(number), pattern(100000));
    const std::string whole = pattern(100000);
    for (int round = 1; round <= 20; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            (void)copy.copy(from, to, CopyRecorder::treeFlags);
            _exit(0);
        }
        // From outside and at any moment: it takes some milliseconds to copy them all.
        usleep(static_cast<useconds_t>(round) * 300);
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        if (std::filesystem::exists(to))
            for (const auto &entry : std::filesystem::directory_iterator(to))
                if (!entry.path().filename().string().starts_with(".kelvane-")) {
                    EXPECT_EQ(readFile(entry.path()), whole) << entry.path();
                }
        std::filesystem::remove_all(to);
    }
}
