// SPDX-License-Identifier: Apache-2.0
// What a tree is told of and becomes when its small files are copied ahead.
#include <kelvane/platform/FileCopy.h>

#include <gmock/gmock.h>
#include <tests/platform/CopiesAhead.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::SizeIs;

TEST_F(FileCopyAhead, TheConversationAndTheTreeAreTheSame)
{
    makeTreeOfSmallFiles(from);
    const Told ahead = copyTo("ahead", false);
    expectSame(ahead, copyTo("ordinary", true));
    EXPECT_EQ(ahead.hadHelpers, isDone(ahead));
    EXPECT_THAT(ahead.failures, SizeIs(1)) << "the FIFO";
    EXPECT_TRUE(waitUntilNoThreadIsNamed("copy"));
    std::filesystem::remove(from / "fifo");
    if (haveRsync()) {
        EXPECT_EQ(differences(from / "folder", folder.path("ahead") / "folder"), "");
        std::filesystem::last_write_time(from, std::filesystem::last_write_time(folder.path("ahead")));
        EXPECT_EQ(differences(from, folder.path("ahead")), "");
    }
}

struct AnswerCase {
    const char *name;
    const char *event;
    int answer;
};

class FileCopyAheadAnswers : public FileCopyAhead, public testing::WithParamInterface<AnswerCase> {};

TEST_P(FileCopyAheadAnswers, HaveTheSameEffect)
{
    makeTreeOfSmallFiles(from);
    // At one event after the other of the kind, while there are such; the files' order is the disk's.
    for (int turn : {2, 3, 20}) {
        const auto answerAt = [turn](int &seen) {
            return [&seen, turn](const CopyRecorder::Event &event) {
                return event.text == GetParam().event && ++seen == turn ? GetParam().answer : COPYFILE_CONTINUE;
            };
        };
        int seen = 0;
        const Told ahead = copyTo("ahead" + std::to_string(turn), false, answerAt(seen));
        seen = 0;
        expectSame(ahead, copyTo("ordinary" + std::to_string(turn), true, answerAt(seen)));
    }
}

INSTANTIATE_TEST_SUITE_P(FileCopyAhead, FileCopyAheadAnswers,
    testing::Values(AnswerCase{"SkipFile", "File Start", COPYFILE_SKIP},
        AnswerCase{"QuitFile", "File Start", COPYFILE_QUIT}, AnswerCase{"SkipFinish", "File Finish", COPYFILE_SKIP},
        AnswerCase{"QuitFinish", "File Finish", COPYFILE_QUIT}, AnswerCase{"SkipXattr", "Xattr Start", COPYFILE_SKIP},
        AnswerCase{"QuitXattr", "Xattr Start", COPYFILE_QUIT},
        AnswerCase{"SkipXattrFinish", "Xattr Finish", COPYFILE_SKIP},
        AnswerCase{"QuitXattrFinish", "Xattr Finish", COPYFILE_QUIT},
        AnswerCase{"SkipData", "Data Progress", COPYFILE_SKIP}, AnswerCase{"QuitData", "Data Progress", COPYFILE_QUIT},
        AnswerCase{"QuitError", "File Error", COPYFILE_QUIT}, AnswerCase{"SkipFolder", "Dir Start", COPYFILE_SKIP},
        AnswerCase{"QuitFolder", "Dir Start", COPYFILE_QUIT},
        AnswerCase{"QuitCleanup", "Cleanup Start", COPYFILE_QUIT}),
    [](const auto &row) { return std::string(row.param.name); });

struct ChangeCase {
    const char *name;
    std::function<void(const std::filesystem::path &source, const std::filesystem::path &destination)> change;
    int error; // what every file fails with then; 0 if it arrives as it is now
};

class FileCopyAheadChanges : public FileCopyAhead, public testing::WithParamInterface<ChangeCase> {};

