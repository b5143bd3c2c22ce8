// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/platform/Bundle.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace {

// What this thread slept, and what it does after each time: the tests wait for no clock.
thread_local std::vector<std::chrono::milliseconds> sleeps;
thread_local std::function<void(std::size_t)> afterSleeps;

} // namespace

extern "C" int nanosleep(const timespec *time, timespec *)
{
    sleeps.emplace_back(time->tv_sec * 1000 + time->tv_nsec / 1'000'000);
    if (afterSleeps)
        afterSleeps(sleeps.size());
    return 0;
}

namespace kelvane {
namespace {

namespace fs = std::filesystem;

class UtilsFiles : public testing::Test {
protected:
    String put(const std::string &name, const std::string &content = "x") const
    {
        fs::create_directories(folder.path(name).parent_path());
        std::ofstream(folder.path(name), std::ios::binary) << content;
        return folder.string(name);
    }
    /// What the file holds, "none" where there is none.
    [[nodiscard]] std::string get(const std::string &name) const
    {
        std::ifstream file(folder.path(name), std::ios::binary);
        return file ? std::string{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()} : "none";
    }
    [[nodiscard]] std::size_t entries() const
    {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path()), {}));
    }

    testsupport::TemporaryFolder folder;
};

TEST_F(UtilsFiles, ExistenceAndSizesFollowLinks)
{
    const String file = put("100% \xFF.mp3", "12345");
    fs::create_symlink(file.c_str(), folder.path("link"));
    fs::create_symlink("nowhere", folder.path("dangling"));
    EXPECT_TRUE(Utils::fileExsit(file));
    EXPECT_TRUE(Utils::fileExsit(folder.string()));
    EXPECT_FALSE(Utils::fileExsit(folder.string("dangling")));
    EXPECT_EQ(Utils::fileSize(file), 5);
    EXPECT_EQ(Utils::fileSize(folder.string("link")), 5);
    EXPECT_EQ(Utils::getSizeFromPath(file), 5U);
}

TEST_F(UtilsFiles, WhatIsNotThereHasNoSizeAndNoDates)
{
    for (const String &path : {folder.string("none"), String(), String(""), String(std::string_view("/\0x", 3))}) {
        EXPECT_FALSE(Utils::fileExsit(path));
        EXPECT_EQ(Utils::fileSize(path), 0);
        EXPECT_EQ(Utils::getSizeFromPath(path), 0U);
        EXPECT_TRUE(Utils::createTime(path).isNull());
        EXPECT_TRUE(Utils::ModifyTime(path).isNull());
        EXPECT_EQ(Utils::getFreeSpaceInVolume(path), 0);
        EXPECT_FALSE(Utils::deleteFile(path));
        EXPECT_FALSE(Utils::moveFile(path));
        EXPECT_FALSE(Utils::backFile(path));
        EXPECT_FALSE(Utils::isSameFile(path, path));
        EXPECT_EQ(Utils::directorySize(path), 0);
        EXPECT_EQ(Utils::getFiles(path), Array::empty());
    }
}

TEST_F(UtilsFiles, APathWithANulDoesNotNameTheFileBeforeIt)
{
    const String file = put("a");
    EXPECT_FALSE(Utils::deleteFile(String(file.str() + std::string("\0b", 2))));
    EXPECT_FALSE(Utils::createDirectory(String(folder.string("d").str() + std::string("\0b", 2))));
    EXPECT_TRUE(Utils::fileExsit(file));
    EXPECT_FALSE(Utils::fileExsit(folder.string("d")));
}

