// SPDX-License-Identifier: Apache-2.0
// What a copy keeps, checked by a program that is not ours.
#include <kelvane/platform/FileCopy.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/xattr.h>
#include <tests/support/CopyRecorder.h>
#include <tests/support/TemporaryFolder.h>
#include <unistd.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::ElementsAre;

namespace {

class FileCopyTrees : public testing::Test {
protected:
    void expectSame()
    {
        if (!haveRsync())
            GTEST_SKIP() << "rsync is not installed";
        EXPECT_EQ(differences(from, to), "");
    }

    TemporaryFolder folder;
    std::filesystem::path from = folder.path("from");
    std::filesystem::path to = folder.path("to");
    CopyRecorder copy;
};

void setTimes(const std::filesystem::path &path, timespec access, timespec change)
{
    const timespec times[] = {access, change};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

} // namespace

TEST_F(FileCopyTrees, FilesFoldersAndLinksArrive)
{
    std::filesystem::create_directories(from / "empty");
    std::filesystem::create_directories(from / "a" / "b");
    writeFile(from / "a" / "zero", "");
    writeFile(from / "a" / "b" / "large", pattern(3 * 1024 * 1024 + 17));
    std::filesystem::create_symlink("../a/zero", from / "a" / "link");
    std::filesystem::create_directory_symlink("b", from / "a" / "folder-link");
    std::filesystem::create_symlink("gone", from / "dangling");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failedCount(), 0U);
    EXPECT_EQ(std::filesystem::read_symlink(to / "dangling"), "gone");
    expectSame();
}

TEST_F(FileCopyTrees, NamesOfAnyBytesAndOf255BytesArrive)
{
    std::filesystem::create_directory(from);
    writeFile(from / std::string(255, 'n'), "long");
    writeFile(from / "\xff\xfe not text\n\x01", "bytes");
    writeFile(from / " %s'\"\\*", "quotes");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(namesIn(to), namesIn(from));
    EXPECT_EQ(readFile(to / "\xff\xfe not text\n\x01"), "bytes");
}

TEST_F(FileCopyTrees, HardLinksStayTogether)
{
    std::filesystem::create_directories(from / "inner");
    writeFile(from / "one", "content");
    std::filesystem::create_hard_link(from / "one", from / "inner" / "two");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(statOf(to / "one").st_ino, statOf(to / "inner" / "two").st_ino);
    EXPECT_EQ(copy.count("Data Progress"), 1);
    EXPECT_EQ(copy.count("File Finish"), 2);
    expectSame();
}

TEST_F(FileCopyTrees, AFileOfMoreThanFourGigabytesStaysSparse)
{
    constexpr off_t size = (off_t{5} << 30) + 3;
    const int file = open(from.c_str(), O_CREAT | O_WRONLY, 0644);
    ASSERT_EQ(pwrite(file, "begin", 5, 0), 5);
    ASSERT_EQ(pwrite(file, "middle", 6, off_t{9} << 29), 6);
    ASSERT_EQ(ftruncate(file, size), 0);
    close(file);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), 0);
    const struct stat made = statOf(to);
    EXPECT_EQ(made.st_size, size);
    EXPECT_LE(made.st_blocks, statOf(from).st_blocks + 16);
    EXPECT_EQ(copy.state.copied(), size);
    const int read = open(to.c_str(), O_RDONLY);
    std::array<char, 6> bytes{};
    EXPECT_EQ(pread(read, bytes.data(), 6, off_t{9} << 29), 6);
    EXPECT_EQ(std::string_view(bytes.data(), 6), "middle");
    close(read);
}