// What changes when the second file is told of has been read by then, or is being read; its turn decides all the same.
// With the first the copy finds out whether files can be cloned.
TEST_P(FileCopyAheadChanges, OfFilesWhoseTurnIsStillToComeCount)
{
    std::filesystem::create_directory(from);
    for (int number = 0; number < fileCount; ++number)
        writeFile(from / std::to_string(number), contentOf(number));
    settle();
    std::vector<std::string> started;
    const auto change = [&] {
        for (int number = 0; number < fileCount; ++number)
            if (const std::string name = std::to_string(number); name != started.front())
                GetParam().change(from / name, folder.path("to") / name);
    };
    const Told told = copyTo("to", false, [&](const CopyRecorder::Event &event) {
        if (event.text != "File Start")
            return COPYFILE_CONTINUE;
        started.push_back(std::filesystem::path(event.source).filename());
        if (started.size() == 2)
            change();
        return COPYFILE_CONTINUE;
    });
    ASSERT_THAT(started, SizeIs(fileCount));
    EXPECT_EQ(told.hadHelpers, isDone(told));
    EXPECT_EQ(told.result, 0);
    EXPECT_THAT(told.failures, SizeIs(GetParam().error == 0 ? 0 : fileCount - 1));
    for (const std::string &failure : told.failures)
        EXPECT_TRUE(failure.ends_with(" " + std::to_string(GetParam().error))) << failure;
    for (const std::string &name : started) {
        if (GetParam().error != 0 && name != started.front())
            continue;
        EXPECT_EQ(readFile(folder.path("to") / name), readFile(from / name)) << name;
        EXPECT_EQ(statOf(folder.path("to") / name).st_mode, statOf(from / name).st_mode) << name;
        EXPECT_EQ(statOf(folder.path("to") / name).st_mtim.tv_nsec, statOf(from / name).st_mtim.tv_nsec) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(FileCopyAhead, FileCopyAheadChanges,
    testing::Values( //
        ChangeCase{"Rewritten",
            [](const auto &source, const auto &) {
                writeFile(source, std::string(std::filesystem::file_size(source), 'n'));
            },
            0},
        ChangeCase{
            "Grown", [](const auto &source, const auto &) { std::ofstream(source, std::ios::app) << "more"; }, 0},
        ChangeCase{"Mode", [](const auto &source, const auto &) { chmod(source.c_str(), 0640); }, 0},
        ChangeCase{"Replaced",
            [](const auto &source, const auto &) {
                writeFile(source.native() + ".new", "replaced");
                std::filesystem::rename(source.native() + ".new", source);
            },
            0},
        ChangeCase{"Removed", [](const auto &source, const auto &) { std::filesystem::remove(source); }, ENOENT},
        ChangeCase{"Fifo",
            [](const auto &source, const auto &) {
                std::filesystem::remove(source);
                mkfifo(source.c_str(), 0600);
            },
            ENOTSUP},
        ChangeCase{"Link",
            [](const auto &source, const auto &) {
                std::filesystem::remove(source);
                std::filesystem::create_symlink("/etc/hostname", source);
            },
            ELOOP},
        ChangeCase{"DestinationTaken",
            [](const auto &, const auto &destination) { writeFile(destination, "somebody else's"); }, EEXIST}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(FileCopyAhead, AnAttributeAddedMeanwhileArrives)
{
    makeTreeOfSmallFiles(from);
    if (setxattr(from.c_str(), "user.probe", "1", 1, 0) != 0)
        GTEST_SKIP() << "the temporary folder's file system has no attributes of users";
    int seen = 0;
    const Told told = copyTo("to", false, [&](const CopyRecorder::Event &event) {
        if (event.text == "File Start" && ++seen == 2)
            for (int number = 0; number < fileCount; ++number)
                setxattr((from / "folder" / std::to_string(number)).c_str(), "user.late", "1", 1, 0);
        return COPYFILE_CONTINUE;
    });
    int missing = 0;
    for (int number = 0; number < fileCount; ++number)
        missing +=
            getxattr((folder.path("to") / "folder" / std::to_string(number)).c_str(), "user.late", nullptr, 0) < 0;
    EXPECT_LE(missing, 1) << "at most the file that was copied before";
    EXPECT_EQ(told.result, 0);
}
