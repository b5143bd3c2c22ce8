// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/Mediadata.h>

#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/Utils.h>

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>

using namespace kelvane;
using namespace kelvane::testsupport;
namespace fs = std::filesystem;

namespace {

/// A reader whose index and renderer the test provides.
class Indexed : public Mediadata {
public:
    explicit Indexed(Dictionary properties, std::unique_ptr<AudioMetadata> tags = nullptr)
        : Mediadata(std::move(tags)),
          _properties(std::move(properties))
    {
        setFilePath("/nowhere/song.xyz");
        loadMediaData();
    }

    bool hasThumbnail = false;
    mutable int questions = 0;

protected:
    [[nodiscard]] Dictionary indexProperties() const override
    {
        ++questions;
        return _properties;
    }
    [[nodiscard]] bool saveThumbnail(const String &jpegPath) const override
    {
        if (hasThumbnail)
            writeAll(jpegPath.str(), "picture");
        return hasThumbnail;
    }

private:
    Dictionary _properties;
};

/// The tags of an MP3 file without any, for tests to set: what is set is what the getters give.
class WithTags : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_FFMPEG();
        _path = makeMedia(_folder, "tone.mp3", {}, {}, "-id3v2_version 0");
    }

    std::unique_ptr<AudioMetadata> tags() { return AudioMetadata::CreateMetadataForURL(_path.native()); }
    [[nodiscard]] const fs::path &path() const { return _path; }
    TemporaryFolder &folder() { return _folder; }

private:
    TemporaryFolder _folder;
    fs::path _path;
};

using MediadataTags = WithTags;

struct TextRow {
    const char *name;
    String (Mediadata::*get)() const;
    void (AudioMetadata::*setTag)(const String &);
    const char *key;
    /// What comes out where neither source has it.
    const char *fallback;
};

const TextRow textRows[] = {{"album", &Mediadata::album, &AudioMetadata::SetAlbumTitle, "kMDItemAlbum", nullptr},
    {"comment", &Mediadata::comment, &AudioMetadata::SetComment, "kMDItemComment", ""},
    {"genre", &Mediadata::genre, &AudioMetadata::SetGenre, "kMDItemMusicalGenre", ""},
    {"composer", &Mediadata::composer, &AudioMetadata::SetComposer, "kMDItemComposer", ""},
    {"copyright", &Mediadata::copyright, nullptr, "kMDItemCopyright", nullptr},
    {"albumArtist", &Mediadata::albumArtist, &AudioMetadata::SetAlbumArtist, nullptr, ""},
    {"feedURL", &Mediadata::feedURL, &AudioMetadata::SetPodcastURL, nullptr, ""},
    {"podcastURL", &Mediadata::podcastURL, &AudioMetadata::SetPodcastURL, nullptr, ""},
    {"lyrics", &Mediadata::lyrics, &AudioMetadata::SetLyrics, nullptr, ""},
    {"description", &Mediadata::description, nullptr, nullptr, ""},
    {"tvShow", &Mediadata::tvShow, nullptr, nullptr, ""},
    {"tvshowNetWork", &Mediadata::tvshowNetWork, nullptr, nullptr, ""},
    {"episodeID", &Mediadata::episodeID, nullptr, nullptr, ""},
    {"podcastIdentifier", &Mediadata::podcastIdentifier, nullptr, nullptr, ""},
    {"iTunesAccount", &Mediadata::iTunesAccount, nullptr, nullptr, ""},
    {"grouping", &Mediadata::grouping, &AudioMetadata::SetGrouping, nullptr, nullptr},
    {"albumSort", &Mediadata::albumSort, &AudioMetadata::SetAlbumTitleSortOrder, nullptr, nullptr},
    {"artistSort", &Mediadata::artistSort, &AudioMetadata::SetArtistSortOrder, nullptr, nullptr},
    {"albumArtistSort", &Mediadata::albumArtistSort, &AudioMetadata::SetAlbumArtistSortOrder, nullptr, nullptr},
    {"composerSort", &Mediadata::composerSort, &AudioMetadata::SetComposerSortOrder, nullptr, nullptr},
    {"titleSort", &Mediadata::titleSort, &AudioMetadata::SetTitleSortOrder, nullptr, nullptr}};

