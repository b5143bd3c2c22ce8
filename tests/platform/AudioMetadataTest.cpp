// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/AudioMetadata.h>

#include "tests/support/MediaFiles.h"

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <vector>

using namespace kelvane;
using namespace kelvane::testsupport;
namespace fs = std::filesystem;

namespace {

std::unique_ptr<AudioMetadata> open(const fs::path &path)
{
    return AudioMetadata::CreateMetadataForURL(path.native());
}

/// One thing that can be read and, mostly, written.
struct Property {
    std::string name;
    std::function<Value(const AudioMetadata &)> get;
    std::function<void(AudioMetadata &, const Value &)> set;
    Value sample;
};

Property text(const char *name, String (AudioMetadata::*get)() const, void (AudioMetadata::*set)(const String &) = {},
    const char *sample = nullptr)
{
    return {name, [get](const AudioMetadata &file) { return Value((file.*get)()); },
        set ? [set](AudioMetadata &file, const Value &value) { (file.*set)(value.string()); }
            : std::function<void(AudioMetadata &, const Value &)>(),
        String(sample ? sample : (std::string("new ") + name + " \xc3\xa9").c_str())};
}

Property number(const char *name, Value (AudioMetadata::*get)() const, void (AudioMetadata::*set)(const Value &) = {},
    int sample = 1)
{
    return {name, [get](const AudioMetadata &file) { return (file.*get)(); },
        set ? [set](AudioMetadata &file, const Value &value) { (file.*set)(value); }
            : std::function<void(AudioMetadata &, const Value &)>(),
        sample};
}

#define TEXT(name) text(#name, &AudioMetadata::Get##name, &AudioMetadata::Set##name)
#define DATE(name, sample) text(#name, &AudioMetadata::Get##name, &AudioMetadata::Set##name, sample)
#define TEXT_READ_ONLY(name) text(#name, &AudioMetadata::Get##name)
#define NUMBER(name, sample) number(#name, &AudioMetadata::Get##name, &AudioMetadata::Set##name, sample)
#define NUMBER_READ_ONLY(name) number(#name, &AudioMetadata::Get##name)

const std::vector<Property> &properties()
{
    static const std::vector<Property> all{TEXT(Title), TEXT(AlbumTitle), TEXT(Artist), TEXT(Comment), TEXT(Genre),
        TEXT(AlbumArtist), TEXT(Composer), TEXT(Grouping), TEXT(AlbumTitleSortOrder), TEXT(ArtistSortOrder),
        TEXT(AlbumArtistSortOrder), TEXT(ComposerSortOrder), TEXT(TitleSortOrder), TEXT(PodcastURL), TEXT(Lyrics),
        DATE(Year, "1987"), DATE(ReleaseDate, "2012-05-03"), NUMBER(TrackNumber, 7), NUMBER(TrackTotal, 12),
        NUMBER(DiscNumber, 2), NUMBER(DiscTotal, 5), NUMBER(IsPodcast, 1), NUMBER(IsiTunesU, 1),
        TEXT_READ_ONLY(Copyright), TEXT_READ_ONLY(Description), TEXT_READ_ONLY(TVShow), TEXT_READ_ONLY(TVShowNetwork),
        TEXT_READ_ONLY(EpisodeID), TEXT_READ_ONLY(PodcastIdentifier), TEXT_READ_ONLY(iTunesAccount),
        TEXT_READ_ONLY(PurchaseDate), NUMBER_READ_ONLY(MediaType), NUMBER_READ_ONLY(TVEpisode),
        NUMBER_READ_ONLY(TVSeason)};
    return all;
}

bool areTheSameTag(const std::string &a, const std::string &b)
{
    const auto isDate = [](const std::string &name) { return name == "Year" || name == "ReleaseDate"; };
    return a == b || (isDate(a) && isDate(b));
}

void expectSamePictures(const AudioMetadata &a, const AudioMetadata &b)
{
    ASSERT_EQ(a.GetAttachedPictures().size(), b.GetAttachedPictures().size());
    for (std::size_t i = 0; i < a.GetAttachedPictures().size(); ++i)
        EXPECT_EQ(a.GetAttachedPictures()[i].GetData(), b.GetAttachedPictures()[i].GetData());
}

const Tags someTags{{"title", "Old Title"}, {"album", "Old Album"}, {"artist", "Old Artist"},
    {"album_artist", "Old Album Artist"}, {"composer", "Old Composer"}, {"genre", "Jazz"}, {"date", "1999"},
    {"track", "3/9"}, {"comment", "Old Comment"}, {"copyright", "Old Copyright"}, {"lyrics", "Old Lyrics"}};

struct Format {
    const char *name;
    const char *file;
    const char *options;
    bool hasCover;
    /// ffmpeg writes these kinds without an album artist, a copyright…
    bool isComplete;
};

void PrintTo(const Format &format, std::ostream *out)
{
    *out << format.name;
}

class EveryFormat : public testing::TestWithParam<Format> {
protected:
    [[nodiscard]] fs::path make() const
    {
        const Format &format = GetParam();
        if (std::string(format.name) == "Id3v1Only")
            return makeId3v1();
        const fs::path cover = format.hasCover ? makeCover(folder, "red") : fs::path();
        return makeMedia(folder, format.file, someTags, cover, format.options);
    }

