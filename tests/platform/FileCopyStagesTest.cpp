// SPDX-License-Identifier: Apache-2.0
// What the callback is told, in which order, and what its answers do.
#include <kelvane/platform/FileCopy.h>

#include <gmock/gmock.h>
#include <sys/xattr.h>
#include <tests/support/CopyRecorder.h>
#include <tests/support/TemporaryFolder.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

class FileCopyStages : public testing::Test {
protected:
    // Whether the temporary folder takes attributes of users.
    static bool setXattr(const std::filesystem::path &path, const char *name)
    {
        return setxattr(path.c_str(), name, "value", 5, 0) == 0;
    }
    CopyRecorder::Answer answerAt(const std::string &text, int answer)
    {
        return [=](const CopyRecorder::Event &event) { return event.text == text ? answer : COPYFILE_CONTINUE; };
    }

    TemporaryFolder folder;
    std::filesystem::path from = folder.path("from");
    std::filesystem::path to = folder.path("to");
    CopyRecorder copy;
};

} // namespace

TEST_F(FileCopyStages, TheFlagsHaveTheirSettledValues)
{
    EXPECT_EQ(COPYFILE_ALL | COPYFILE_EXCL | COPYFILE_NOFOLLOW, 0xE000FU);
    EXPECT_EQ(COPYFILE_RECURSIVE, 0x8000U);
    EXPECT_EQ(COPYFILE_ALL, 0xFU);
}

TEST_F(FileCopyStages, AFileWithoutTheRecursiveFlagGivesDataAndAttributesAlone)
{
    writeFile(from, "content");
    if (!setXattr(from, "user.note"))
        GTEST_SKIP() << "the temporary folder's file system has no attributes of users";
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), 0);
    EXPECT_THAT(copy.texts(), ElementsAre("Xattr Start", "Xattr Finish", "Data Progress"));
    EXPECT_EQ(copy.events[0].xattr, "user.note");
    EXPECT_EQ(copy.events[2].copied, 7);
    EXPECT_EQ(copy.events[2].source, from);
    EXPECT_EQ(copy.events[2].destination, to);
    EXPECT_TRUE(copy.state.xattrName().isNull());
}

TEST_F(FileCopyStages, ATreeGivesTwoCallsAnEntryFourAFolderAndLinksLast)
{
    std::filesystem::create_directories(from / "inner");
    writeFile(from / "inner" / "file", "content");
    std::filesystem::create_symlink("nowhere", from / "link");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_THAT(copy.texts(),
        ElementsAre("Dir Start", "Dir Finish", "Dir Start", "Dir Finish", "File Start", "Data Progress", "File Finish",
            "Cleanup Start", "Cleanup Finish", "Cleanup Start", "Cleanup Finish", "File Start", "File Finish"));
    EXPECT_EQ(copy.events[4].source, from / "inner" / "file");
    EXPECT_EQ(copy.events[4].destination, to / "inner" / "file");
    EXPECT_EQ(copy.events.back().source, from / "link");
}

TEST_F(FileCopyStages, AFileWithTheRecursiveFlagIsAnEntryOfATree)
{
    writeFile(from, "content");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_THAT(copy.texts(), ElementsAre("File Start", "Data Progress", "File Finish"));
}

TEST_F(FileCopyStages, AnEmptyFileAndAHoleGiveNoProgress)
{
    writeFile(from, "");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), 0);
    EXPECT_THAT(copy.texts(), IsEmpty());
    EXPECT_EQ(copy.state.copied(), 0);
    std::filesystem::resize_file(from, 10 * mebibyte);
    EXPECT_EQ(copy.copy(from, folder.path("hole"), CopyRecorder::fileFlags), 0);
    EXPECT_THAT(copy.texts(), IsEmpty());
    EXPECT_EQ(std::filesystem::file_size(folder.path("hole")), 10 * mebibyte);
}

TEST_F(FileCopyStages, TheCounterStartsAgainWithEachFileAndNeverStepsOver16MiB)
{
    std::filesystem::create_directory(from);
    writeFile(from / "a", pattern(70 * mebibyte));
    writeFile(from / "b", "12345");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    std::int64_t last = 0;
    for (const auto &event : copy.events) {
        if (event.text == "File Start")
            last = 0;
        if (event.text != "Data Progress")
            continue;
        EXPECT_GT(event.copied, last);
        EXPECT_LE(event.copied - last, static_cast<std::int64_t>(16 * mebibyte));
        last = event.copied;
    }
    EXPECT_EQ(readFile(to / "a"), readFile(from / "a"));
    EXPECT_EQ(last == 5 || last == static_cast<std::int64_t>(70 * mebibyte), true);
}

TEST_F(FileCopyStages, TheCounterIsUnknownBeforeTheFirstCopy)
{
    EXPECT_EQ(copy.state.copied(), std::nullopt);
}

TEST_F(FileCopyStages, QuittingDuringDataLeavesNothing)
{
    writeFile(from, pattern(4 * mebibyte));
    copy.answer = answerAt("Data Progress", COPYFILE_QUIT);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, ECANCELED);
    EXPECT_EQ(copy.count("Data Progress"), 1);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from"));
}

TEST_F(FileCopyStages, SkippingDuringDataLeavesTheFileOutWithoutFailure)
{
    std::filesystem::create_directory(from);
    writeFile(from / "a", pattern(mebibyte));
    copy.answer = answerAt("Data Progress", COPYFILE_SKIP);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failedCount(), 0U);
    EXPECT_THAT(namesIn(to), IsEmpty());
}

struct QuitCase {
    const char *name;
    const char *at;
    std::vector<std::string> left; // in the destination
};

class FileCopyQuit : public testing::TestWithParam<QuitCase> {};