TEST_F(FileCopyTrees, ModesAndTimesAreKeptToTheNanosecond)
{
    std::filesystem::create_directory(from);
    writeFile(from / "file", "content");
    std::filesystem::create_symlink("file", from / "link");
    ASSERT_EQ(chmod((from / "file").c_str(), 06751), 0);
    setTimes(from / "file", {1000000001, 123456789}, {1234567890, 987654321});
    setTimes(from / "link", {1000000002, 1}, {1234567891, 2});
    ASSERT_EQ(chmod(from.c_str(), 01500), 0);
    setTimes(from, {1000000003, 3}, {1234567892, 4});
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(statOf(to / "file").st_mode & 07777U, 06751U);
    EXPECT_EQ(statOf(to / "file").st_atim.tv_nsec, 123456789);
    EXPECT_EQ(statOf(to / "file").st_mtim.tv_sec, 1234567890);
    EXPECT_EQ(statOf(to / "file").st_mtim.tv_nsec, 987654321);
    EXPECT_EQ(statOf(to / "link").st_mtim.tv_nsec, 2);
    EXPECT_EQ(statOf(to).st_mode & 07777U, 01500U) << "also when links came after the clean-up";
    EXPECT_EQ(statOf(to).st_mtim.tv_nsec, 4);
    expectSame();
    chmod(from.c_str(), 0700);
    chmod(to.c_str(), 0700);
}

TEST_F(FileCopyTrees, AttributesAndAccessControlListsAreKept)
{
    std::filesystem::create_directories(from / "inner");
    writeFile(from / "inner" / "file", "content");
    writeFile(from / "readonly", "content");
    const std::string value = pattern(2000);
    if (setxattr((from / "inner" / "file").c_str(), "user.note", value.data(), value.size(), 0) != 0)
        GTEST_SKIP() << "the temporary folder's file system has no attributes of users";
    ASSERT_EQ(setxattr((from / "readonly").c_str(), "user.empty", "", 0, 0), 0);
    ASSERT_EQ(setxattr((from / "inner").c_str(), "user.folder", "x", 1, 0), 0);
    ASSERT_EQ(chmod((from / "readonly").c_str(), 0444), 0);
    if (!shell("cd '" + from.native()
            + "' && setfacl -m u:1234:rw,g:77:r inner/file && setfacl -d -m u:1234:rwx inner && setfacl -m u:9:x inner")
             .second)
        GTEST_SKIP() << "no access control lists here";
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failedCount(), 0U);
    const std::string dump = "getfacl -Rn . && getfattr -R -d -m - . | sort";
    EXPECT_EQ(shell("cd '" + from.native() + "' && " + dump), shell("cd '" + to.native() + "' && " + dump));
    expectSame();
}

TEST_F(FileCopyTrees, AccessControlListsOfTheDestinationAreNotInherited)
{
    std::filesystem::create_directories(from / "inner");
    writeFile(from / "inner" / "file", "content");
    writeFile(folder.path("single"), "content");
    std::filesystem::create_directory(folder.path("parent"));
    if (!shell("setfacl -d -m u:1234:rwx '" + folder.path("parent").native() + "'").second)
        GTEST_SKIP() << "no access control lists here";
    to = folder.path("parent") / "to";
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.copy(folder.path("single"), folder.path("parent") / "single", CopyRecorder::fileFlags), 0);
    EXPECT_EQ(shell("cd '" + to.native() + "' && getfacl -Rn .  ../single | grep 1234").first, "");
    expectSame();
}

TEST_F(FileCopyTrees, OwnersAndCapabilitiesAreKeptForRoot)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "giving files away needs root";
    std::filesystem::create_directory(from);
    writeFile(from / "file", "content");
    ASSERT_EQ(chown((from / "file").c_str(), 1234, 77), 0);
    ASSERT_EQ(chmod((from / "file").c_str(), 06755), 0);
    writeFile(from / "capable", "content");
    // cap_net_raw, permitted and effective, in the second form of the attribute
    const std::string capability(
        "\x01\x00\x00\x02\x00\x20\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00", 20);
    if (setxattr((from / "capable").c_str(), "security.capability", capability.data(), capability.size(), 0) != 0)
        GTEST_SKIP() << "no capabilities of files here";
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(statOf(to / "file").st_uid, 1234U);
    EXPECT_EQ(statOf(to / "file").st_gid, 77U);
    EXPECT_EQ(statOf(to / "file").st_mode & 07777U, 06755U);
    EXPECT_EQ(getxattr((to / "capable").c_str(), "security.capability", nullptr, 0), 20);
    expectSame();
}

TEST_F(FileCopyTrees, AFolderWithoutTheRecursiveFlagIsMadeEmpty)
{
    std::filesystem::create_directory(from);
    writeFile(from / "file", "content");
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), 0);
    EXPECT_TRUE(std::filesystem::is_empty(to));
}

