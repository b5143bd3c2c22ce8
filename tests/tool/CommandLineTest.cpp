// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <kelvane/media/MediaBase.h>
#include <kelvane/platform/FMDatabase.h>
#include <kelvane/platform/FMResultSet.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST(CommandLine, VersionIsThatOfTheProject)
{
    const ToolResult result = runTool({"--version"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "kelvane " KELVANE_VERSION "\n");
}

TEST(CommandLine, HelpIsEverywhereWithAnExample)
{
    for (const std::vector<std::string> &arguments :
        {std::vector<std::string>{"--help"}, {"-h"}, {"help"}, {"list", "--help"}, {"help", "list"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.code, 0);
        EXPECT_THAT(result.output, AllOf(HasSubstr("Usage: kelvane"), HasSubstr("Example:\n  kelvane ")));
        EXPECT_THAT(result.errors, IsEmpty());
    }
}

TEST(CommandLine, WrongUseIsToldInOneLine)
{
    for (const std::vector<std::string> &arguments :
        {std::vector<std::string>{}, {"dance"}, {"sync"}, {"sync", "only-one"}, {"sync", "--jobs", "0", "a", "b"},
            {"sync", "--jobs", "many", "a", "b"}, {"sync", "--nonsense", "a", "b"},
            {"sync", "--reserve", "much", "a", "b"}, {"info"}, {"list"}, {"list", "a", "b"}, {"copy", "a"},
            {"remove", "a"}, {"report", "a"}, {"help", "dance"}, {"types", "--quiet", "--json", "mp3"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.code, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(result.errorLines(), SizeIs(1)) << result.errors;
        EXPECT_THAT(result.output, IsEmpty());
    }
}

TEST(CommandLine, AWordThatIsNearlyACommandIsUnderstood)
{
    EXPECT_THAT(runTool({"snyc"}).errors, HasSubstr("did you mean \"sync\"?"));
    EXPECT_THAT(runTool({"dance-all-night"}).errors, testing::Not(HasSubstr("did you mean")));
    EXPECT_THAT(runTool({"\x1b[31m"}).errors, testing::Not(HasSubstr("\x1b")));
}

TEST(CommandLine, QuietSaysNothingButErrors)
{
    const ToolResult result = runTool({"types", "--quiet", "mp3", ""});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.errorLines(), SizeIs(1));
}

TEST(CommandLine, OutputThatCannotBeWrittenIsAFailure)
{
    EXPECT_EQ(std::system(KELVANE_TOOL " types mp3 >/dev/full 2>/dev/null") >> 8, 1);
    EXPECT_EQ(std::system(KELVANE_TOOL " types --help >/dev/full 2>/dev/null") >> 8, 1);
}

/// The exit code of the command with standard output and others as the shell is told.
int codeOf(const std::string &arguments, const std::string &redirection)
{
    return std::system((KELVANE_TOOL + (' ' + arguments) + " 2>/dev/null " + redirection).c_str()) >> 8;
}

TEST(CommandLine, ClosedOutputIsAFailureAndGoesIntoNoOtherFile)
{
    EXPECT_EQ(codeOf("types mp3", ">&-"), 1);
    // The numbers of the closed ones would be given to the files that are opened next, which would get what is printed.
    const TemporaryFolder folder;
    const std::filesystem::path song = folder.path("song");
    std::ofstream(song) << "la";
    EXPECT_EQ(codeOf("copy '" + song.string() + "' '" + folder.path("copy").string() + '\'', "<&- >&-"), 1);
    std::string copied;
    std::getline(std::ifstream(folder.path("copy")), copied, '\0');
    EXPECT_EQ(copied, "la");
}

using Info = SyncFixture;

TEST_F(Info, AReaderThatHasSeenEnoughIsNoFailure)
{
    addSongs(2);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    const std::string into = ">&" + std::to_string(ends[1]);
    for (const char *arguments : {"types mp3", "types --json mp3 mp4", "help sync"})
        EXPECT_EQ(std::system(("trap '' PIPE; " KELVANE_TOOL " " + (arguments + (' ' + into))).c_str()), 0)
            << arguments;
    EXPECT_EQ(codeOf("sync '" + source() + "' '" + device() + '\'', into), 0);
    ::close(ends[1]);
    expectComplete();
}

TEST_F(Info, JsonHasOneObjectALineInTheOrderGiven)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    const std::string film = addMedia("film.mp4", "b.mp4");
    const ToolResult result = runTool({"info", "--json", film, source("missing.mp3"), song});
    EXPECT_EQ(result.code, 1);
    const std::vector<Json> objects = parse(result);
    ASSERT_THAT(objects, SizeIs(3));
    EXPECT_EQ(objects[0]["path"], film);
    EXPECT_EQ(objects[0]["title"], "Film");
    EXPECT_EQ(objects[1], (Json{{"path", source("missing.mp3")}, {"error", "No such file or directory"}}));
    EXPECT_EQ(objects[2]["path"], song);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("missing.mp3")));
}

