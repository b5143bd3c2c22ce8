// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <set>
#include <sys/xattr.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

using Sync = SyncFixture;

TEST_F(Sync, BringsEveryKindToItsPlaceAndRecordsIt)
{
    addAllKinds();
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    expectComplete();
    for (const auto &[path, item] : library()) {
        const std::string copy = item["devicePath"];
        if (item["mediaKind"] == 4)
            EXPECT_EQ(copy, "Photos/" + fs::path(path).filename().string());
        else
            EXPECT_THAT(copy, MatchesRegex("Music/F[0-9][0-9]/[A-Y]{4}\\.(mp3|m4a|flac|ogg|wav|mp4)"));
    }
    const Json song = library().at(source("song.mp3"));
    EXPECT_EQ(song["title"], "Blue");
    EXPECT_EQ(song["artist"], "The Testers");
    EXPECT_EQ(song["trackNumber"], 3);
    EXPECT_EQ(song["mediaKind"], 1);
    EXPECT_EQ(song["path"], source("song.mp3"));
    EXPECT_EQ(library().at(source("film.mp4"))["mediaKind"], 2);
}

TEST_F(Sync, ASecondRunCopiesNothing)
{
    addAllKinds();
    sync();
    const std::vector<std::string> before = deviceFiles();
    const Json summary = summaryOfSync();
    EXPECT_EQ(summary["unchanged"], 8);
    EXPECT_EQ(summary["added"], 0);
    EXPECT_EQ(summary["bytes"], 0);
    EXPECT_EQ(deviceFiles(), before);
}

TEST_F(Sync, KeepsTheTimesOfTheSource)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(5000));
    sync();
    const std::string copy = library().at(path)["devicePath"];
    EXPECT_EQ(fs::last_write_time(device(copy)), fs::last_write_time(path));
}

TEST_F(Sync, AChangedSourceReplacesItsCopyUnderANewName)
{
    addAllKinds();
    sync();
    const std::string before = library().at(source("song.mp3"))["devicePath"];
    write(source("song.mp3"), read(source("song.mp3")) + "more");
    const Json summary = summaryOfSync();
    EXPECT_EQ(summary["changed"], 1);
    EXPECT_EQ(summary["unchanged"], 7);
    EXPECT_FALSE(fs::exists(device(before)));
    expectComplete();
}

TEST_F(Sync, ATouchedSourceIsCopiedAgain)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    sync();
    fs::last_write_time(path, fs::last_write_time(path) + std::chrono::nanoseconds(1000));
    EXPECT_EQ(summaryOfSync()["changed"], 1);
    expectComplete();
}

TEST_F(Sync, ACopyThatIsGoneIsMadeAgain)
{
    addAllKinds();
    sync();
    fs::remove(device(library().at(source("song.flac"))["devicePath"]));
    EXPECT_EQ(summaryOfSync()["changed"], 1);
    expectComplete();
}

TEST_F(Sync, ACopyThatSomebodyEditedIsLeftAloneAndMadeAnewBesideIt)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    sync();
    const std::string edited = library().at(path)["devicePath"];
    write(device(edited), "edited on the device");
    EXPECT_EQ(summaryOfSync()["changed"], 1);
    EXPECT_EQ(read(device(edited)), "edited on the device");
    EXPECT_EQ(read(device(library().at(path)["devicePath"])), read(path));
}

TEST_F(Sync, WithoutDeleteVanishedSourcesKeepTheirCopies)
{
    addAllKinds();
    sync();
    fs::remove(source("song.mp3"));
    EXPECT_EQ(summaryOfSync()["deleted"], 0);
    EXPECT_THAT(deviceFiles(), SizeIs(8));
}

TEST_F(Sync, DeleteRemovesCopiesOfVanishedSources)
{
    addAllKinds();
    sync();
    fs::remove(source("song.mp3"));
    fs::remove(source("photo.jpg"));
    EXPECT_EQ(summaryOfSync({"--delete"})["deleted"], 2);
    expectComplete();
}

