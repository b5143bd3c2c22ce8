// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <kelvane/platform/FMDatabase.h>

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class DeviceLibrary : public SyncFixture {
protected:
    [[nodiscard]] std::string libraryPath() const { return device(".kelvane/library.sqlite"); }
    void execute(const std::string &sql) const
    {
        FMDatabase database(libraryPath());
        ASSERT_TRUE(database.open());
        ASSERT_TRUE(database.executeUpdate(sql)) << database.lastErrorMessage().view();
    }
    void expectRefused(const std::string &reason) const
    {
        const std::string before = read(libraryPath());
        for (const ToolResult &result : {sync(), runTool({"list", device()})}) {
            EXPECT_EQ(result.code, 3);
            EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr(libraryPath()), HasSubstr(reason))));
        }
        EXPECT_TRUE(read(libraryPath()) == before);
        EXPECT_THAT(deviceFiles(), IsEmpty());
    }
};

TEST_F(DeviceLibrary, CarriesAVersionAndAnApplicationId)
{
    sync();
    const std::string header = read(libraryPath()).substr(0, 100);
    EXPECT_EQ(header.substr(60, 4), std::string("\0\0\0\2", 4));
    EXPECT_EQ(header.substr(68, 4), "KLVN");
}

TEST_F(DeviceLibrary, IsOnePlainFileAfterASync)
{
    addMedia("song.mp3", "a.mp3");
    sync();
    EXPECT_FALSE(fs::exists(libraryPath() + "-wal"));
    EXPECT_EQ(read(libraryPath()).substr(18, 2), "\1\1") << "readable on a mount that is read-only";
}

TEST_F(DeviceLibrary, OfALaterVersionIsRefusedAndLeftAlone)
{
    sync();
    execute("PRAGMA user_version = 3");
    expectRefused("its version is 3, this program knows versions up to 2");
}

TEST_F(DeviceLibrary, OfAnotherApplicationIsRefusedAndLeftAlone)
{
    fs::create_directory(device(".kelvane"));
    execute("CREATE TABLE theirs(a)");
    expectRefused("it is a database of another application");
}

TEST_F(DeviceLibrary, ThatIsNoDatabaseIsRefusedAndLeftAlone)
{
    for (const std::string content : {"", "hello",
             "a text that is longer than the header of a database would be. "
             "It goes on and on, until it has more than a hundred bytes."}) {
        write(libraryPath(), content);
        expectRefused("it is not a database");
    }
}

TEST_F(DeviceLibrary, ThatIsDamagedIsRefused)
{
    addSongs(5);
    sync();
    std::string content = read(libraryPath());
    content.replace(100, content.size() - 100, std::string(content.size() - 100, '\x55'));
    write(libraryPath(), content);
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), SizeIs(1)) << result.errors;
    EXPECT_TRUE(read(libraryPath()) == content);
}

TEST_F(DeviceLibrary, ThatWouldAnswerWithoutEndIsRefusedAndLeftAlone)
{
    sync();
    const auto plain = read(libraryPath());
    const char *foreign = "it holds tables, views or triggers that are not the library's";
    execute("ALTER TABLE media RENAME TO theirs");
    execute("CREATE VIEW media AS WITH RECURSIVE row(source) AS (SELECT 'a' UNION ALL SELECT source FROM row)"
            " SELECT source, 1 AS sourceSize, 1 AS sourceModifiedNs, source AS devicePath, 1 AS deviceSize,"
            " 1 AS deviceModifiedNs, '' AS devArtworkPath FROM row");
    expectRefused(foreign);
    std::ofstream(libraryPath(), std::ios::binary) << plain;
    execute("CREATE TRIGGER theirs AFTER INSERT ON media BEGIN DELETE FROM removal; END");
    expectRefused(foreign);
    std::ofstream(libraryPath(), std::ios::binary) << plain;
    execute("CREATE TABLE theirs(a)");
    expectRefused(foreign);
}

TEST_F(DeviceLibrary, ThatSomebodyLetSqliteAnalyseIsReadAsBefore)
{
    addSongs(2);
    sync();
    execute("ANALYZE");
    const ToolResult again = sync();
    EXPECT_EQ(again.code, 0);
    EXPECT_THAT(again.errorLines(), SizeIs(0)) << again.errors;
}

