// SPDX-License-Identifier: Apache-2.0
// What Mediadata says of real files, against what an independent reader (mediainfo) says of them. Every difference is in
// the table below, with its reason.
#include <kelvane/media/Mediadata.h>

#include "tests/support/MediaFiles.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace kelvane;
using namespace kelvane::testsupport;
namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

/// Text of a property as both sides are compared in.
using Get = std::string (*)(const Mediadata &);

struct Property {
    const char *name;
    Get ours;
    const char *track; // of mediainfo: "General", "Audio" or "Video"
    const char *key;
    /// What Mediadata gives where nobody knows.
    const char *fallback;
};

std::string text(const String &value)
{
    return value.isNull() ? "(absent)" : value.str();
}

// clang-format off
const Property properties[] = {
    {"title", [](const Mediadata &m) { return text(m.title()); }, "General", "Title", "(name)"},
    {"album", [](const Mediadata &m) { return text(m.album()); }, "General", "Album", "(absent)"},
    {"artist", [](const Mediadata &m) { return text(m.artist()); }, "General", "Performer", "(absent)"},
    {"comment", [](const Mediadata &m) { return text(m.comment()); }, "General", "Comment", ""},
    {"genre", [](const Mediadata &m) { return text(m.genre()); }, "General", "Genre", ""},
    {"albumArtist", [](const Mediadata &m) { return text(m.albumArtist()); }, "General", "Album_Performer", ""},
    {"copyright", [](const Mediadata &m) { return text(m.copyright()); }, "General", "Copyright", "(absent)"},
    {"composer", [](const Mediadata &m) { return text(m.composer()); }, "General", "Composer", ""},
    {"grouping", [](const Mediadata &m) { return text(m.grouping()); }, "General", "Grouping", "(absent)"},
    {"lyrics", [](const Mediadata &m) { return text(m.lyrics()); }, "General", "Lyrics", ""},
    {"year", [](const Mediadata &m) { return std::to_string(m.year()); }, "General", "Recorded_Date", "2014"},
    {"trackNo", [](const Mediadata &m) { return std::to_string(m.trackNo()); }, "General", "Track_Position", "1"},
    {"trackCount", [](const Mediadata &m) { return std::to_string(m.trackCount()); }, "General", "Track_Position_Total", "1"},
    {"discNumber", [](const Mediadata &m) { return std::to_string(m.discNumber()); }, "General", "Part_Position", "1"},
    {"discCount", [](const Mediadata &m) { return std::to_string(m.discCount()); }, "General", "Part_Position_Total", "1"},
    {"duration", [](const Mediadata &m) { return std::to_string(m.duration()); }, "General", "Duration", "1"},
    {"fileSize", [](const Mediadata &m) { return std::to_string(m.fileSize()); }, "General", "FileSize", "1000"},
    {"bitrate", [](const Mediadata &m) { return std::to_string(m.bitrate()); }, "Audio", "BitRate", "128000"},
    {"sampleRate", [](const Mediadata &m) { return std::to_string(m.sampleRate()); }, "Audio", "SamplingRate", "44100"},
    {"channels", [](const Mediadata &m) { return std::to_string(m.channels()); }, "Audio", "Channels", "2"},
};
// clang-format on

struct Difference {
    const char *file;
    const char *property;
    const char *ours;
    const char *reason;
};

