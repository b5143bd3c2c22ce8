// SPDX-License-Identifier: Apache-2.0
// Copies ahead of which something fails, is scarce, or is killed.
#include <kelvane/platform/FileCopy.h>

#include <csignal>
#include <gtest/gtest.h>
#include <tests/platform/CopiesAhead.h>
#include <tests/support/OrdinaryUser.h>
#include <tests/support/SystemCallFault.h>

using namespace kelvane;
using namespace kelvane::testsupport;

TEST_F(FileCopyAhead, AnAttributeIsLeftOutOfAReadOnlyFileWithoutPrivileges)
{
    makeTreeOfSmallFiles(from);
    ASSERT_TRUE(giveToOrdinaryUser(folder.path()));
    settle();
    EXPECT_TRUE(asOrdinaryUser([&] {
        const Told told = copyTo("to", false, [](const CopyRecorder::Event &event) {
            return event.text == "Xattr Start" ? COPYFILE_SKIP : COPYFILE_CONTINUE;
        });
        return told.tree.find("user.") == std::string::npos;
    })) << "an attribute is there";
    EXPECT_EQ(statOf(folder.path("to") / "17").st_mode & 07777U, 0444U);
}

struct FaultCase {
    const char *name;
    long call;
    int error;
};

class FileCopyAheadFaults : public FileCopyAhead, public testing::WithParamInterface<FaultCase> {};

TEST_P(FileCopyAheadFaults, AreToldInTheSameWay)
{
    makeTreeOfSmallFiles(from);
    SystemCallFault fault;
    fault.fail(GetParam().call, GetParam().error);
    const std::optional<int> result = fault.run([&] {
        expectSame(copyTo("ahead", false), copyTo("ordinary", true));
        return HasFailure() ? 1 : 0;
    });
    if (!result)
        GTEST_SKIP() << "system calls cannot be filtered here";
    EXPECT_EQ(result, 0);
}

INSTANTIATE_TEST_SUITE_P(FileCopyAhead, FileCopyAheadFaults,
    testing::Values(FaultCase{"Write", SYS_pwrite64, ENOSPC}, FaultCase{"Read", SYS_pread64, EIO},
        FaultCase{"SetAttribute", SYS_fsetxattr, EOPNOTSUPP}, FaultCase{"ReadAttribute", SYS_fgetxattr, EIO},
        FaultCase{"Owner", SYS_fchown, EPERM}, FaultCase{"Mode", SYS_fchmod, EPERM},
        FaultCase{"Times", SYS_utimensat, EPERM}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(FileCopyAhead, WithoutFurtherThreadsEverythingArrives)
{
    makeTreeOfSmallFiles(from);
    SystemCallFault fault;
    fault.fail(SYS_clone3, EAGAIN);
    fault.fail(SYS_clone, EAGAIN);
    const std::optional<int> result = fault.run([&] {
        CopyRecorder copy;
        return copy.copy(from, folder.path("to"), CopyRecorder::treeFlags) == 0 && copy.state.failedCount() == 1 ? 0
                                                                                                                 : 1;
    });
    if (!result)
        GTEST_SKIP() << "system calls cannot be filtered here";
    EXPECT_EQ(result, 0);
    EXPECT_EQ(describe(folder.path("to") / "folder"), describe(from / "folder"));
}

// However few files may be open: what is copied ahead takes none away from the copy itself.
TEST_F(FileCopyAhead, FailsNothingForWantOfOpenFilesThatWouldArriveOtherwise)
{
    makeTreeOfSmallFiles(from);
    const rlim_t open = openFiles();
    const auto arrives = [&](rlim_t more, bool ordinary) {
        CopyRecorder copy;
        copy.state.setSynchronise(ordinary); // which is not done ahead
        const auto to = folder.path((ordinary ? "ordinary" : "ahead") + std::to_string(more));
        const OpenFileLimit few(open + more);
        return copy.copy(from, to, CopyRecorder::treeFlags) == 0 && copy.state.failedCount() == 1
            && copy.state.failures().front().error == ENOTSUP; // the FIFO
    };
    rlim_t enough = 0;
    while (!arrives(enough, true))
        ++enough;
    for (rlim_t more = enough; more < enough + 40; ++more)
        EXPECT_TRUE(arrives(more, false)) << more;
}

TEST_F(FileCopyAhead, AnExceptionOfTheCallbackLeavesNoThreadAndNoOpenFile)
{
    makeTreeOfSmallFiles(from);
    const rlim_t before = openFiles();
    int seen = 0;
    EXPECT_THROW(copyTo("to", false,
                     [&](const CopyRecorder::Event &event) -> int {
                         if (event.text == "File Start" && ++seen == 5)
                             throw std::runtime_error("given up");
                         return COPYFILE_CONTINUE;
                     }),
        std::runtime_error);
    EXPECT_EQ(openFiles(), before);
    EXPECT_TRUE(waitUntilNoThreadIsNamed("copy"));
}

TEST_F(FileCopyAhead, AKilledTreeHoldsWholeFilesOnly)
{
    makeTreeOfSmallFiles(from);
    for (std::size_t after = 10; after < 200; after += 19) {
        const std::filesystem::path to = folder.path(std::to_string(after));
        const pid_t child = fork();
        if (child == 0) {
            CopyRecorder copy;
            copy.answer = [&](const CopyRecorder::Event &) {
                if (copy.events.size() == after)
                    kill(getpid(), SIGKILL);
                return COPYFILE_CONTINUE;
            };
            (void)copy.copy(from, to, CopyRecorder::treeFlags);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the copy must report more often than it was killed";
        for (const auto &entry : std::filesystem::recursive_directory_iterator(to)) {
            const auto source = from / entry.path().lexically_relative(to);
            if (!entry.is_regular_file())
                continue;
            EXPECT_EQ(readFile(entry.path()), readFile(source)) << source;
            EXPECT_EQ(statOf(entry.path()).st_mode, statOf(source).st_mode) << source;
        }
    }
}
