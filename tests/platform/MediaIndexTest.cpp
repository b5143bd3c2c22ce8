// SPDX-License-Identifier: Apache-2.0
// The index that libkelvane-media.so gives, on real files.
#include <kelvane/platform/FileMetadataIndex.h>

#include <kelvane/foundation/Value.h>

#include "tests/support/MediaFiles.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace kelvane;
using namespace kelvane::testsupport;
namespace fs = std::filesystem;

namespace {

constexpr const char *noTool = "/nowhere/mdls";

Dictionary indexOf(const fs::path &path)
{
    return FileMetadataIndex::propertiesOfFile(path.native(), noTool);
}

const Tags allTags = {{"title", "Tït"}, {"album", "Alb"}, {"artist", "Art"}, {"comment", "Com"}, {"genre", "Folk"},
    {"copyright", "Cop"}, {"composer", "Cmp"}, {"date", "2012-05-03"}, {"track", "3/9"}};

struct Kind {
    const char *name;
    const char *codec;
    const char *options;
};

class MediaIndex : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override { REQUIRE_FFMPEG(); }
    TemporaryFolder folder;
};

TEST_P(MediaIndex, GivesTagsAndStreamsWithTheirTypes)
{
    const fs::path path = makeMedia(folder, GetParam().name, allTags, {}, GetParam().options);
    const Dictionary index = indexOf(path);
    EXPECT_EQ(index["kMDItemTitle"], Value("Tït"));
    EXPECT_EQ(index["kMDItemAuthors"], Value(Array{"Art"}));
    EXPECT_EQ(index["kMDItemMediaTypes"], Value(Array{"Sound"}));
    EXPECT_EQ(index["kMDItemCodecs"], Value(Array{GetParam().codec}));
    EXPECT_EQ(index["kMDItemDurationSeconds"].kind(), Value::Kind::Double);
    EXPECT_NEAR(index["kMDItemDurationSeconds"].doubleValue(), 1.5, 0.1);
    EXPECT_EQ(index["kMDItemAudioChannelCount"], Value(1));
    EXPECT_GT(index["kMDItemAudioSampleRate"].intValue(), 40000);
    EXPECT_EQ(index["kMDItemTotalBitRate"].longLongValue(),
        static_cast<std::int64_t>(
            static_cast<double>(fs::file_size(path)) * 8 / index["kMDItemDurationSeconds"].doubleValue()));
    EXPECT_TRUE(index["kMDItemPixelWidth"].isNil());
}

TEST_P(MediaIndex, GivesTheFileItself)
{
    const fs::path path = makeMedia(folder, GetParam().name, {}, {}, GetParam().options);
    const Dictionary index = indexOf(path);
    EXPECT_EQ(index["kMDItemFSName"], Value(GetParam().name));
    EXPECT_EQ(index["kMDItemFSSize"], Value(fs::file_size(path)));
    EXPECT_EQ(index["kMDItemContentModificationDate"].kind(), Value::Kind::Date);
    EXPECT_TRUE(index["kMDItemTitle"].isNil());
    EXPECT_TRUE(index["kMDItemAuthors"].isNil());
    EXPECT_TRUE(index["kMDItemRecordingYear"].isNil());
}

INSTANTIATE_TEST_SUITE_P(Kinds, MediaIndex,
    testing::Values(Kind{"a.mp3", "MP3", "-b:a 64k"}, Kind{"a.m4a", "AAC", ""}, Kind{"a.flac", "FLAC", ""},
        Kind{"a.ogg", "VORBIS", "-ac 1"}, Kind{"a.opus", "OPUS", ""}, Kind{"a.mka", "AAC", "-c:a aac"},
        Kind{"a.wv", "WAVPACK", ""}, Kind{"a.wav", "PCM", ""}, Kind{"a.wma", "WMAV2", ""},
        Kind{"a.aiff", "PCM", "-write_id3v2 1"}),
    [](const auto &each) { return std::string(each.param.name + 2); });

class MediaIndexFiles : public testing::Test {
protected:
    void SetUp() override { REQUIRE_FFMPEG(); }
    TemporaryFolder folder;
};

TEST_F(MediaIndexFiles, GiveEveryTagOfTheTable)
{
    const Dictionary index = indexOf(makeMedia(folder, "a.mp3", allTags));
    EXPECT_EQ(index["kMDItemAlbum"], Value("Alb"));
    EXPECT_EQ(index["kMDItemComment"], Value("Com"));
    EXPECT_EQ(index["kMDItemMusicalGenre"], Value("Folk"));
    EXPECT_EQ(index["kMDItemCopyright"], Value("Cop"));
    EXPECT_EQ(index["kMDItemComposer"], Value("Cmp"));
    EXPECT_EQ(index["kMDItemRecordingYear"], Value(2012));
    EXPECT_EQ(index["kMDItemAudioTrackNumber"], Value(3));
    EXPECT_EQ(index["kMDItemAudioSampleRate"], Value(44100));
}