    /// ffmpeg writes this tag without texts.
    [[nodiscard]] fs::path makeId3v1() const
    {
        auto path = makeMedia(folder, GetParam().file, {}, {}, GetParam().options);
        const auto field = [](std::string text, std::size_t size) { return text.append(size - text.size(), '\0'); };
        std::string tag = "TAG" + field("Old Title", 30) + field("Old Artist", 30) + field("Old Album", 30) + "1999"
            + field("Old Comment", 29) + '\3' + '\10';
        writeAll(path, readAll(path) + tag);
        return path;
    }

    TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat,
    testing::Values(Format{"Id3v23", "a.mp3", "-id3v2_version 3 -write_id3v1 1", true, true},
        Format{"Id3v24", "a.mp3", "-id3v2_version 4", true, true},
        Format{"Id3v1Only", "a.mp3", "-id3v2_version 0 -write_id3v1 0", false, false},
        Format{"M4a", "a.m4a", "", true, true}, Format{"Mp4Video", "a.mp4", "", false, true},
        Format{"Mp4FastStart", "a.m4a", "-movflags +faststart", true, true}, Format{"Flac", "a.flac", "", true, true},
        Format{"OggVorbis", "a.ogg", "", false, true}, Format{"Opus", "a.opus", "", false, true},
        Format{"Wav", "a.wav", "", false, false}, Format{"Aiff", "a.aiff", "-write_id3v2 1", true, true},
        Format{"Wma", "a.wma", "", false, true}, Format{"WavPack", "a.wv", "", false, true}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace

TEST_P(EveryFormat, ReadsWhatAnotherProgramWrote)
{
    REQUIRE_FFMPEG();
    const auto file = open(make());
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetTitle(), "Old Title");
    EXPECT_EQ(file->GetArtist(), "Old Artist");
    EXPECT_EQ(file->GetAlbumTitle(), "Old Album");
    EXPECT_EQ(file->GetGenre(), "Jazz");
    EXPECT_EQ(file->GetYear(), "1999");
    EXPECT_EQ(file->GetComment(), "Old Comment");
    EXPECT_EQ(file->GetTrackNumber(), Value(3));
    if (GetParam().isComplete) {
        EXPECT_EQ(file->GetTrackTotal(), Value(9));
        EXPECT_EQ(file->GetAlbumArtist(), "Old Album Artist");
        EXPECT_EQ(file->GetComposer(), "Old Composer");
        EXPECT_EQ(file->GetCopyright(), "Old Copyright");
    }
    EXPECT_TRUE(file->GetTitleSortOrder().isNull());
    EXPECT_TRUE(file->GetDiscNumber().isNil());
    EXPECT_EQ(file->GetAttachedPictures().size(), GetParam().hasCover ? 1U : 0U);
    EXPECT_EQ(file->GetAttachedPictureCount(), GetParam().hasCover ? 1U : 0U);
    EXPECT_NEAR(file->GetDuration().doubleValue(), 1.5, 0.1);
    EXPECT_EQ(file->GetSampleRate().intValue(), std::string(GetParam().name) == "Opus" ? 48000 : 44100);
    EXPECT_EQ(file->GetChannelsPerFrame(), Value(1));
    EXPECT_GT(file->GetBitrate().intValue(), 8000) << "bits per second, not kilobits";
}

TEST_P(EveryFormat, EachSetterChangesItsOwnTagAndKeepsEverythingElse)
{
    REQUIRE_FFMPEG();
    const fs::path original = make();
    const auto before = open(original);
    const std::string sound = soundDigest(original);
    const fs::path copy = folder.path("copy" + original.extension().native());
    for (const Property &property : properties()) {
        if (!property.set)
            continue;
        fs::copy_file(original, copy, fs::copy_options::overwrite_existing);
        const auto file = open(copy);
        property.set(*file, property.sample);
        EXPECT_EQ(property.get(*file), property.sample);
        String error;
        ASSERT_TRUE(file->WriteMetadata(&error)) << property.name << ": " << error.c_str();
        const auto after = open(copy);
        ASSERT_TRUE(after) << property.name;
        for (const Property &other : properties()) {
            const bool isChanged = other.name == property.name;
            if (isChanged || !areTheSameTag(other.name, property.name)) {
                EXPECT_EQ(other.get(*after), isChanged ? property.sample : other.get(*before))
                    << other.name << " after setting " << property.name;
            }
        }
        expectSamePictures(*after, *before);
    }
    EXPECT_EQ(soundDigest(copy), sound);
}

TEST_P(EveryFormat, AllSettersAtOnceAreReadBackAndRemovedAgain)
{
    REQUIRE_FFMPEG();
    const fs::path path = make();
    const std::string sound = soundDigest(path);
    const auto original = open(path);
    const auto file = open(path);
    for (const Property &property : properties()) {
        if (property.set && property.name != "Year")
            property.set(*file, property.sample);
    }
    ASSERT_TRUE(file->WriteMetadata());
    const auto written = open(path);
    for (const Property &property : properties()) {
        if (property.set && property.name != "Year") {
            EXPECT_EQ(property.get(*written), property.sample) << property.name;
        }
    }
    EXPECT_EQ(probedTag(path, "title"), "new Title \xc3\xa9") << "as another program reads it";
    EXPECT_EQ(probedTag(path, "artist"), "new Artist \xc3\xa9");
    expectSamePictures(*written, *original);

    for (const Property &property : properties()) {
        if (property.set)
            property.set(*written, nullptr);
    }
    ASSERT_TRUE(written->WriteMetadata());
    const auto cleared = open(path);
    ASSERT_TRUE(cleared);
    for (const Property &property : properties()) {
        if (property.set) {
            EXPECT_TRUE(property.get(*cleared).isNil())
                << property.name << property.get(*cleared).description().c_str();
        }
    }
    expectSamePictures(*cleared, *original);
    EXPECT_EQ(soundDigest(path), sound);
}

TEST_P(EveryFormat, IsRecognisedUnderALyingExtension)
{
    REQUIRE_FFMPEG();
    const fs::path path = make();
    const char *lie = path.extension() == ".flac" ? "lie.mp3" : "lie.flac";
    fs::rename(path, folder.path(lie));
    const auto file = open(folder.path(lie));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetTitle(), "Old Title");
    file->SetTitle("New");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_EQ(open(folder.path(lie))->GetTitle(), "New");
}

TEST(AudioMetadata, Mp4ItemsOfPodcastsAndShowsAreRead)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.m4a",
        {{"show", "The Show"}, {"network", "The Network"}, {"episode_id", "E7"}, {"season_number", "3"},
            {"episode_sort", "7"}, {"media_type", "10"}, {"description", "About it"}, {"lyrics", "La la"},
            {"grouping", "Group"}, {"date", "2012-05-03T07:00:00Z"}, {"disc", "2/3"}, {"podcast", "1"}});
    const auto file = open(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetTVShow(), "The Show");
    EXPECT_EQ(file->GetTVShowNetwork(), "The Network");
    EXPECT_EQ(file->GetEpisodeID(), "E7");
    EXPECT_EQ(file->GetTVSeason(), Value(3));
    EXPECT_EQ(file->GetTVEpisode(), Value(7));
    EXPECT_EQ(file->GetMediaType(), Value(10));
    EXPECT_EQ(file->GetDescription(), "About it");
    EXPECT_EQ(file->GetLyrics(), "La la");
    EXPECT_EQ(file->GetGrouping(), "Group");
    EXPECT_EQ(file->GetReleaseDate(), "2012-05-03T07:00:00Z");
    EXPECT_EQ(file->GetDiscNumber(), Value(2));
    EXPECT_EQ(file->GetDiscTotal(), Value(3));
}