TEST_P(FileCopyQuit, EndsTheCopyAtOnceAndLeavesWhatIsComplete)
{
    const TemporaryFolder folder;
    const auto from = folder.path("from");
    const auto to = folder.path("to");
    std::filesystem::create_directory(from);
    writeFile(from / "file", pattern(mebibyte));
    if (setxattr((from / "file").c_str(), "user.note", "value", 5, 0) != 0)
        GTEST_SKIP() << "the temporary folder's file system has no attributes of users";
    CopyRecorder copy;
    copy.answer = [](const CopyRecorder::Event &event) {
        return event.text == GetParam().at ? COPYFILE_QUIT : COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), -1);
    EXPECT_EQ(copy.error, ECANCELED);
    EXPECT_EQ(copy.events.back().text, GetParam().at);
    if (!std::filesystem::exists(to)) {
        EXPECT_EQ(std::string(GetParam().at), "Dir Start");
    } else {
        EXPECT_EQ(namesIn(to), GetParam().left);
    }
    if (std::filesystem::exists(to / "file")) {
        EXPECT_EQ(readFile(to / "file"), readFile(from / "file"));
    }
    if (std::string(GetParam().at) != "Cleanup Finish" && std::filesystem::exists(to)) {
        EXPECT_EQ(statOf(to).st_mode & 07777U, 0700U) << "an unfinished folder is told by its mode";
    }
}

INSTANTIATE_TEST_SUITE_P(Stages, FileCopyQuit,
    testing::Values(QuitCase{"BeforeTheFolder", "Dir Start", {}}, QuitCase{"BehindTheFolder", "Dir Finish", {}},
        QuitCase{"BeforeTheFile", "File Start", {}}, QuitCase{"BeforeTheAttribute", "Xattr Start", {}},
        QuitCase{"BehindTheAttribute", "Xattr Finish", {}}, QuitCase{"InTheData", "Data Progress", {}},
        QuitCase{"BehindTheFile", "File Finish", {"file"}}, QuitCase{"BeforeCleanUp", "Cleanup Start", {"file"}},
        QuitCase{"BehindCleanUp", "Cleanup Finish", {"file"}}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(FileCopyStages, SkippingAtAStartLeavesTheEntryOut)
{
    std::filesystem::create_directories(from / "inner" / "deep");
    writeFile(from / "file", "content");
    copy.answer = [&](const CopyRecorder::Event &event) {
        return event.source == from / "inner" || event.source == from / "file" ? COPYFILE_SKIP : COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_THAT(namesIn(to), IsEmpty());
    EXPECT_EQ(copy.state.failedCount(), 0U);
    EXPECT_EQ(copy.count("File Finish"), 0);
}

TEST_F(FileCopyStages, SkippingAnAttributeLeavesItOut)
{
    writeFile(from, "content");
    if (!setXattr(from, "user.a") || !setXattr(from, "user.b"))
        GTEST_SKIP() << "the temporary folder's file system has no attributes of users";
    copy.answer = [](const CopyRecorder::Event &event) {
        return event.xattr == "user.a" ? COPYFILE_SKIP : COPYFILE_CONTINUE;
    };
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), 0);
    EXPECT_EQ(getxattr(to.c_str(), "user.a", nullptr, 0), -1);
    EXPECT_EQ(getxattr(to.c_str(), "user.b", nullptr, 0), 5);
}

TEST_F(FileCopyStages, AnExceptionOfTheCallbackLeavesNothingAndIsPassedOn)
{
    writeFile(from, pattern(mebibyte));
    copy.answer = [](const CopyRecorder::Event &) -> int { throw std::runtime_error("listener"); };
    EXPECT_THROW(copy.copy(from, to, CopyRecorder::fileFlags), std::runtime_error);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("from"));
}

TEST_F(FileCopyStages, AFifoIsSkippedWithTheErrorStageAndNeverOpened)
{
    std::filesystem::create_directory(from);
    ASSERT_EQ(mkfifo((from / "fifo").c_str(), 0600), 0);
    writeFile(from / "file", "content");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.count("File Error"), 1);
    for (const auto &event : copy.events)
        if (event.text == "File Error") {
            EXPECT_EQ(event.error, ENOTSUP);
        }
    EXPECT_THAT(namesIn(to), ElementsAre("file"));
    ASSERT_EQ(copy.state.failedCount(), 1U);
    EXPECT_EQ(copy.state.failures()[0].path.str(), (from / "fifo").native());
    EXPECT_EQ(copy.state.failures()[0].what, COPYFILE_RECURSE_FILE);
    EXPECT_EQ(copy.state.failures()[0].error, ENOTSUP);
}

TEST_F(FileCopyStages, ASingleFifoFails)
{
    ASSERT_EQ(mkfifo(from.c_str(), 0600), 0);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), -1);
    EXPECT_EQ(copy.error, ENOTSUP);
    EXPECT_THAT(copy.texts(), ElementsAre("Data Error"));
    EXPECT_FALSE(std::filesystem::exists(to));
}

TEST_F(FileCopyStages, WithoutACallbackTheFirstFailureEndsTheCopy)
{
    std::filesystem::create_directory(from);
    ASSERT_EQ(mkfifo((from / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(copyfile(from.native(), to.native(), nullptr, CopyRecorder::treeFlags), -1);
    EXPECT_EQ(errno, ENOTSUP);
}

TEST_F(FileCopyStages, QuittingAtAnErrorEndsTheCopy)
{
    std::filesystem::create_directory(from);
    ASSERT_EQ(mkfifo((from / "fifo").c_str(), 0600), 0);
    copy.answer = answerAt("File Error", COPYFILE_QUIT);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), -1);
    EXPECT_EQ(copy.error, ECANCELED);
    EXPECT_EQ(copy.events.back().text, "File Error");
}