TEST_F(Sync, DeleteTouchesOnlyItemsOfTheGivenFolders)
{
    addMedia("song.mp3", "one/a.mp3");
    addMedia("song.mp3", "one/stays.mp3");
    addMedia("song.flac", "two/b.flac");
    sync();
    fs::remove(source("one/a.mp3"));
    fs::remove(source("two/b.flac"));
    runTool({"sync", "--delete", source("one"), device()});
    EXPECT_EQ(library().count(source("one/a.mp3")), 0U);
    EXPECT_EQ(library().count(source("two/b.flac")), 1U);
}

TEST_F(Sync, DeleteRemovesNothingOfASourceThatHoldsNoMediaAtAll)
{
    addMedia("song.mp3", "disk/a.mp3");
    sync();
    fs::remove(source("disk/a.mp3"));
    const ToolResult result = sync({"--delete"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errors, HasSubstr("it holds no media at all (is its disk mounted?)"));
    EXPECT_EQ(library().count(source("disk/a.mp3")), 1U);
    EXPECT_THAT(deviceFiles(), SizeIs(1));
}

TEST_F(Sync, DeleteRemovesNothingWhereTheSourceItselfIsMissing)
{
    addAllKinds();
    sync();
    fs::rename(source(), folder("elsewhere"));
    const ToolResult result = sync({"--delete"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), SizeIs(1));
    EXPECT_THAT(deviceFiles(), SizeIs(8));
}

TEST_F(Sync, DeleteLeavesAFileAloneThatTookThePlaceOfOurs)
{
    const std::string path = addMedia("photo.jpg", "photo.jpg");
    addMedia("song.mp3", "stays.mp3");
    sync();
    write(device("Photos/photo.jpg"), "a photo of the device's owner");
    fs::remove(path);
    EXPECT_EQ(summaryOfSync({"--delete"})["deleted"], 1);
    EXPECT_EQ(read(device("Photos/photo.jpg")), "a photo of the device's owner");
    EXPECT_THAT(library(), SizeIs(1));
}

TEST_F(Sync, PhotosOfTheSameNameAreAllKept)
{
    addMedia("photo.jpg", "one/IMG_1.jpg");
    addMedia("photo.jpg", "two/IMG_1.jpg");
    addMedia("photo.jpg", "three/img_1.JPG");
    EXPECT_EQ(sync().code, 0);
    EXPECT_THAT(deviceFiles(),
        testing::UnorderedElementsAre(
            "Photos/IMG_1.jpg", testing::StartsWith("Photos/"), testing::StartsWith("Photos/")));
    expectComplete();
}

TEST_F(Sync, APhotoOfTheDevicesOwnerKeepsItsNameAndItsContent)
{
    write(device("Photos/photo.jpg"), "mine");
    addMedia("photo.jpg", "photo.jpg");
    EXPECT_EQ(sync().code, 0);
    EXPECT_EQ(read(device("Photos/photo.jpg")), "mine");
    EXPECT_EQ(library().at(source("photo.jpg"))["devicePath"], "Photos/photo (2).jpg");
}

TEST_F(Sync, NamesThatDevicesRefuseAreMadeGood)
{
    addMedia("photo.jpg", "what? \"this\": <a|b>*.jpg");
    EXPECT_EQ(sync().code, 0);
    EXPECT_THAT(deviceFiles(), testing::ElementsAre("Photos/what_ _this__ _a_b__.jpg"));
}

TEST_F(Sync, DryRunSaysWhatItWouldDoAndTouchesNothing)
{
    addAllKinds();
    const ToolResult result = sync({"--dry-run"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.output, HasSubstr("would copy " + source("song.mp3")));
    EXPECT_THAT(result.output, HasSubstr("8 to copy"));
    EXPECT_TRUE(fs::is_empty(device()));
    sync();
    fs::remove(source("song.mp3"));
    write(source("song.ogg"), read(source("song.flac")));
    const std::vector<std::string> before = deviceFiles();
    const Json summary = summaryOfSync({"--dry-run", "--delete"});
    EXPECT_EQ(summary["deleted"], 1);
    EXPECT_EQ(summary["changed"], 1);
    EXPECT_EQ(summary["dryRun"], true);
    EXPECT_EQ(deviceFiles(), before);
    EXPECT_THAT(library(), SizeIs(8));
}

TEST_F(Sync, VerifyFindsADamagedCopyAndMakesItAnew)
{
    addAllKinds();
    EXPECT_EQ(sync({"--verify"}).code, 0);
    const std::string copy = device(library().at(source("song.mp3"))["devicePath"]);
    std::string content = read(copy);
    const auto time = fs::last_write_time(copy);
    content[content.size() / 2] ^= 1;
    write(copy, content);
    fs::last_write_time(copy, time);
    EXPECT_EQ(summaryOfSync()["changed"], 0);
    const Json summary = summaryOfSync({"--verify"});
    EXPECT_EQ(summary["changed"], 1);
    EXPECT_EQ(summary["unchanged"], 7);
    expectComplete();
}

TEST_F(Sync, WorksWithAnyNumberOfJobs)
{
    for (const char *jobs : {"1", "3", "16"}) {
        fs::remove_all(device());
        fs::create_directory(device());
        addSongs(20);
        EXPECT_EQ(sync({"--jobs", jobs}).code, 0);
        expectComplete();
    }
}

TEST_F(Sync, NeverWorksOnMoreItemsAtOnceThanItHasJobs)
{
    addSongs(20);
    std::set<std::string> running;
    std::size_t most = 0;
    for (const Json &event : parse(sync({"--json", "--jobs", "3"}))) {
        if (event["event"] == "started")
            running.insert(event["path"]);
        most = std::max(most, running.size());
        if (event["event"] == "finished")
            running.erase(event["path"]);
    }
    EXPECT_LE(most, 3U);
    EXPECT_GE(most, 2U);
}

TEST_F(Sync, TakesFilesNamedThemselvesAndSeveralSources)
{
    const std::string song = addMedia("song.mp3", "one/a.mp3");
    addMedia("song.flac", "two/b.flac");
    addMedia("song.ogg", "not asked for/c.ogg");
    EXPECT_EQ(runTool({"sync", song, source("two"), device()}).code, 0);
    EXPECT_THAT(library(), SizeIs(2));
}

TEST_F(Sync, AFileCountsOnceHoweverManyWaysLeadToIt)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    fs::create_symlink(song, source("link.mp3"));
    fs::create_directory_symlink(source(), source("loop"));
    EXPECT_EQ(runTool({"sync", song, source(), source(), source("loop"), device()}).code, 0);
    EXPECT_THAT(library(), SizeIs(1));
}

TEST_F(Sync, PassesByWhatIsNoMediaAndWhatIsHidden)
{
    addMedia("song.mp3", "a.mp3");
    addMedia("song.mp3", "._a.mp3");
    addMedia("song.mp3", ".hidden/b.mp3");
    write(source("notes.txt"), "text");
    const ToolResult result = sync({"--json"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_EQ(parse(result).back()["ignored"], 2);
    EXPECT_THAT(library(), SizeIs(1));
}

TEST_F(Sync, ADeviceInsideTheSourceIsNotWalkedInto)
{
    addMedia("song.mp3", "a.mp3");
    const std::string inner = source("device");
    fs::create_directory(inner);
    EXPECT_EQ(runTool({"sync", source(), inner}).code, 0);
    EXPECT_THAT(runTool({"sync", source(), inner}).output, HasSubstr("1 unchanged"));
}

TEST_F(Sync, PlainLinesNameEachItemAndCarryNoControlCharacters)
{
    addAllKinds();
    const ToolResult result = sync();
    EXPECT_THAT(result.outputLines(), SizeIs(11)); // the items, the table, the closing words
    EXPECT_THAT(result.output, HasSubstr("copied " + source("song.mp3") + " -> Music/F"));
    EXPECT_THAT(result.outputLines().back(), HasSubstr("8 copied; "));
    EXPECT_EQ(result.output.find_first_of("\r\x1b"), std::string::npos);
}

TEST_F(Sync, PlainLinesNameFilesAsSeenFromTheWorkingDirectory)
{
    addMedia("song.mp3", "song.mp3");
    const std::string command = "cd '" + source() + "' && '" KELVANE_TOOL "' sync . '" + device() + "'";
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> output(::popen(command.c_str(), "r"), ::pclose);
    char line[200] = "";
    ASSERT_NE(std::fgets(line, sizeof line, output.get()), nullptr);
    EXPECT_THAT(line, StartsWith("copied song.mp3 -> Music/F"));
}

TEST_F(Sync, QuietSaysNothingButErrors)
{
    addMedia("song.mp3", "a.mp3");
    write(source("empty.mp3"), "");
    const ToolResult result = sync({"--quiet"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.errorLines(), SizeIs(1));
}

TEST_F(Sync, VerboseShowsTheLogOfTheLibraryOnStandardError)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    if (::setxattr(path.c_str(), "user.mood", "blue", 4, 0) != 0)
        GTEST_SKIP() << "the temporary folder keeps no extended attributes, whose copying is logged";
    EXPECT_THAT(sync().errors, IsEmpty());
    fs::remove_all(device());
    fs::create_directory(device());
    EXPECT_THAT(sync({"--verbose"}).errors, HasSubstr("Xattr Start"));
}

TEST_F(Sync, JsonTellsTheWholeLifeOfAnItem)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    std::vector<std::string> story;
    for (const Json &event : parse(sync({"--json"}))) {
        const std::string name = event["event"];
        if (name != "summary") {
            EXPECT_EQ(event["path"], path);
        }
        if (name != "progress" || event["percent"] == 0 || event["percent"] == 100)
            story.push_back(name == "step" ? event["step"].get<std::string>() : name);
    }
    EXPECT_THAT(story, testing::IsSupersetOf({"started", "progress", "read", "copy", "record", "finished", "summary"}));
    EXPECT_EQ(story.front(), "started");
    EXPECT_EQ(story.back(), "summary");
}

TEST_F(Sync, JsonHasOneEventForEverySkippedAndFailedFile)
{
    addMedia("song.mp3", "a.mp3");
    write(source("empty.mp3"), "");
    sync();
    const ToolResult result = sync({"--json"});
    EXPECT_EQ(result.code, 1);
    const std::vector<Json> events = parse(result);
    ASSERT_THAT(events, SizeIs(3));
    EXPECT_EQ(events[0]["event"], "skipped");
    EXPECT_EQ(events[0]["reason"], "unchanged");
    EXPECT_EQ(events[1]["event"], "failed");
    EXPECT_EQ(events[1]["error"], "the file is empty");
    for (const char *key : {"added", "changed", "deleted", "unchanged", "failed", "bytes", "seconds"})
        EXPECT_TRUE(events[2][key].is_number()) << key;
}

TEST_F(Sync, RunsOnTheSameDeviceExcludeEachOther)
{
    addSongs(60);
    ToolProcess first({"sync", "--json", source(), device()});
    ASSERT_TRUE(first.waitForOutput("started"));
    first.signal(SIGSTOP);
    ASSERT_TRUE(first.isRunning()) << "the first sync was too quick for this test";
    const ToolResult second = sync();
    EXPECT_EQ(second.code, 3);
    EXPECT_THAT(second.errorLines(),
        testing::ElementsAre(
            testing::ContainsRegex("another sync is using it \\(process [0-9]+\\); try again when it has ended")));
    EXPECT_EQ(runTool({"remove", device(), "anything"}).code, 3) << "nor does anybody else change it meanwhile";
    first.signal(SIGCONT);
    EXPECT_EQ(first.wait(), 0);
    expectComplete();
}

} // namespace
} // namespace kelvane::testsupport