void removeAll(const std::vector<String> &paths)
{
    for (const String &path : paths)
        fs::remove(path.str());
}

} // namespace

TEST(Mediadata, WithoutTagsAndIndexEverythingHasItsDefault)
{
    Mediadata metadata(nullptr);
    metadata.setFilePath("/nowhere/My Song.flac");
    EXPECT_EQ(metadata.title(), "My Song");
    EXPECT_TRUE(metadata.artist().isNull());
    EXPECT_EQ(metadata.year(), 2014);
    EXPECT_EQ(metadata.trackNo(), 1);
    EXPECT_EQ(metadata.trackCount(), 1);
    EXPECT_EQ(metadata.discNumber(), 1);
    EXPECT_EQ(metadata.discCount(), 1);
    EXPECT_EQ(metadata.tvEpisode(), 1);
    EXPECT_EQ(metadata.season(), 1);
    EXPECT_EQ(metadata.duration(), 1);
    EXPECT_EQ(metadata.sampleRate(), 44100);
    EXPECT_EQ(metadata.channels(), 2);
    EXPECT_EQ(metadata.bitrate(), 128000);
    EXPECT_EQ(metadata.audioformat(), 301);
    EXPECT_EQ(metadata.mediaType(), 0);
    EXPECT_EQ(metadata.isPodcast(), 0);
    EXPECT_EQ(metadata.isiTunesU(), 0);
    EXPECT_EQ(metadata.fileSize(), 1000);
    EXPECT_EQ(metadata.tagTypes(), 0U);
    EXPECT_TRUE(metadata.addedTime().isNull());
    EXPECT_TRUE(metadata.releasedDate().isNull());
    EXPECT_TRUE(metadata.artworks().empty());
    for (const TextRow &row : textRows)
        EXPECT_EQ((metadata.*row.get)(), String(row.fallback)) << row.name;
}

TEST(Mediadata, WithoutAPathNothingIsAsked)
{
    Mediadata metadata(nullptr);
    metadata.loadMediaData();
    EXPECT_TRUE(metadata.title().isNull());
    EXPECT_EQ(metadata.fileSize(), 1000);
    EXPECT_EQ(metadata.tagTypes(), 0U);
    EXPECT_TRUE(metadata.artworks().empty());
}

TEST(Mediadata, SettersWithoutATagReaderDoNothing)
{
    Mediadata metadata(nullptr);
    metadata.setTitle("x");
    metadata.setYear(1999);
    metadata.setTrackNo(3);
    metadata.setReleasedDate(Date(0.0));
    EXPECT_TRUE(metadata.title().isNull());
    EXPECT_EQ(metadata.year(), 2014);
}

TEST_F(MediadataTags, TextsComeFromTheTagThenTheIndexThenTheirDefault)
{
    for (const TextRow &row : textRows) {
        Dictionary properties = Dictionary::empty();
        if (row.key)
            properties.set(row.key, "from the index");
        const Indexed silent(properties, tags());
        EXPECT_EQ((silent.*row.get)(), String(row.key ? "from the index" : row.fallback)) << row.name;
        if (!row.setTag)
            continue;
        auto reader = tags();
        (*reader.*row.setTag)("from the tag");
        EXPECT_EQ((Indexed(properties, std::move(reader)).*row.get)(), "from the tag") << row.name;
    }
}

TEST_F(MediadataTags, AnEmptyTagAsksTheIndex)
{
    auto reader = tags();
    reader->SetTitle("");
    reader->SetAlbumTitle("");
    const Indexed metadata({{"kMDItemTitle", "Index Title"}}, std::move(reader));
    EXPECT_EQ(metadata.title(), "Index Title");
    EXPECT_TRUE(metadata.album().isNull());
}

TEST(Mediadata, AnIndexTitleThatIsEmptyEndsTheSearch)
{
    EXPECT_TRUE(Indexed({{"kMDItemTitle", ""}, {"kMDItemFSName", "name.mp3"}}).title() == "");
    EXPECT_EQ(Indexed({{"kMDItemFSName", "the.name.mp3"}}).title(), "the.name");
    EXPECT_EQ(Indexed({{"kMDItemAlbum", "x"}}).title(), "song");
}