TEST_F(MediaIndexFiles, WithACoverAreNoVideo)
{
    const fs::path cover = makeCover(folder, "red");
    for (const char *name : {"a.mp3", "a.m4a", "a.flac"})
        EXPECT_EQ(indexOf(makeMedia(folder, name, {}, cover))["kMDItemMediaTypes"], Value(Array{"Sound"})) << name;
}

TEST_F(MediaIndexFiles, OfFilmsGiveTheirPictureAndCreationDate)
{
    const fs::path path =
        makeMedia(folder, "a.mp4", {{"creation_time", "2012-05-03T07:00:00Z"}}, {}, "-c:v libx264 -pix_fmt yuv420p");
    const Dictionary index = indexOf(path);
    EXPECT_EQ(index["kMDItemMediaTypes"], Value(Array{"Sound", "Video"}));
    EXPECT_EQ(index["kMDItemCodecs"], Value(Array{"AAC", "H.264"}));
    EXPECT_EQ(index["kMDItemPixelWidth"], Value(64));
    EXPECT_EQ(index["kMDItemPixelHeight"], Value(48));
    EXPECT_GT(index["kMDItemVideoBitRate"].intValue(), 0);
    EXPECT_EQ(index["kMDItemContentCreationDate"], Value(Date::fromSecondsSince1970(1336028400)));
}

TEST_F(MediaIndexFiles, WithoutAHeaderOfTheirStreamsAreReadOn)
{
    const std::string film = "-f lavfi -i testsrc=s=64x48:d=1.5 -map 0 -map 1 -c:v mpeg2video ";
    for (const char *name : {"a.mpg", "a.ts"}) {
        const Dictionary index = indexOf(makeMedia(folder, name, {}, {}, film));
        EXPECT_EQ(index["kMDItemMediaTypes"], Value(Array{"Sound", "Video"})) << name;
        EXPECT_EQ(index["kMDItemPixelWidth"], Value(64)) << name;
        EXPECT_NEAR(index["kMDItemDurationSeconds"].doubleValue(), 1.5, 0.2) << name;
    }
    const Dictionary sound = indexOf(makeMedia(folder, "a.aac", {}));
    EXPECT_EQ(sound["kMDItemAudioSampleRate"], Value(44100));
}

TEST_F(MediaIndexFiles, AreKnownByTheirContentNotTheirName)
{
    const fs::path path = makeMedia(folder, "a.m4a", {{"title", "T"}});
    fs::rename(path, folder.path("a.txt"));
    EXPECT_EQ(indexOf(folder.path("a.txt"))["kMDItemTitle"], Value("T"));
}

TEST_F(MediaIndexFiles, OfVariableBitrateGiveItsMean)
{
    const Dictionary index = indexOf(makeMedia(folder, "a.mp3", {}, {}, "-q:a 4"));
    EXPECT_NEAR(index["kMDItemDurationSeconds"].doubleValue(), 1.5, 0.06);
    EXPECT_NEAR(index["kMDItemAudioBitRate"].doubleValue(), index["kMDItemTotalBitRate"].doubleValue(), 8000);
}

TEST(MediaIndexOfOtherFiles, KnowsWhatTheFileSystemKnows)
{
    const TemporaryFolder folder;
    writeAll(folder.path("a.txt"), "text");
    const Dictionary index = indexOf(folder.path("a.txt"));
    EXPECT_EQ(index["kMDItemFSSize"], Value(4));
    EXPECT_TRUE(index["kMDItemMediaTypes"].isNil());
    EXPECT_TRUE(indexOf(folder.path("missing.mp3")).isNull());
    EXPECT_TRUE(indexOf(folder.path()).isNull()) << "a folder";
}

TEST(MediaIndexOfOtherFiles, OpensNoPlaylistAndNothingThatOneNames)
{
    const TemporaryFolder folder;
    writeAll(folder.path("secret"), "x");
    const std::string secret = folder.path("secret").native();
    for (const std::string &list :
        {"#EXTM3U\n#EXTINF:1,\nfile://" + secret + "\n", "ffconcat version 1.0\nfile " + secret,
            std::string("<?xml version='1.0'?><MPD><BaseURL>http://127.0.0.1:9/</BaseURL></MPD>")}) {
        writeAll(folder.path("list.mp3"), list);
        const Dictionary index = indexOf(folder.path("list.mp3"));
        EXPECT_TRUE(index["kMDItemMediaTypes"].isNil()) << list;
        EXPECT_TRUE(index["kMDItemDurationSeconds"].isNil()) << list;
    }
}

} // namespace
