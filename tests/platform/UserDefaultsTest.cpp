// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/UserDefaults.h>

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Data.h>
#include <kelvane/platform/PropertyList.h>

#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testsupport::LogCapture;
using testsupport::TemporaryFolder;
namespace fs = std::filesystem;

std::string contentOf(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const fs::path &path, const std::string &content)
{
    std::ofstream(path, std::ios::binary) << content;
}

std::vector<std::string> namesIn(const fs::path &folder)
{
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().native());
    return names;
}

/// Runs `work` in a process of its own; its exit code.
template <class Work>
pid_t start(Work work)
{
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    return child;
}

void finish(pid_t child)
{
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

class UserDefaultsFileTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const String path = folder.string("settings/defaults.plist");
    const fs::path file = path.str();
};

TEST_F(UserDefaultsFileTest, KeepsValuesForTheNextProgram)
{
    const Dictionary all{{"text", "Grüße"}, {"number", 7}, {"flag", true}, {"ratio", 0.5}, {"list", Array{1, "two"}},
        {"data", Data("\0\1", 2)}};
    {
        UserDefaults defaults(path);
        for (std::size_t i = 0; i < all.size(); ++i)
            EXPECT_TRUE(defaults.setObject(all.valueAt(i), all.keyAt(i)));
    }
    const UserDefaults again(path);
    EXPECT_EQ(again.dictionaryRepresentation(), all);
    EXPECT_EQ(again.objectForKey("number").intValue(), 7);
    EXPECT_TRUE(again.objectForKey("absent").isNil());
    EXPECT_TRUE(again.dictionaryForKey("number").isNull());
}

TEST_F(UserDefaultsFileTest, AFileThatIsNotThereHasNoValuesAndIsNotMadeByReading)
{
    const LogCapture log;
    EXPECT_TRUE(UserDefaults(path).objectForKey("key").isNil());
    EXPECT_FALSE(fs::exists(file.parent_path()));
    EXPECT_THAT(log.errorLines(), IsEmpty());
}

TEST_F(UserDefaultsFileTest, NilRemovesAKey)
{
    UserDefaults defaults(path);
    defaults.setObject(1, "a");
    defaults.setObject(2, "b");
    EXPECT_TRUE(defaults.removeObjectForKey("a"));
    EXPECT_EQ(defaults.dictionaryRepresentation(), (Dictionary{{"b", 2}}));
}

TEST_F(UserDefaultsFileTest, RefusesWhatNoPropertyListHolds)
{
    UserDefaults defaults(path);
    defaults.setObject(1, "a");
    EXPECT_FALSE(defaults.setObject(Object(std::make_shared<int>(1)), "b"));
    EXPECT_FALSE(defaults.setObject(1, nullptr));
    EXPECT_EQ(defaults.dictionaryRepresentation(), (Dictionary{{"a", 1}}));
}

TEST_F(UserDefaultsFileTest, SeesWhatOthersWrote)
{
    UserDefaults mine(path);
    UserDefaults theirs(path);
    mine.setObject(1, "key");
    EXPECT_EQ(theirs.objectForKey("key").intValue(), 1);
    theirs.setObject(2, "key");
    EXPECT_EQ(mine.objectForKey("key").intValue(), 2);
    fs::remove(file);
    EXPECT_TRUE(mine.objectForKey("key").isNil());
}