TEST_F(MediadataTags, TheArtistIsTheTagThenTheLastAuthorThenTheTagAsItWas)
{
    const Dictionary authors{{"kMDItemAuthors", Array{"First", "Last"}}};
    auto reader = tags();
    reader->SetArtist("Tag");
    EXPECT_EQ(Indexed(authors, std::move(reader)).artist(), "Tag");
    EXPECT_EQ(Indexed(authors, tags()).artist(), "Last");
    reader = tags();
    reader->SetArtist("");
    EXPECT_TRUE(Indexed({{"kMDItemAuthors", Array::empty()}}, std::move(reader)).artist() == "");
    EXPECT_TRUE(Indexed({{"kMDItemAuthors", Array::empty()}}, tags()).artist().isNull());
}

TEST_F(MediadataTags, AGenreWithITunesAnywhereIsITunesU)
{
    for (const char *genre : {"iTunes", "iTunes U|Business", "My iTunes list"}) {
        auto reader = tags();
        reader->SetGenre(genre);
        EXPECT_EQ(Indexed({{"a", "b"}}, std::move(reader)).genre(), "iTunes U");
        EXPECT_EQ(Indexed({{"kMDItemMusicalGenre", genre}}).genre(), "iTunes U");
    }
    EXPECT_EQ(Indexed({{"kMDItemMusicalGenre", "itunes"}}).genre(), "itunes");
}

TEST_F(MediadataTags, TheYearIsTheNumberThatTheTagBeginsWith)
{
    const Dictionary properties{{"kMDItemRecordingYear", 1970}};
    for (const auto &[text, year] : {std::pair{"1999", 1999}, {"2012-05-03", 2012}, {"abc", 0}, {"", 1970}}) {
        auto reader = tags();
        reader->SetYear(text);
        EXPECT_EQ(Indexed(properties, std::move(reader)).year(), year) << text;
    }
    EXPECT_EQ(Indexed({{"kMDItemRecordingYear", "1971"}}).year(), 1971);
}

TEST_F(MediadataTags, NumbersComeFromTheTagThenTheIndex)
{
    const Dictionary properties{{"kMDItemAudioTrackNumber", 9}, {"kMDItemDurationSeconds", 12.9},
        {"kMDItemAudioBitRate", 96000}, {"kMDItemTotalBitRate", 500}, {"kMDItemAudioSampleRate", 22050.0},
        {"kMDItemAudioChannelCount", 6}};
    const Indexed index(properties);
    EXPECT_EQ(index.trackNo(), 9);
    EXPECT_EQ(index.duration(), 12) << "cut, not rounded";
    EXPECT_EQ(index.bitrate(), 96000);
    EXPECT_EQ(index.sampleRate(), 22050);
    EXPECT_EQ(index.channels(), 6);
    EXPECT_EQ(Indexed({{"kMDItemTotalBitRate", 64000}}).bitrate(), 64000);

    auto reader = tags();
    reader->SetTrackNumber(4);
    reader->SetTrackTotal(5);
    reader->SetDiscNumber(2);
    reader->SetDiscTotal(3);
    reader->SetIsPodcast(1);
    reader->SetIsiTunesU(1);
    const int bitrate = reader->GetBitrate().intValue();
    const Indexed both(properties, std::move(reader));
    EXPECT_EQ(both.trackNo(), 4);
    EXPECT_EQ(both.trackCount(), 5);
    EXPECT_EQ(both.discNumber(), 2);
    EXPECT_EQ(both.discCount(), 3);
    EXPECT_EQ(both.isPodcast(), 1);
    EXPECT_EQ(both.isiTunesU(), 1);
    EXPECT_EQ(both.duration(), 1) << "1.5 seconds";
    EXPECT_EQ(both.bitrate(), bitrate);
    EXPECT_EQ(both.sampleRate(), 44100);
    EXPECT_EQ(both.channels(), 1);
}

TEST(Mediadata, ATagDurationThatConvertsToZeroGivesOneWithoutAskingTheIndex)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.flac", {}, {}, "-t 0.4");
    const Indexed metadata({{"kMDItemDurationSeconds", 100}}, AudioMetadata::CreateMetadataForURL(path.native()));
    EXPECT_EQ(metadata.duration(), 1);
    EXPECT_EQ(Indexed({{"kMDItemDurationSeconds", 0.9}}).duration(), 1);
}