TEST_F(UtilsFiles, DatesAreThoseOfTheFile)
{
    const Date before(Utils::DateNowInterval() - 5);
    const String file = put("a");
    EXPECT_GT(Utils::createTime(file), before);
    const timespec times[2] = {{0, UTIME_OMIT}, {978307200 + 100, 500'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    EXPECT_DOUBLE_EQ(Utils::ModifyTime(file).secondsSince2001(), 100.5);
    struct statx status = {};
    ASSERT_EQ(statx(AT_FDCWD, file.c_str(), 0, STATX_BTIME, &status), 0);
    if ((status.stx_mask & STATX_BTIME) != 0) { // not every file system keeps it
        EXPECT_GT(Utils::createTime(file), before) << "still when the file was made";
    }
}

TEST_F(UtilsFiles, CreateDirectoryMakesThoseAroundItAndIsContentWithAFile)
{
    EXPECT_TRUE(Utils::createDirectory(folder.string("a/b/c")));
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/c")));
    EXPECT_TRUE(Utils::createDirectory(folder.string("a/b/c")));
    EXPECT_TRUE(Utils::createDirectory(put("file")));
    EXPECT_FALSE(Utils::createDirectory(folder.string("file/below")));
    EXPECT_FALSE(Utils::createDirectory(nullptr));
}

TEST_F(UtilsFiles, DeleteFileRemovesFoldersAndLinksButNotWhatLinksLeadTo)
{
    const String kept = put("kept");
    put("d/e/f");
    fs::create_symlink(kept.c_str(), folder.path("d/link"));
    EXPECT_TRUE(Utils::deleteFile(folder.string("d")));
    EXPECT_FALSE(Utils::fileExsit(folder.string("d")));
    EXPECT_TRUE(Utils::fileExsit(kept));
    EXPECT_TRUE(Utils::deleteFile(kept));
}

TEST_F(UtilsFiles, DirectorySizeLooksAtTheFirstCharacterOfTheRelativePathOnly)
{
    put("a", "1");
    put("b/c", "22");
    put("b/.hidden", "333");
    put("b/.d/e", "4444");
    put(".top", "55555");
    put(".folder/f", "666666");
    EXPECT_EQ(Utils::directorySize(folder.string()), 10);
    EXPECT_EQ(Utils::directorySize(folder.string() + "/"), 10);
    EXPECT_EQ(Utils::directorySize(folder.string("b/.d")), 4);
}

TEST_F(UtilsFiles, DirectorySizeDoesNotFollowLinksToFolders)
{
    put("a/b", "22");
    fs::create_directory_symlink(folder.path(), folder.path("a/loop"));
    EXPECT_EQ(Utils::directorySize(folder.string()), 2);
}

TEST_F(UtilsFiles, FilesAndDirectoriesAreListedApart)
{
    const String file = put("file");
    const String hidden = put(".hidden");
    fs::create_directory(folder.path("dir"));
    fs::create_symlink("dir", folder.path("link"));
    fs::create_symlink("nowhere", folder.path("dangling"));
    const Array files = Utils::getFiles(folder.string());
    EXPECT_THAT(std::vector<Value>(files.begin(), files.end()), testing::UnorderedElementsAre(file, hidden));
    const Array directories = Utils::getDirectories(folder.string());
    EXPECT_THAT(std::vector<Value>(directories.begin(), directories.end()),
        testing::UnorderedElementsAre(folder.string("dir"), folder.string("link")));
    EXPECT_EQ(Utils::getFilesOrDirectories(folder.string(), true), directories);
    EXPECT_EQ(Utils::getFiles(file), Array::empty());
}

TEST_F(UtilsFiles, FreeSpaceIsThatOfTheVolume)
{
    constexpr double othersMayUse = 1 << 30;
    const auto expected = static_cast<double>(fs::space(folder.path()).available);
    EXPECT_NEAR(static_cast<double>(Utils::getFreeSpaceInVolume(folder.string())), expected, othersMayUse);
    EXPECT_NEAR(static_cast<double>(Utils::getFreeSpaceInVolume(put("file"))), expected, othersMayUse);
    EXPECT_EQ(Utils::getFreeSpaceInVolume("/proc"), 0);
}

TEST_F(UtilsFiles, NamesAndExtensions)
{
    EXPECT_EQ(Utils::getFileName("/a/b.tar.gz"), "b.tar");
    EXPECT_EQ(Utils::getFileName("/a/.profile"), ".profile");
    EXPECT_EQ(Utils::getFileName("/a/b/"), "b");
    EXPECT_EQ(Utils::getFileName("song"), "song");
    EXPECT_EQ(Utils::getFileName(nullptr), "");
    EXPECT_EQ(Utils::changeExtension("/a.b/song.wav", "mp3"), "/a.b/song.mp3");
    EXPECT_EQ(Utils::changeExtension("/a.b/song", "mp3"), "/a.b/song.mp3");
    EXPECT_EQ(Utils::changeExtension("/a.b/.hidden", "mp3"), "/a.b/.hidden.mp3");
    EXPECT_EQ(Utils::changeExtension("song.wav", nullptr), "song.wav");
    EXPECT_TRUE(Utils::changeExtension(nullptr, "mp3").isNull());
}

TEST_F(UtilsFiles, RenameFilePathFindsAFreeName)
{
    EXPECT_EQ(Utils::renameFilePath(folder.string("song.mp3")), folder.string("song.mp3"));
    const String song = put("song.mp3");
    EXPECT_EQ(Utils::renameFilePath(song), folder.string("song.mp3(1)"));
    put("song.mp3(1)");
    EXPECT_EQ(Utils::renameFilePath(song), folder.string("song.mp3(2)"));
    for (int i = 2; i < 12; ++i)
        put("song.mp3(" + std::to_string(i) + ")");
    EXPECT_EQ(Utils::renameFilePath(song), folder.string("song.mp3(12)"));
    EXPECT_EQ(Utils::renameFilePath(put("100%d")), folder.string("100%d(1)"));
}

TEST_F(UtilsFiles, BackupFilePathFindsTheFirstThatExistsOfThree)
{
    EXPECT_EQ(Utils::backupFilePath(folder.string("x")), folder.string("x(3)"));
    put("x(4)");
    EXPECT_EQ(Utils::backupFilePath(folder.string("x")), folder.string("x(3)"));
    put("x(2)");
    EXPECT_EQ(Utils::backupFilePath(folder.string("x")), folder.string("x(2)"));
    put("x(1)");
    EXPECT_EQ(Utils::backupFilePath(folder.string("x")), folder.string("x(1)"));
    put("x");
    EXPECT_EQ(Utils::backupFilePath(folder.string("x")), folder.string("x"));
}

TEST_F(UtilsFiles, MoveFileMovesAsideAndEndsAtTheSecondName)
{
    EXPECT_FALSE(Utils::moveFile(folder.string("x")));
    EXPECT_TRUE(Utils::moveFile(put("x", "first")));
    EXPECT_EQ(get("x(1)"), "first");
    EXPECT_EQ(get("x"), "none");
    EXPECT_TRUE(Utils::moveFile(put("x", "second")));
    EXPECT_EQ(get("x(2)"), "second");
    EXPECT_TRUE(Utils::moveFile(put("x", "third")));
    EXPECT_EQ(get("x(1)"), "first");
    EXPECT_EQ(get("x(2)"), "third");
    EXPECT_EQ(entries(), 2U);
}

TEST_F(UtilsFiles, BackFileKeepsTheFirstAndTheLatest)
{
    EXPECT_FALSE(Utils::backFile(folder.string("x")));
    for (const char *content : {"first", "second", "third"})
        EXPECT_TRUE(Utils::backFile(put("x", content)));
    EXPECT_EQ(get("x(origin)"), "first");
    EXPECT_EQ(get("x(bak)"), "third");
    EXPECT_EQ(entries(), 2U);
}

TEST_F(UtilsFiles, CopyFileNeedsAnExistingDestination)
{
    const String source = put("source", "new");
    EXPECT_FALSE(Utils::copyFile(source, folder.string("none")));
    EXPECT_EQ(get("none"), "none");
    EXPECT_FALSE(Utils::copyFile("", source));
    EXPECT_FALSE(Utils::copyFile(source, ""));
    EXPECT_FALSE(Utils::copyFile(nullptr, source));
    EXPECT_FALSE(Utils::copyFile(source, nullptr));
    EXPECT_EQ(entries(), 1U);
}

TEST_F(UtilsFiles, CopyFileMovesTheDestinationAside)
{
    const String source = put("source", "new");
    const timespec times[2] = {{0, UTIME_OMIT}, {978307200, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    const String destination = put("destination", "old");
    EXPECT_TRUE(Utils::copyFile(source, destination));
    EXPECT_EQ(get("destination"), "new");
    EXPECT_EQ(get("destination(1)"), "old");
    EXPECT_TRUE(Utils::isSameFile(source, destination));
    EXPECT_FALSE(Utils::isSameFile(source, folder.string("destination(1)")));
}

TEST_F(UtilsFiles, CopyFileCopiesFolders)
{
    put("source/a/b", "new");
    fs::create_symlink("a", folder.path("source/link"));
    fs::create_directory(folder.path("destination"));
    EXPECT_TRUE(Utils::copyFile(folder.string("source"), folder.string("destination")));
    EXPECT_EQ(get("destination/a/b"), "new");
    EXPECT_TRUE(fs::is_symlink(folder.path("destination/link")));
    EXPECT_EQ(Utils::ModifyTime(folder.string("source/a")), Utils::ModifyTime(folder.string("destination/a")));
}

TEST_F(UtilsFiles, AFailedCopyLeavesTheDestinationMovedAside)
{
    put("destination", "old");
    EXPECT_FALSE(Utils::copyFile(folder.string("none"), folder.string("destination")));
    EXPECT_EQ(get("destination"), "none");
    EXPECT_EQ(get("destination(1)"), "old");
    put("folder/inside", "old");
    EXPECT_FALSE(Utils::copyFile(folder.string("folder"), folder.string("folder/inside")));
    EXPECT_EQ(get("folder/inside(1)"), "old");
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    put("other", "old");
    EXPECT_FALSE(Utils::copyFile(folder.string("pipe"), folder.string("other")));
    EXPECT_EQ(get("other(1)"), "old");
}

TEST_F(UtilsFiles, AFailedCopyOfAFolderLeavesNoPartOfIt)
{
    put("source/a/b", "new");
    ASSERT_EQ(mkfifo(folder.path("source/pipe").c_str(), 0600), 0);
    put("destination", "old");
    EXPECT_FALSE(Utils::copyFile(folder.string("source"), folder.string("destination")));
    EXPECT_EQ(get("destination(1)"), "old");
    EXPECT_EQ(entries(), 2U) << "besides the source and what was moved aside";
}

TEST_F(UtilsFiles, CopyFileKeepsAttributesAndModes)
{
    const String source = put("source", "new");
    if (setxattr(source.c_str(), "user.title", "a title", 7, 0) != 0)
        GTEST_SKIP() << "the file system has no attributes of users";
    fs::permissions(folder.path("source"), fs::perms::owner_all);
    const String destination = put("destination", "old");
    ASSERT_TRUE(Utils::copyFile(source, destination));
    char value[16];
    EXPECT_EQ(getxattr(destination.c_str(), "user.title", value, sizeof value), 7);
    EXPECT_EQ(fs::status(folder.path("destination")).permissions(), fs::perms::owner_all);
}

TEST_F(UtilsFiles, IsSameFileComparesSizesAndModificationDates)
{
    const String first = put("a", "one");
    const String second = put("b", "two");
    const timespec times[2] = {{0, UTIME_OMIT}, {978307200, 1000}};
    utimensat(AT_FDCWD, first.c_str(), times, 0);
    EXPECT_FALSE(Utils::isSameFile(first, second));
    utimensat(AT_FDCWD, second.c_str(), times, 0);
    EXPECT_TRUE(Utils::isSameFile(first, second));
    put("b", "three");
    utimensat(AT_FDCWD, second.c_str(), times, 0);
    EXPECT_FALSE(Utils::isSameFile(first, second));
}

TEST_F(UtilsFiles, WaitFileExsitSleepsBeforeItLooks)
{
    const auto sleepsFor = [](const String &path, std::int32_t seconds) {
        sleeps.clear();
        Utils::waitFileExsit(path, seconds);
        return sleeps;
    };
    using std::chrono::milliseconds;
    EXPECT_EQ(sleepsFor(put("there"), 100), std::vector(1, milliseconds(10)));
    EXPECT_EQ(sleepsFor(folder.string("none"), 0), std::vector(1, milliseconds(10)));
    EXPECT_EQ(sleepsFor(folder.string("none"), -5), std::vector(1, milliseconds(10)));
    EXPECT_EQ(sleepsFor(folder.string("none"), 1), std::vector(100, milliseconds(10)));
}

TEST_F(UtilsFiles, WaitFileExsitEndsOnceTheFileIsThere)
{
    sleeps.clear();
    afterSleeps = [&](std::size_t count) {
        if (count == 3)
            put("late");
    };
    Utils::waitFileExsit(folder.string("late"), 100);
    afterSleeps = nullptr;
    EXPECT_EQ(sleeps.size(), 3U);
}

TEST_F(UtilsFiles, LocalTempPathIsTheApplicationsFolderBelowTheHomeFolder)
{
    const char *home = std::getenv("HOME");
    const String before = home;
    setenv("HOME", folder.path().c_str(), 1);
    Bundle::mainBundle().setInfoDictionary(Dictionary::empty());
    EXPECT_EQ(Utils::localTempPath(), folder.string("Library/Application Support/Kelvane Dravvik"));
    EXPECT_TRUE(fs::is_directory(folder.path("Library/Application Support/Kelvane Dravvik")));
    Bundle::mainBundle().setInfoDictionary(Dictionary{{"CFBundleDisplayName", ""}});
    EXPECT_EQ(Utils::localTempPath(), folder.string("Library/Application Support/Kelvane Dravvik"));
    Bundle::mainBundle().setInfoDictionary(Dictionary{{"CFBundleDisplayName", "100% mine"}});
    EXPECT_EQ(Utils::localTempPath(), folder.string("Library/Application Support/100% mine"));
    EXPECT_EQ(Utils::localTempPath(), folder.string("Library/Application Support/100% mine"));
    Bundle::mainBundle().setInfoDictionary(nullptr);
    if (before.isNull())
        unsetenv("HOME");
    else
        setenv("HOME", before.c_str(), 1);
}

TEST_F(UtilsFiles, TheLibrarysBundleIsWhereTheLibraryLies)
{
    const String library = Utils::SelfMainBundle().executablePath();
    EXPECT_TRUE(Utils::fileExsit(library));
    EXPECT_TRUE(Utils::fileExsit(Bundle::mainBundle().executablePath()));
    EXPECT_TRUE(Utils::SelfMainBundle().infoDictionary().isEmpty());
}

} // namespace
} // namespace kelvane