TEST_F(Info, JsonHasEveryPropertyUnderItsOwnName)
{
    const Json song = parse(runTool({"info", "--json", addMedia("song.mp3", "a.mp3")})).at(0);
    for (const char *name :
        {"path", "filePath", "title", "album", "artist", "comment", "genre", "albumArtist", "copyright", "composer",
            "grouping", "albumSort", "artistSort", "albumArtistSort", "composerSort", "titleSort", "feedURL", "lyrics",
            "year", "trackNo", "trackCount", "discCount", "discNumber", "duration", "bitrate", "sampleRate", "channels",
            "audioformat", "tagTypes", "fileSize", "addedTime", "modifiedTime", "releasedDate", "purchasedDate",
            "description", "mediaType", "tvShow", "tvshowNetWork", "episodeID", "tvEpisode", "season", "isPodcast",
            "isiTunesU", "podcastURL", "podcastIdentifier", "iTunesAccount", "isExistArtwork", "artworkCount"})
        EXPECT_TRUE(song.contains(name)) << name;
    EXPECT_EQ(song["title"], "Blue");
    EXPECT_EQ(song["year"], 2012);
    EXPECT_EQ(song["trackNo"], 3);
    EXPECT_EQ(song["trackCount"], 9);
    EXPECT_EQ(song["duration"], 2);
    EXPECT_EQ(song["copyright"], nullptr);
    EXPECT_EQ(song["isExistArtwork"], true);
    EXPECT_EQ(song["artworkCount"], 1);
    EXPECT_THAT(song["modifiedTime"].get<std::string>(), testing::MatchesRegex("....-..-..T..:..:..Z"));
    EXPECT_FALSE(song.contains("artworks")) << "asking for them makes files";
}

TEST_F(Info, ListsForPeopleWithoutControlCharacters)
{
    const ToolResult result = runTool({"info", addMedia("song.m4a", "\x1b[31m.m4a")});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("\\x1B[31m.m4a"), HasSubstr("  artist            日本の歌手\n")));
    EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
}

TEST_F(Info, WhatIsNoFileIsNotWaitedFor)
{
    ASSERT_EQ(::mkfifo(source("pipe").c_str(), 0644), 0);
    const ToolResult result = runTool({"info", "--json", source("pipe"), source(), "/dev/zero"});
    EXPECT_EQ(result.code, 1);
    for (const Json &object : parse(result))
        EXPECT_TRUE(object.contains("error"));
    EXPECT_THAT(result.errorLines(), SizeIs(3));
}

using List = SyncFixture;

TEST_F(List, FitsTheTerminalsWidthWhateverTheCharacters)
{
    addAllKinds();
    addMedia("photo.jpg", std::string(200, 'n') + ".jpg");
    sync();
    for (const int width : {40, 60, 80, 132}) {
        ToolOptions options;
        options.environment["COLUMNS"] = std::to_string(width);
        const ToolResult result = runTool({"list", device()}, options);
        EXPECT_EQ(result.code, 0);
        EXPECT_THAT(result.output, HasSubstr("9 items, "));
        for (const std::string &line : result.outputLines()) {
            // The wide characters of this artist take two columns for three bytes.
            std::size_t columns = 0;
            for (std::size_t i = 0; i < line.size(); ++i) {
                const auto byte = static_cast<unsigned char>(line[i]);
                columns += byte < 0x80 || (byte >= 0xc0 && byte < 0xe3) ? 1U : byte >= 0xe3 ? 2U : 0U;
            }
            EXPECT_LE(columns, static_cast<std::size_t>(width)) << line;
        }
    }
}

TEST_F(List, ShowsKindTagsTimeSizeAndPlace)
{
    addMedia("song.mp3", "a.mp3");
    sync();
    const ToolResult result = runTool({"list", device()});
    EXPECT_THAT(result.output, testing::ContainsRegex("audio +Blue +The Te.* +Samples +0:02 +[0-9.]+ kB +Music/F"));
}

TEST_F(List, JsonHasAllFieldsAndThePlaces)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    sync();
    const Json item = library().at(path);
    for (const char *name : {"devicePath", "source", "Id", "title", "resolution", "artwork_format_id", "iTunesAccount",
             "storeMedium", "playedDate"})
        EXPECT_TRUE(item.contains(name)) << name;
    EXPECT_EQ(item["storeMedium"], 2);
    EXPECT_EQ(item["playedDate"], nullptr);
    EXPECT_EQ(item["fileSize"], read(path).size());
}

TEST_F(List, EveryFieldOfARecordIsAKeyOfTheJsonAndAColumnOfTheLibrary)
{
    const std::string path = addMedia("song.mp3", "a.mp3");
    sync();
    const Json item = library().at(path);
    const auto connection = std::make_shared<FMDatabase>(device(".kelvane/library.sqlite"));
    ASSERT_TRUE(connection->open());
    std::set<std::string> columns;
    for (const auto rows = connection->executeQuery("PRAGMA table_info(media)"); rows && rows->next();)
        columns.insert(rows->stringForColumnIndex(1).str());
    for (const MediaField &field : MediaBase::fields()) {
        if (field.kind == Value::Kind::Object) // lives in memory alone
            continue;
        EXPECT_TRUE(item.contains(field.name)) << field.name;
        EXPECT_TRUE(columns.contains(field.name)) << field.name;
    }
}

TEST_F(List, ADeviceWithoutALibraryIsToldInOneLine)
{
    const ToolResult result = runTool({"list", device()});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("it has no library")));
}

} // namespace
} // namespace kelvane::testsupport