TEST(Mediadata, TheBitrateIsEstimatedInTheSettledSteps)
{
    struct Row {
        std::int64_t size;
        int duration;
        int bitrate;
    };
    for (const Row &row : {Row{4000000, 100, 320000}, {6000000, 100, 45979}, {3199999, 100, 128000},
             {3200000, 100, 256000}, {3999999, 100, 256000}, {4999999, 100, 320000}, {5000000, 100, 38316},
             {400000000, 1, 128000}, {4000000, 0, 128000}, {1000000000000, 3, 2147483647}}) {
        const Indexed metadata({{"kMDItemFSSize", row.size}, {"kMDItemDurationSeconds", row.duration}});
        EXPECT_EQ(metadata.bitrate(), row.bitrate) << row.size;
    }
}

TEST(Mediadata, AListOfMediaTypesDecidesTheClass)
{
    const auto typesOf = [](Array types) { return Indexed({{"kMDItemMediaTypes", std::move(types)}}).tagTypes(); };
    EXPECT_EQ(typesOf({"Sound", "Video"}), 2U);
    EXPECT_EQ(typesOf({"Video", "Sound"}), 2U);
    EXPECT_EQ(typesOf({"Sound"}), 1U);
    EXPECT_EQ(typesOf({"Image"}), 1U);
    EXPECT_EQ(typesOf(Array::empty()), 0U);
}

TEST(Mediadata, WithoutMediaTypesTheExtensionDecidesTheClass)
{
    for (const auto &[path, type] : {std::pair{"/a/b.mp3", 1U}, {"/a/b.MP4", 2U}, {"/a/b.m4a", 1U}, {"/a/b.txt", 0U}}) {
        Mediadata metadata(nullptr);
        metadata.setFilePath(path);
        EXPECT_EQ(metadata.tagTypes(), type) << path;
    }
}

TEST(Mediadata, TheSizeComesFromTheIndexThenTheFile)
{
    const TemporaryFolder folder;
    writeAll(folder.path("a.bin"), std::string(4321, 'x'));
    writeAll(folder.path("empty.bin"), "");
    Mediadata metadata(nullptr);
    metadata.setFilePath(folder.string("a.bin"));
    EXPECT_EQ(metadata.fileSize(), 4321);
    metadata.setFilePath(folder.string("empty.bin"));
    EXPECT_EQ(metadata.fileSize(), 1000);
    EXPECT_EQ(Indexed({{"kMDItemFSSize", 77}}).fileSize(), 77);
    EXPECT_EQ(Indexed({{"kMDItemFSSize", 0}}).fileSize(), 1000);
}

TEST(Mediadata, DatesComeFromTheIndexThenTheFile)
{
    const Indexed index({{"kMDItemContentCreationDate", Date(100)}, {"kMDItemContentModificationDate", Date(200)}});
    EXPECT_EQ(index.addedTime(), Date(100));
    EXPECT_EQ(index.modifiedTime(), Date(200));
    EXPECT_EQ(index.releasedDate(), Date(200));
    EXPECT_EQ(index.purchasedDate(), Date(200));
    const TemporaryFolder folder;
    writeAll(folder.path("a.bin"), "x");
    Mediadata file(nullptr);
    file.setFilePath(folder.string("a.bin"));
    EXPECT_EQ(file.addedTime(), Utils::createTime(folder.string("a.bin")));
    EXPECT_EQ(file.modifiedTime(), Utils::ModifyTime(folder.string("a.bin")));
    EXPECT_FALSE(file.modifiedTime().isNull());
}

TEST_F(MediadataTags, TheReleaseDateIsReadFromTheTagInBothForms)
{
    const Dictionary properties{{"kMDItemContentModificationDate", Date(200)}};
    const auto released = [&](const char *text) {
        auto reader = tags();
        reader->SetReleaseDate(text);
        return Indexed(properties, std::move(reader)).releasedDate();
    };
    const Date day = Date::fromSecondsSince1970(1336028400);
    EXPECT_EQ(released("2012-05-03T07:00:00Z"), day);
    EXPECT_EQ(released("2012-05-03 07:00:00 +0000"), day);
    EXPECT_EQ(released("2012-05-03"), dateValue("2012-05-03"));
    EXPECT_EQ(released("2012"), Date(200)) << "a year alone is no date";
    EXPECT_EQ(released("soon"), Date(200));
    EXPECT_EQ(released("2012-02-31T07:00:00Z").isNull(), false);
    EXPECT_EQ(released("recorded on 2012-05-03"), dateValue("2012-05-03"));
}