// clang-format off
const Difference differences[] = {
    {"mediafile-full.ape", "grouping", "the grouping", "the reader has no such field for this kind of tag"},
    {"mediafile-full.ape", "lyrics", "the lyrics", "the reader has no such field for this kind of tag; exiftool has, and agrees with ours"},
    {"mediafile-full.ape", "trackCount", "3", "the reader has no such field for this kind of tag; exiftool has, and agrees with ours"},
    {"mediafile-full.ape", "discNumber", "4", "the reader has no such field for this kind of tag; exiftool has, and agrees with ours"},
    {"mediafile-full.ape", "discCount", "5", "the reader has no such field for this kind of tag; exiftool has, and agrees with ours"},
    {"mediafile-full.flac", "comment", "the comments", "the reader shows the text as a description"},
    {"mediafile-full.flac", "grouping", "the grouping", "the reader has no such field for this kind of tag"},
    {"mediafile-full.flac", "discNumber", "4", "the reader has no such field for this kind of tag; exiftool has, and agrees with ours"},
    {"mediafile-full.m4a", "bitrate", "65000", "the stream announces 64 kbit/s; the reader divides the few samples that are left in the cut file"},
    {"mediafile-full.ogg", "grouping", "the grouping", "the reader has no such field for this kind of tag"},
    {"mediafile-full.ogg", "discNumber", "4", "the reader has no such field for this kind of tag; exiftool has, and agrees with ours"},
    {"mediafile-full.opus", "comment", "the comments", "the reader shows the text as a description"},
    {"mediafile-full.opus", "grouping", "the grouping", "the reader has no such field for this kind of tag"},
    {"mediafile-full.opus", "discNumber", "4", "the reader has no such field for this kind of tag; exiftool has, and agrees with ours"},
    {"mediafile-full.opus", "bitrate", "53000", "the reader gives no bitrate for this stream; ours is size by time"},
    {"mediafile-full.opus", "sampleRate", "48000", "Opus always plays at 48000 Hz; the reader leaves it out"},
    {"mediafile-full.wma", "grouping", "the grouping", "the reader has no such field for this kind of tag"},
    {"mediafile-full.wma", "lyrics", "the lyrics", "the reader has no such field for this kind of tag"},
    {"mediafile-full.wma", "trackCount", "3", "the reader has no such field for this kind of tag"},
    {"mediafile-full.wma", "discNumber", "4", "the reader has no such field for this kind of tag"},
    {"mediafile-full.wma", "discCount", "5", "the reader has no such field for this kind of tag"},
    {"mediafile-full.wv", "title", "full", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "album", "the album", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "artist", "the artist", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "comment", "the comments", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "genre", "the genre", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "composer", "the composer", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "grouping", "the grouping", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "lyrics", "the lyrics", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "year", "2001", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "trackNo", "2", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "trackCount", "3", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "discNumber", "4", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "discCount", "5", "the reader takes no tags and no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "bitrate", "103000", "the reader takes no stream from this file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "channels", "1", "the reader takes no stream from this file; ffprobe agrees with ours"},
    {"mediafile-image.m4a", "bitrate", "65000", "the stream announces 64 kbit/s; the reader divides the few samples that are left in the cut file"},
    {"mediafile-image.mp3", "bitrate", "66000", "the library divides by the length with the encoder's padding"},
    {"quodlibet-h264_aac.mp4", "bitrate", "14000", "the stream announces 14 kbit/s; the reader divides the few samples that are left in the cut file"},
    {"01 Ebb.mp3", "comment", "Music box", "the comment stands under a name of its own (TXXX), which the reader does not show"},
    {"Bell.wav", "album", "Signals", "the reader takes the artist for a director and the album for the source's name"},
    {"Bell.wav", "artist", "Kelvane", "the reader takes the artist for a director and the album for the source's name"},
    {"Le toit bleu.opus", "comment", "雨の日", "the reader shows the text as a description"},
    {"Le toit bleu.opus", "bitrate", "49000", "the reader gives no bitrate for this stream; ours is size by time"},
    {"Pears.ogg", "comment", "Music box", "the reader shows the text as a description"},
    {"Pears.ogg", "trackCount", "3", "the reader gives both numbers as one, like '2/3'"},
    {"Степь.flac", "comment", "Тростник", "the reader shows the text as a description"},
    {"Степь.flac", "trackCount", "7", "the reader gives both numbers as one, like '2/3'"},
};
// clang-format on

const Difference *differenceOf(const std::string &file, const std::string &property)
{
    const auto found = std::find_if(std::begin(differences), std::end(differences),
        [&](const Difference &each) { return file == each.file && property == each.property; });
    return found == std::end(differences) ? nullptr : &*found;
}