TEST_F(UserDefaultsFileTest, IsForTheUserAlone)
{
    UserDefaults(path).setObject(1, "key");
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(stat(file.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(UserDefaultsFileTest, WritesThroughASymbolicLink)
{
    const String elsewhere = folder.string("elsewhere.plist");
    UserDefaults(elsewhere).setObject(1, "key");
    fs::create_directories(file.parent_path());
    fs::create_symlink(elsewhere.str(), file);
    EXPECT_TRUE(UserDefaults(path).setObject(2, "key"));
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(UserDefaults(elsewhere).objectForKey("key").intValue(), 2);
}

TEST_F(UserDefaultsFileTest, AFileThatBecomesReadableIsRead)
{
    UserDefaults(path).setObject(1, "key");
    // Everything is readable for the superuser, who becomes somebody else for a while.
    constexpr uid_t nobody = 65534;
    const bool isSuperuser = geteuid() == 0;
    if (isSuperuser) {
        for (const fs::path &owned : {folder.path(), file.parent_path(), file, fs::path(file.native() + ".lock")})
            ASSERT_EQ(chown(owned.c_str(), nobody, nobody), 0);
        ASSERT_EQ(seteuid(nobody), 0);
    }
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    UserDefaults defaults(path);
    const LogCapture log;
    EXPECT_TRUE(defaults.objectForKey("key").isNil());
    EXPECT_FALSE(defaults.setObject(2, "key"));
    EXPECT_THAT(log.errorLines(), testing::Each(HasSubstr("Permission denied")));
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(defaults.objectForKey("key").intValue(), 1);
    if (isSuperuser) {
        ASSERT_EQ(seteuid(0), 0);
    }
}

TEST_F(UserDefaultsFileTest, ALogsSinkMayReadThem)
{
    fs::create_directories(file.parent_path());
    write(file, "damaged");
    UserDefaults defaults(path);
    bool isRead = false;
    const LogSink before = ZenLogger::defaultLogger().setSink(
        [&](LogLevel, const String &) { isRead = defaults.objectForKey("key").isNil(); });
    EXPECT_TRUE(defaults.objectForKey("key").isNil());
    EXPECT_TRUE(defaults.setObject(1, "other"));
    ZenLogger::defaultLogger().setSink(before);
    EXPECT_TRUE(isRead);
}

TEST_F(UserDefaultsFileTest, WhatAChangeThrowsReachesTheCallerAndChangesNothing)
{
    UserDefaults defaults(path);
    defaults.setObject(1, "key");
    const auto change = [](const Value &) -> Value { throw std::runtime_error("no"); };
    EXPECT_THROW(defaults.update("key", change), std::runtime_error);
    EXPECT_EQ(defaults.objectForKey("key").intValue(), 1);
    EXPECT_TRUE(defaults.setObject(2, "key")); // the lock is free
}

// Several at once

TEST_F(UserDefaultsFileTest, AStoppedProgramThatHoldsTheLockFailsAWriteInTime)
{
    UserDefaults(path).setObject(1, "key");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = start([&] {
        UserDefaults(path).update("key", [&](const Value &) -> Value {
            (void)!::write(ends[1], "x", 1);
            raise(SIGSTOP);
            return 2;
        });
    });
    char byte = 0;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    const LogCapture log;
    EXPECT_FALSE(UserDefaults(path).setObject(3, "key"));
    EXPECT_THAT(log.errorLines(), testing::SizeIs(1));
    EXPECT_EQ(UserDefaults(path).objectForKey("key").intValue(), 1); // reading takes no lock
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    EXPECT_TRUE(UserDefaults(path).setObject(3, "key"));
}

TEST_F(UserDefaultsFileTest, ProcessesThatWriteAtOnceLoseNothing)
{
    constexpr int processes = 4;
    constexpr int each = 25;
    std::vector<pid_t> children;
    for (int number = 0; number < processes; ++number)
        children.push_back(start([&] {
            UserDefaults defaults(path);
            for (int i = 0; i < each; ++i) {
                defaults.setObject(i, String(std::to_string(number) + '.' + std::to_string(i)));
                defaults.update("count", [](const Value &before) -> Value { return before.intValue() + 1; });
            }
        }));
    for (const pid_t child : children)
        finish(child);
    const UserDefaults defaults(path);
    EXPECT_EQ(defaults.objectForKey("count").intValue(), processes * each);
    EXPECT_EQ(defaults.dictionaryRepresentation().size(), processes * each + 1U);
}

TEST_F(UserDefaultsFileTest, ThreadsThatShareAnObjectLoseNothing)
{
    UserDefaults defaults(path);
    std::vector<std::thread> threads(4);
    for (auto &thread : threads)
        thread = std::thread([&] {
            for (int i = 0; i < 25; ++i) {
                defaults.update("count", [](const Value &before) -> Value { return before.intValue() + 1; });
                EXPECT_GT(defaults.objectForKey("count").intValue(), 0);
            }
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(defaults.objectForKey("count").intValue(), 100);
}

TEST_F(UserDefaultsFileTest, AKilledWriterLeavesTheFileWholeAndTheLockFree)
{
    UserDefaults(path).setObject(0, "count");
    for (int round = 0; round < 20; ++round) {
        const pid_t child = start([&] {
            UserDefaults defaults(path);
            for (;;)
                defaults.update("count", [](const Value &before) -> Value { return before.intValue() + 1; });
        });
        const int before = UserDefaults(path).objectForKey("count").intValue();
        while (UserDefaults(path).objectForKey("count").intValue() < before + 1 + round)
            std::this_thread::yield();
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        EXPECT_FALSE(PropertyList::read(Data(contentOf(file).data(), contentOf(file).size())).isNil());
    }
    const LogCapture log;
    EXPECT_TRUE(UserDefaults(path).setObject("done", "state"));
    EXPECT_THAT(log.errorLines(), IsEmpty());
    EXPECT_GE(UserDefaults(path).objectForKey("count").intValue(), 20);
    for (const std::string &name : namesIn(file.parent_path()))
        EXPECT_THAT(name, testing::AnyOf("defaults.plist", "defaults.plist.lock"));
}

// Damage

class DamagedUserDefaults : public UserDefaultsFileTest, public testing::WithParamInterface<std::string> {};

TEST_P(DamagedUserDefaults, AreSetAsideAndReportedByTheFirstChange)
{
    fs::create_directories(file.parent_path());
    write(file, GetParam());
    UserDefaults defaults(path);
    const LogCapture log;
    EXPECT_TRUE(defaults.objectForKey("key").isNil());
    EXPECT_TRUE(defaults.objectForKey("key").isNil());
    EXPECT_THAT(log.errorLines(), ElementsAre(HasSubstr("it is no property list"))); // once
    EXPECT_EQ(contentOf(file), GetParam()); // reading changes nothing

    EXPECT_TRUE(defaults.setObject(1, "key"));
    EXPECT_THAT(log.errorLines().back(), HasSubstr("has been set aside as " + file.native() + ".damaged-"));
    EXPECT_EQ(defaults.dictionaryRepresentation(), (Dictionary{{"key", 1}}));
    const std::string line = log.errorLines().back();
    const std::string aside = line.substr(line.find(" as ") + 4);
    EXPECT_EQ(contentOf(aside), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Contents, DamagedUserDefaults,
    testing::Values("", "no list", "<plist><dict><key>a</key>", "bplist00", std::string(5000, '\0'),
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>"));

TEST_F(UserDefaultsFileTest, FilesSetAsideInTheSameSecondKeepApart)
{
    fs::create_directories(file.parent_path());
    for (int i = 0; i < 3; ++i) {
        write(file, "damage " + std::to_string(i));
        EXPECT_TRUE(UserDefaults(path).setObject(i, "key"));
    }
    EXPECT_EQ(namesIn(file.parent_path()).size(), 3U + 2U); // with the defaults and their lock
}

TEST_F(UserDefaultsFileTest, AHugeFileIsNotRead)
{
    fs::create_directories(file.parent_path());
    write(file, "");
    fs::resize_file(file, std::uintmax_t{4} << 30);
    const LogCapture log;
    EXPECT_TRUE(UserDefaults(path).dictionaryRepresentation().isEmpty());
    EXPECT_THAT(log.errorLines(), ElementsAre(HasSubstr("it is no property list")));
}

TEST_F(UserDefaultsFileTest, WhatIsNoFileIsNeitherReadNorReplaced)
{
    fs::create_directories(file.parent_path());
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    UserDefaults defaults(path);
    EXPECT_TRUE(defaults.objectForKey("key").isNil());
    EXPECT_FALSE(defaults.setObject(1, "key"));
    EXPECT_TRUE(fs::is_fifo(file));
}

TEST_F(UserDefaultsFileTest, AFolderThatCannotBeMadeFailsTheWriteWithALine)
{
    write(folder.path("settings"), "a file is in the way");
    const LogCapture log;
    UserDefaults defaults(path);
    EXPECT_FALSE(defaults.setObject(1, "key"));
    EXPECT_THAT(log.errorLines(), ElementsAre(HasSubstr("Not a directory")));
    EXPECT_EQ(contentOf(folder.path("settings")), "a file is in the way");
}

TEST_F(UserDefaultsFileTest, APlantedLinkIsNotWrittenThrough)
{
    fs::create_directories(file.parent_path());
    write(folder.path("victim"), "untouched");
    fs::create_symlink(folder.path("victim"), file.native() + ".new");
    EXPECT_TRUE(UserDefaults(path).setObject(1, "key"));
    EXPECT_EQ(contentOf(folder.path("victim")), "untouched");

    fs::remove(file.native() + ".lock");
    fs::create_symlink(folder.path("victim"), file.native() + ".lock");
    EXPECT_FALSE(UserDefaults(path).setObject(2, "key"));
}

// Where the program's own are

TEST(UserDefaults, OfTheProgramAreInTheUsersConfigurationFolder)
{
    const TemporaryFolder folder;
    const pid_t child = start([&] {
        setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
        UserDefaults::standardUserDefaults().setObject("here", "key");
    });
    finish(child);
    const fs::path file = folder.path() / fs::read_symlink("/proc/self/exe").filename() / "defaults.plist";
    EXPECT_EQ(UserDefaults(file.native()).objectForKey("key").string(), "here");
}

TEST(UserDefaults, OfTheProgramAreInTheHomeWithoutAConfigurationFolder)
{
    const TemporaryFolder folder;
    for (const char *unusable : {"", "relative"}) {
        const pid_t child = start([&] {
            setenv("XDG_CONFIG_HOME", unusable, 1);
            setenv("HOME", folder.path().c_str(), 1);
            UserDefaults::standardUserDefaults().setObject(unusable, "key");
        });
        finish(child);
        const fs::path file =
            folder.path() / ".config" / fs::read_symlink("/proc/self/exe").filename() / "defaults.plist";
        EXPECT_EQ(UserDefaults(file.native()).objectForKey("key").string(), unusable);
    }
}

TEST(UserDefaults, WithoutAPathHaveNoValuesAndTakeNone)
{
    UserDefaults defaults(nullptr);
    EXPECT_TRUE(defaults.objectForKey("key").isNil());
    EXPECT_FALSE(defaults.setObject(1, "key"));
}

} // namespace
} // namespace kelvane