TEST(Mediadata, ThePurchaseDateIsReadFromTheTagElseItIsTheReleaseDate)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path =
        makeMedia(folder, "a.flac", {{"PURCHASEDATE", "2011-01-02T03:04:05Z"}, {"date", "2012-05-03T07:00:00Z"}});
    const Indexed bought({{"a", "b"}}, AudioMetadata::CreateMetadataForURL(path.native()));
    EXPECT_EQ(bought.purchasedDate(), Date::fromSecondsSince1970(1293937445));
    const auto other = makeMedia(folder, "b.flac", {{"date", "2012-05-03T07:00:00Z"}});
    const Indexed released({{"a", "b"}}, AudioMetadata::CreateMetadataForURL(other.native()));
    EXPECT_EQ(released.purchasedDate(), Date::fromSecondsSince1970(1336028400));
}

TEST(Mediadata, ShowsAreReadFromTheTags)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.m4a",
        {{"show", "Show"}, {"network", "Net"}, {"episode_id", "E7"}, {"season_number", "3"}, {"episode_sort", "7"},
            {"media_type", "10"}, {"description", "About"}});
    Mediadata metadata(AudioMetadata::CreateMetadataForURL(path.native()));
    EXPECT_EQ(metadata.tvShow(), "Show");
    EXPECT_EQ(metadata.tvshowNetWork(), "Net");
    EXPECT_EQ(metadata.episodeID(), "E7");
    EXPECT_EQ(metadata.season(), 3);
    EXPECT_EQ(metadata.tvEpisode(), 7);
    EXPECT_EQ(metadata.mediaType(), 10);
    EXPECT_EQ(metadata.description(), "About");
}

TEST(Mediadata, TagsWithoutASetterCountMoreThanTheIndex)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(
        folder, "a.m4a", {{"copyright", "Tag"}, {"episode_sort", "0"}, {"season_number", "0"}, {"network", "Net"}});
    const Indexed metadata({{"kMDItemCopyright", "Index"}}, AudioMetadata::CreateMetadataForURL(path.native()));
    EXPECT_EQ(metadata.copyright(), "Tag");
    EXPECT_EQ(metadata.tvshowNetWork(), "Net");
    EXPECT_EQ(metadata.season(), 1) << "a number that is 0 is none";
    EXPECT_EQ(metadata.tvEpisode(), 1);
}

TEST(Mediadata, AnIndexThatLiesAboutSizeAndTimeDoesNoHarm)
{
    for (const std::int64_t size : {INT64_MIN, std::int64_t{-1}, INT64_MAX})
        for (const double seconds : {-1.0, -1e30, 1e30})
            EXPECT_NE(Indexed({{"kMDItemFSSize", size}, {"kMDItemDurationSeconds", seconds}}).bitrate(), 0);
}

TEST(Mediadata, TheIndexIsAskedOnce)
{
    Indexed known({{"kMDItemTitle", "T"}});
    known.loadMediaData();
    EXPECT_EQ(known.questions, 0 + 1);
    Indexed unknown(nullptr);
    unknown.loadMediaData();
    EXPECT_EQ(unknown.questions, 2) << "nothing was loaded, so it is asked again";
}

TEST(Mediadata, PicturesAreWrittenUnchangedToFilesOfTheirOwn)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto red = makeCover(folder, "red");
    const auto path = makeMedia(folder, "a.mp3", {}, red);
    Indexed metadata({{"a", "b"}}, AudioMetadata::CreateMetadataForURL(path.native()));
    metadata.hasThumbnail = true;
    const auto first = metadata.artworks();
    const auto second = metadata.artworks();
    ASSERT_EQ(first.size(), 1U);
    ASSERT_EQ(second.size(), 1U);
    EXPECT_NE(first[0], second[0]);
    EXPECT_TRUE(first[0].view().ends_with(".jpg"));
    EXPECT_EQ(fs::path(first[0].str()).filename().native().size(), 36U + 4U);
    EXPECT_EQ(readAll(first[0].str()), readAll(red));
    removeAll(first);
    removeAll(second);
}