TEST_F(FileCopyTrees, ASymbolicLinkAsSourceIsCopiedAsALinkOrFollowed)
{
    writeFile(folder.path("target"), "content");
    std::filesystem::create_symlink("target", from);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::fileFlags), 0);
    EXPECT_EQ(std::filesystem::read_symlink(to), "target");
    EXPECT_EQ(copy.copy(from, folder.path("followed"), COPYFILE_ALL | COPYFILE_EXCL), 0);
    EXPECT_FALSE(std::filesystem::is_symlink(folder.path("followed")));
    EXPECT_EQ(readFile(folder.path("followed")), "content");
}

TEST_F(FileCopyTrees, ALinkToAFolderIsCopiedAsALinkEvenWithTheRecursiveFlag)
{
    std::filesystem::create_directory(folder.path("target"));
    std::filesystem::create_directory_symlink("target", from);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(std::filesystem::read_symlink(to), "target");
    EXPECT_THAT(copy.texts(), ElementsAre("File Start", "File Finish"));
}

TEST_F(FileCopyTrees, WithoutTheExclusiveFlagFilesAreReplacedAndFoldersMerged)
{
    std::filesystem::create_directory(from);
    std::filesystem::create_directory(to);
    writeFile(from / "file", "new");
    std::filesystem::create_symlink("new", from / "link");
    writeFile(to / "file", "old and longer");
    writeFile(to / "other", "stays");
    std::filesystem::create_symlink("old", to / "link");
    const ino_t old = statOf(to / "file").st_ino;
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags & ~COPYFILE_EXCL), 0);
    EXPECT_EQ(readFile(to / "file"), "new");
    EXPECT_NE(statOf(to / "file").st_ino, old) << "replaced in one step, not rewritten in place";
    EXPECT_EQ(std::filesystem::read_symlink(to / "link"), "new");
    EXPECT_THAT(namesIn(to), ElementsAre("file", "link", "other"));
}

TEST_F(FileCopyTrees, ALinkAsDestinationIsFollowedOnlyWhenAsked)
{
    writeFile(from, "new");
    writeFile(folder.path("target"), "old");
    std::filesystem::create_symlink("target", to);
    EXPECT_EQ(copy.copy(from, to, COPYFILE_ALL), 0);
    EXPECT_EQ(readFile(folder.path("target")), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(to));
    EXPECT_EQ(copy.copy(from, to, COPYFILE_ALL | COPYFILE_NOFOLLOW), 0);
    EXPECT_FALSE(std::filesystem::is_symlink(to));
}

TEST_F(FileCopyTrees, AFileThatDoesNotKnowItsSizeIsReadToItsEnd)
{
    if (!std::filesystem::exists("/proc/version"))
        GTEST_SKIP() << "no such file here";
    EXPECT_EQ(copy.copy("/proc/version", to, CopyRecorder::fileFlags), 0);
    EXPECT_EQ(readFile(to), readFile("/proc/version"));
}

TEST_F(FileCopyTrees, ATreeDeeperThanOpenFilesAllowArrives)
{
    constexpr int depth = 700;
    int at = open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
    for (int level = 0; level < depth; ++level) {
        const char *const name = level == 0 ? "from" : "d";
        ASSERT_EQ(mkdirat(at, name, 0755), 0);
        const int next = openat(at, name, O_RDONLY | O_DIRECTORY);
        close(at);
        at = next;
    }
    ASSERT_EQ(symlinkat("bottom", at, "link"), 0);
    close(at);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failedCount(), 0U);
    EXPECT_EQ(shell("find '" + to.native() + "' -type d | wc -l").first, std::to_string(depth) + "\n");
    EXPECT_EQ(shell("find '" + to.native() + "' -type l | wc -l").first, "1\n");
}

TEST_F(FileCopyTrees, SynchronisingChangesNothingElse)
{
    std::filesystem::create_directories(from / "inner");
    writeFile(from / "inner" / "file", "content");
    std::filesystem::create_symlink("file", from / "inner" / "link");
    copy.state.setSynchronise(true);
    EXPECT_EQ(copy.copy(from, to, CopyRecorder::treeFlags), 0);
    EXPECT_EQ(copy.state.failedCount(), 0U);
    expectSame();
}
