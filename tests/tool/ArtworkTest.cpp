// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <kelvane/platform/FMDatabase.h>

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class SyncArtwork : public SyncFixture {
protected:
    [[nodiscard]] std::vector<std::string> pictures() const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(device(".kelvane/artwork")))
            names.push_back(".kelvane/artwork/" + entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    [[nodiscard]] std::string pictureOf(const std::string &path) const
    {
        const Json row = library().at(path);
        return row.at("devArtworkPath").is_null() ? "unknown" : row.at("devArtworkPath").get<std::string>();
    }
    void execute(const std::string &sql) const
    {
        FMDatabase database(device(".kelvane/library.sqlite"));
        ASSERT_TRUE(database.open());
        ASSERT_TRUE(database.executeUpdate(sql)) << database.lastErrorMessage().view();
    }
};

TEST_F(SyncArtwork, OfItemsWithOneCoverIsOneFile)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    const std::string other = addMedia("song.m4a", "b.m4a");
    sync();
    EXPECT_THAT(pictures(), SizeIs(1));
    EXPECT_EQ(pictureOf(song), pictures().front());
    EXPECT_EQ(pictureOf(other), pictures().front());
    EXPECT_THAT(read(device(pictures().front())), StartsWith("\xff\xd8\xff"));
}

TEST_F(SyncArtwork, OfFilmsAndPhotosIsAThumbnailAndOfSoundWithoutACoverNone)
{
    const std::string film = addMedia("film.mp4", "a.mp4");
    const std::string photo = addMedia("photo.jpg", "b.jpg");
    const std::string sound = addMedia("song.wav", "c.wav");
    sync();
    EXPECT_THAT(pictures(), SizeIs(2));
    EXPECT_THAT(pictureOf(film), EndsWith(".jpg"));
    EXPECT_THAT(pictureOf(photo), EndsWith(".jpg"));
    EXPECT_EQ(pictureOf(sound), "");
}

TEST_F(SyncArtwork, GoesWithItsLastItem)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    const std::string other = addMedia("song.m4a", "b.m4a");
    addMedia("song.flac", "c.flac");
    sync();
    fs::remove(song);
    sync({"--delete"});
    EXPECT_THAT(pictures(), SizeIs(1)) << "the other song has the same";
    fs::remove(other);
    sync({"--delete"});
    EXPECT_THAT(pictures(), IsEmpty());
}

TEST_F(SyncArtwork, ThatBelongsToNoItemIsRemoved)
{
    addMedia("song.mp3", "a.mp3");
    sync();
    write(device(".kelvane/artwork/0123.jpg"), "of a run that was killed");
    sync();
    EXPECT_THAT(pictures(), SizeIs(1));
}

TEST_F(SyncArtwork, ThatIsGoneIsMadeAgainFromTheCopy)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    sync();
    const std::string before = read(device(pictures().front()));
    fs::remove(device(pictures().front()));
    EXPECT_EQ(summaryOfSync()["unchanged"], 1);
    ASSERT_THAT(pictures(), ElementsAre(pictureOf(song)));
    EXPECT_EQ(read(device(pictures().front())), before);
}

TEST_F(SyncArtwork, OfALibraryFromBeforeIsFoundByTheNextSync)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    const std::string sound = addMedia("song.wav", "c.wav");
    sync();
    fs::remove_all(device(".kelvane/artwork"));
    execute("UPDATE media SET devArtworkPath = NULL");
    execute("DROP INDEX media_artwork");
    execute("PRAGMA user_version = 1");
    EXPECT_THAT(library(), SizeIs(2)) << "it can be listed as it is";
    EXPECT_EQ(summaryOfSync()["unchanged"], 2);
    EXPECT_THAT(pictures(), ElementsAre(pictureOf(song)));
    EXPECT_EQ(pictureOf(sound), "");
    EXPECT_EQ(read(device(".kelvane/library.sqlite")).substr(60, 4), std::string("\0\0\0\2", 4));
}

class ArtworkCommand : public SyncFixture {
protected:
    [[nodiscard]] std::string out() const { return folder("pictures/of all"); }
};

TEST_F(ArtworkCommand, WritesCoversAsTheyAreAndThumbnailsOfTheRest)
{
    addAllKinds();
    const ToolResult result = runTool({"artwork", source("song.mp3"), source("film.mp4"), "-o", out()});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.outputLines(), ElementsAre(out() + "/song.jpg", out() + "/film.jpg"));
    EXPECT_THAT(read(out() + "/song.jpg"), StartsWith("\xff\xd8\xff"));
}

TEST_F(ArtworkCommand, ReplacesNoFile)
{
    addMedia("song.mp3", "song.mp3");
    write(out() + "/song.jpg", "mine");
    const ToolResult result = runTool({"artwork", source("song.mp3"), "--output", out()});
    EXPECT_THAT(result.outputLines(), ElementsAre(out() + "/song 2.jpg"));
    EXPECT_EQ(read(out() + "/song.jpg"), "mine");
}

TEST_F(ArtworkCommand, SaysWhatHasNoPicture)
{
    addMedia("song.wav", "song.wav");
    const ToolResult result = runTool({"artwork", source("song.wav"), "-o", out()});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.outputLines(), ElementsAre(source("song.wav") + ": no picture"));
}

TEST_F(ArtworkCommand, PrintsJson)
{
    addMedia("song.m4a", "song.m4a");
    const ToolResult result = runTool({"artwork", "--json", source("song.m4a"), source("missing.mp3"), "-o", out()});
    EXPECT_EQ(result.code, 1);
    const std::vector<Json> lines = parse(result);
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(lines[0]["path"], source("song.m4a"));
    EXPECT_EQ(lines[0]["artworks"], Json::array({out() + "/song.jpg"}));
    EXPECT_EQ(lines[1]["error"], "No such file or directory");
    EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr("missing.mp3"), HasSubstr("No such file"))));
}

TEST_F(ArtworkCommand, NeedsAFolderThatCanBeMade)
{
    addMedia("song.mp3", "song.mp3");
    EXPECT_EQ(runTool({"artwork", source("song.mp3")}).code, 2);
    const ToolResult result = runTool({"artwork", source("song.mp3"), "-o", source("song.mp3")});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("cannot make the folder")));
}

TEST_F(ArtworkCommand, HelpHasAnExample)
{
    EXPECT_THAT(runTool({"artwork", "--help"}).output, HasSubstr("kelvane artwork ~/Music/*.mp3 -o covers"));
}

TEST_F(ArtworkCommand, InfoShowsWhatTheIndexKnows)
{
    addMedia("film.mp4", "film.mp4");
    const Json film = parse(runTool({"info", "--json", source("film.mp4")})).at(0);
    EXPECT_EQ(film["mediaTypes"], Json::array({"Sound", "Video"}));
    EXPECT_EQ(film["codecs"], Json::array({"AAC", "H.264"}));
    EXPECT_EQ(film["pixelWidth"], 160);
    EXPECT_EQ(film["pixelHeight"], 120);
    EXPECT_NEAR(film["durationSeconds"].get<double>(), 1.0, 0.1);
    EXPECT_THAT(runTool({"info", source("film.mp4")}).output, HasSubstr("codecs            AAC, H.264"));
}

} // namespace
} // namespace kelvane::testsupport