TEST(AudioMetadata, AnUntouchedObjectWritesNothing)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.mp3", someTags);
    const auto file = open(path);
    fs::remove(path);
    EXPECT_TRUE(file->WriteMetadata());
    EXPECT_FALSE(fs::exists(path));
}

TEST(AudioMetadata, WritingKeepsModeAndAttributesAndLeavesNothingBeside)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.flac", someTags);
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    const bool hasAttributes = ::setxattr(path.c_str(), "user.origin", "camera", 6, 0) == 0;
    const auto file = open(path);
    file->SetTitle("New");
    ASSERT_TRUE(file->WriteMetadata());
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    char value[16] = {};
    if (hasAttributes) {
        EXPECT_EQ(::getxattr(path.c_str(), "user.origin", value, sizeof value), 6);
        EXPECT_STREQ(value, "camera");
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}

TEST(AudioMetadata, WritingThroughASymbolicLinkChangesTheFileItLeadsTo)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.mp3", someTags);
    fs::create_directory(folder.path("links"));
    const fs::path link = folder.path("links") / "b.mp3";
    fs::create_symlink(path, link);
    const auto file = open(link);
    file->SetTitle("New");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(open(path)->GetTitle(), "New");
}

TEST(AudioMetadata, WritingToAFileThatIsGoneFailsAndSaysWhy)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.mp3", someTags);
    const auto file = open(path);
    fs::remove(path);
    file->SetTitle("New");
    String error;
    EXPECT_FALSE(file->WriteMetadata(&error));
    EXPECT_NE(error.view().find("a.mp3"), std::string_view::npos);
    EXPECT_NE(error.view().find("No such file"), std::string_view::npos);
}