bool hasReader()
{
    static const bool has = runShell("mediainfo --version >/dev/null 2>&1");
    return has;
}

/// The tracks of mediainfo's report, by type; the first of each.
std::map<std::string, Json> report(const fs::path &path)
{
    const TemporaryFolder folder;
    const std::string out = folder.path("report").native();
    runShell("LC_ALL=C.UTF-8 mediainfo --Output=JSON " + quoted(path.native()) + " >" + quoted(out));
    std::map<std::string, Json> tracks;
    const Json json = Json::parse(readAll(out), nullptr, false);
    if (json.is_object())
        for (const Json &track : json["media"]["track"])
            tracks.emplace(track["@type"].get<std::string>(), track);
    return tracks;
}

/// The other reader's value in the form of ours.
std::string expected(const Property &property, const std::map<std::string, Json> &tracks, const fs::path &path)
{
    const auto track = tracks.find(property.track);
    std::string value;
    if (track != tracks.end() && track->second.contains(property.key))
        value = track->second[property.key].get<std::string>();
    if (value.empty())
        return property.fallback == std::string("(name)") ? path.stem().native() : property.fallback;
    const std::string name = property.name;
    if (name == "year")
        return value.substr(0, 4);
    if (name == "duration")
        return std::to_string(std::max(1, static_cast<int>(std::atof(value.c_str()))));
    // "02", "2/3" and "705600.000".
    const bool isNumber = property.fallback[0] >= '0' && property.fallback[0] <= '9' && name != "fileSize";
    if (isNumber)
        return std::to_string(std::atoi(value.c_str()));
    // The reader puts the lines of a text into one.
    for (auto at = value.find(" / "); name == "lyrics" && at != std::string::npos; at = value.find(" / "))
        value.replace(at, 3, "\n");
    return value;
}

std::vector<fs::path> realFiles()
{
    std::vector<fs::path> files;
    for (const fs::path &folder : {fs::path(KELVANE_OWN_SAMPLES) / "Music", fs::path(KELVANE_OWN_SAMPLES) / "Videos",
             fs::path(KELVANE_SAMPLES) / "media"}) {
        std::error_code error;
        for (const auto &entry : fs::directory_iterator(folder, error))
            if (entry.is_regular_file())
                files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class MediadataReaders : public testing::TestWithParam<fs::path> {};

TEST_P(MediadataReaders, AgreeOnEveryProperty)
{
    if (!hasReader())
        GTEST_SKIP() << "mediainfo is not installed";
    const fs::path &path = GetParam();
    Mediadata metadata(AudioMetadata::CreateMetadataForURL(path.native()));
    metadata.setFilePath(path.native());
    metadata.loadMediaData();
    const auto tracks = report(path);
    const std::string file = path.filename().native();
    for (const Property &property : properties) {
        const std::string ours = property.ours(metadata);
        const std::string theirs = expected(property, tracks, path);
        const Difference *difference = differenceOf(file, property.name);
        if (difference)
            EXPECT_EQ(ours, difference->ours) << property.name << ", " << difference->reason;
        else if (property.name == std::string("bitrate")) // the tag library counts whole kilobits
            EXPECT_NEAR(std::atoi(ours.c_str()), std::atoi(theirs.c_str()), 1000) << property.name;
        else
            EXPECT_EQ(ours, theirs) << property.name;
    }
    // Neither libavformat nor the list of audio extensions knows that file.
    const std::uint64_t kind = tracks.count("Video") ? 2 : 1;
    EXPECT_EQ(metadata.tagTypes(), file == "mediafile-full.wma" ? 0 : kind);
}

INSTANTIATE_TEST_SUITE_P(RealFiles, MediadataReaders, testing::ValuesIn(realFiles()), [](const auto &each) {
    std::string name = each.param.filename();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name + '_' + std::to_string(each.index);
});

} // namespace