TEST(Mediadata, TwoPicturesGiveTwoFiles)
{
    const fs::path sample = fs::path(KELVANE_SAMPLES) / "media" / "mediafile-image.flac";
    if (!fs::exists(sample))
        GTEST_SKIP() << "no sample " << sample;
    const Mediadata metadata(AudioMetadata::CreateMetadataForURL(sample.native()));
    const auto paths = metadata.artworks();
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_NE(readAll(paths[0].str()), readAll(paths[1].str()));
    removeAll(paths);
}

TEST_F(MediadataTags, WithoutPicturesTheThumbnailIsListedIfItWasSaved)
{
    Indexed metadata({{"a", "b"}}, tags());
    EXPECT_TRUE(metadata.artworks().empty());
    metadata.hasThumbnail = true;
    const auto paths = metadata.artworks();
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(readAll(paths[0].str()), "picture");
    removeAll(paths);
}

TEST(Mediadata, APictureIsListedEvenIfItCouldNotBeWritten)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.mp3", {}, makeCover(folder, "red"));
    const Mediadata metadata(AudioMetadata::CreateMetadataForURL(path.native()));
    ::setenv("TMPDIR", "/proc", 1); // a folder in which nobody can make a file
    const auto paths = metadata.artworks();
    ::unsetenv("TMPDIR");
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(paths.front().str())) << paths.front().str();
}

TEST_F(MediadataTags, EverySetterReachesTheTags)
{
    Mediadata metadata(tags());
    metadata.setTitle("t1");
    metadata.setAlbum("t2");
    metadata.setArtist("t3");
    metadata.setComment("t4");
    metadata.setGenre("t5");
    metadata.setAlbumArtist("t6");
    metadata.setComposer("t7");
    metadata.setGrouping("t8");
    metadata.setAlbumSort("t9");
    metadata.setArtistSort("t10");
    metadata.setAlbumArtistSort("t11");
    metadata.setComposerSort("t12");
    metadata.setTitleSort("t13");
    metadata.setFeedURL("t14");
    metadata.setLyrics("t15");
    metadata.setYear(1987);
    metadata.setTrackNo(3);
    metadata.setTrackCount(4);
    metadata.setDiscNumber(5);
    metadata.setDiscCount(6);
    metadata.setIsPodcast(1);
    metadata.setIsiTunesU(1);
    metadata.setReleasedDate(Date::fromSecondsSince1970(1336028400));
    EXPECT_EQ(metadata.audioMetadata()->GetReleaseDate(), "2012-05-03 07:00:00 +0000");
    EXPECT_EQ(metadata.audioMetadata()->GetYear(), "1987");
    ASSERT_TRUE(metadata.audioMetadata()->WriteMetadata());

    const Mediadata again(tags());
    EXPECT_EQ(again.title(), "t1");
    EXPECT_EQ(again.album(), "t2");
    EXPECT_EQ(again.artist(), "t3");
    EXPECT_EQ(again.comment(), "t4");
    EXPECT_EQ(again.genre(), "t5");
    EXPECT_EQ(again.albumArtist(), "t6");
    EXPECT_EQ(again.composer(), "t7");
    EXPECT_EQ(again.grouping(), "t8");
    EXPECT_EQ(again.albumSort(), "t9");
    EXPECT_EQ(again.artistSort(), "t10");
    EXPECT_EQ(again.albumArtistSort(), "t11");
    EXPECT_EQ(again.composerSort(), "t12");
    EXPECT_EQ(again.titleSort(), "t13");
    EXPECT_EQ(again.feedURL(), "t14");
    EXPECT_EQ(again.podcastURL(), "t14");
    EXPECT_EQ(again.lyrics(), "t15");
    EXPECT_EQ(again.year(), 1987);
    EXPECT_EQ(again.trackNo(), 3);
    EXPECT_EQ(again.trackCount(), 4);
    EXPECT_EQ(again.discNumber(), 5);
    EXPECT_EQ(again.discCount(), 6);
    EXPECT_EQ(again.isPodcast(), 1);
    EXPECT_EQ(again.isiTunesU(), 1);
    EXPECT_EQ(again.releasedDate(), Date::fromSecondsSince1970(1336028400));
}