TEST_F(DeviceLibrary, IsReadWholeHoweverLargeAndInTheOrderOfItsSources)
{
    sync();
    execute("INSERT INTO media(source, sourceSize, sourceModifiedNs, devicePath, deviceSize, deviceModifiedNs)"
            " WITH RECURSIVE row(n) AS (SELECT 1200 UNION ALL SELECT n - 1 FROM row WHERE n > 0)"
            " SELECT printf('/s/%04d', n), 1, 1, printf('Music/F00/%04d.mp3', n), 1, 1 FROM row");
    const std::vector<Json> items = parse(runTool({"list", "--json", device()}));
    ASSERT_THAT(items, SizeIs(1201));
    for (std::size_t i = 0; i < items.size(); ++i)
        EXPECT_EQ(items[i]["source"], "/s/" + std::to_string(10000 + i).substr(1));
    EXPECT_EQ(runTool({"list", device()}).outputLines().back(), "1201 items, 1.2 kB");

    // A stranger's library may have bytes where texts belong.
    execute("UPDATE media SET source = CAST(source AS BLOB) WHERE Id % 2 = 0");
    EXPECT_THAT(parse(runTool({"list", "--json", device()})), SizeIs(1201));
}

TEST_F(DeviceLibrary, ThatIsALinkOrAFolderIsRefused)
{
    fs::create_directory(device(".kelvane"));
    write(folder("elsewhere"), "x");
    fs::create_symlink(folder("elsewhere"), libraryPath());
    EXPECT_THAT(sync().errorLines(), ElementsAre(HasSubstr("it is no regular file")));
    fs::remove(libraryPath());
    fs::create_directory(libraryPath());
    EXPECT_THAT(sync().errorLines(), ElementsAre(HasSubstr("it is no regular file")));
}

TEST_F(DeviceLibrary, ThatNamesFilesOutsideTheDeviceIsNotFollowed)
{
    addMedia("song.mp3", "a.mp3");
    sync();
    write(folder("victim"), std::string(fs::file_size(source("a.mp3")), 'x'));
    execute("UPDATE media SET devicePath = '../victim'");
    fs::remove(source("a.mp3"));
    EXPECT_NE(sync({"--delete"}).code, 0);
    EXPECT_TRUE(fs::exists(folder("victim")));
}

TEST_F(DeviceLibrary, AFileThatLacksItsRowAfterACrashIsAdopted)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    sync();
    const std::string copy = library().at(path)["devicePath"];
    execute("INSERT INTO transfer SELECT devicePath, source, sourceSize, sourceModifiedNs FROM media");
    execute("DELETE FROM media");
    execute("DELETE FROM removal");
    EXPECT_EQ(summaryOfSync()["unchanged"], 1);
    EXPECT_EQ(library().at(path)["devicePath"], copy);
    EXPECT_EQ(library().at(path)["title"], "Blue");
    expectComplete();
}

TEST_F(DeviceLibrary, AReplacementThatLacksItsRowAfterACrashIsAdoptedAndTheOldFileGoes)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    sync();
    const std::string old = library().at(path)["devicePath"];
    write(path, read(path) + "more");
    fs::create_directories(device("Music/F00"));
    fs::copy_file(path, device("Music/F00/NEWW.mp3"));
    fs::last_write_time(device("Music/F00/NEWW.mp3"), fs::last_write_time(path));
    const auto nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(fs::last_write_time(path).time_since_epoch()
            - std::chrono::file_clock::from_sys(std::chrono::sys_seconds{}).time_since_epoch());
    execute("INSERT INTO transfer VALUES('Music/F00/NEWW.mp3', '" + path + "', " + std::to_string(fs::file_size(path))
        + ", " + std::to_string(nanoseconds.count()) + ")");
    EXPECT_EQ(summaryOfSync()["unchanged"], 1);
    EXPECT_EQ(library().at(path)["devicePath"], "Music/F00/NEWW.mp3");
    EXPECT_FALSE(fs::exists(device(old)));
    expectComplete();
}

TEST_F(DeviceLibrary, WhatStandsAtThePlaceOfADeadTransferAndIsNotOursStays)
{
    sync();
    write(device("Photos/mine.jpg"), "mine");
    execute("INSERT INTO transfer VALUES('Photos/mine.jpg', '" + source("gone.jpg") + "', 99, 12345)");
    EXPECT_EQ(sync().code, 0);
    EXPECT_EQ(read(device("Photos/mine.jpg")), "mine");
    EXPECT_THAT(library(), IsEmpty());
}

TEST_F(DeviceLibrary, PartialCopiesOfAKilledRunAreRemoved)
{
    sync();
    write(device(".kelvane/incoming/7"), "half a song");
    write(device(".kelvane/incoming/.kelvane-x.part"), "half a song");
    EXPECT_EQ(sync().code, 0);
    EXPECT_THAT(deviceFiles(), IsEmpty());
}

TEST_F(DeviceLibrary, AFileThatWasOursAndLostItsRowInACrashIsRemoved)
{
    addMedia("song.mp3", "a.mp3");
    sync();
    execute("DELETE FROM media");
    fs::remove(source("a.mp3"));
    EXPECT_EQ(sync().code, 0);
    EXPECT_THAT(deviceFiles(), IsEmpty());
}

} // namespace
} // namespace kelvane::testsupport