TEST(AudioMetadata, OldFramesWithoutASuccessorSurviveAWrite)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.mp3", {}, {}, "-id3v2_version 0 -write_id3v1 0");
    using namespace std::string_literals;
    const std::string frame = "RVAD\0\0\0\x06\0\0\x03\x10\0\x7f\0\x7f"s;
    const std::string tag = "ID3\x03\0\0\0\0\0"s + static_cast<char>(frame.size() + 20) + frame + std::string(20, '\0');
    writeAll(path, tag + readAll(path));
    const auto file = open(path);
    ASSERT_TRUE(file);
    file->SetTitle("New");
    ASSERT_TRUE(file->WriteMetadata());
    const std::string bytes = readAll(path);
    EXPECT_EQ(bytes.substr(0, 4), "ID3\x03");
    EXPECT_NE(bytes.find(frame), std::string::npos);
}

TEST(AudioMetadata, Mp4ItemsThatNobodyKnowsSurviveAWrite)
{
    REQUIRE_FFMPEG();
    using namespace std::string_literals;
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.m4a", {{"title", "T"}, {"comment", "xxxxxxxxxx"}});
    // The comment's atom becomes one that no library knows, with a binary type.
    std::string bytes = readAll(path);
    const auto at = bytes.find("\251cmt");
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at, 4, "zzzz");
    bytes[at + 15] = '\x15';
    writeAll(path, bytes);
    const auto file = open(path);
    file->SetIsiTunesU(1);
    file->SetTitle("A longer title than before");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_NE(readAll(path).find("zzzz\0\0\0\x1a"
                                 "data\0\0\0\x15\0\0\0\0xxxxxxxxxx"s),
        std::string::npos);
    EXPECT_NE(readAll(path).find("itnu\0\0\0\x11"
                                 "data\0\0\0\x15\0\0\0\0\x01"s),
        std::string::npos);
}
