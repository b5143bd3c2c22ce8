// SPDX-License-Identifier: Apache-2.0
// The rest of what Mediadata says of real files, photos too: names for sorting, podcasts, films in parts, dates, pictures
// and whatever else mediainfo does not show, against exiftool, and stat for the file system. Every difference is in the
// table below, with its reason.
#include <kelvane/media/Mediadata.h>

#include "tests/support/MediaFiles.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace kelvane;
using namespace kelvane::testsupport;
namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

using Get = std::string (*)(const Mediadata &);

std::string text(const String &value)
{
    return value.isNull() ? "(absent)" : value.str();
}

std::string seconds(const Date &date)
{
    return date.isNull() ? "(absent)" : std::to_string(std::llround(std::floor(date.secondsSince1970())));
}

struct Property {
    const char *name;
    Get ours;
    /// What exiftool calls it in MP4, ID3v2 and other files.
    std::vector<const char *> keys;
    /// What Mediadata gives where nobody knows; of dates, the next place to look at.
    const char *fallback;
};

// clang-format off
const Property properties[] = {
    {"albumSort", [](const Mediadata &m) { return text(m.albumSort()); }, {"SortAlbum", "AlbumSortOrder"}, "(absent)"},
    {"artistSort", [](const Mediadata &m) { return text(m.artistSort()); }, {"SortArtist", "PerformerSortOrder"}, "(absent)"},
    {"albumArtistSort", [](const Mediadata &m) { return text(m.albumArtistSort()); }, {"SortAlbumArtist", "AlbumArtistSortOrder"}, "(absent)"},
    {"composerSort", [](const Mediadata &m) { return text(m.composerSort()); }, {"SortComposer", "ComposerSortOrder"}, "(absent)"},
    {"titleSort", [](const Mediadata &m) { return text(m.titleSort()); }, {"SortName", "TitleSortOrder"}, "(absent)"},
    {"grouping", [](const Mediadata &m) { return text(m.grouping()); }, {"Grouping", "ContentGroupDescription"}, "(absent)"},
    {"lyrics", [](const Mediadata &m) { return text(m.lyrics()); }, {"Lyrics"}, ""},
    {"feedURL", [](const Mediadata &m) { return text(m.feedURL()); }, {"PodcastURL"}, ""},
    {"podcastURL", [](const Mediadata &m) { return text(m.podcastURL()); }, {"PodcastURL"}, ""},
    {"podcastIdentifier", [](const Mediadata &m) { return text(m.podcastIdentifier()); }, {"EpisodeGlobalUniqueID", "PodcastID"}, ""},
    {"description", [](const Mediadata &m) { return text(m.description()); }, {"Description", "PodcastDescription"}, ""},
    {"tvShow", [](const Mediadata &m) { return text(m.tvShow()); }, {"TVShow"}, ""},
    {"tvshowNetWork", [](const Mediadata &m) { return text(m.tvshowNetWork()); }, {"TVNetworkName"}, ""},
    {"episodeID", [](const Mediadata &m) { return text(m.episodeID()); }, {"TVEpisodeID"}, ""},
    {"iTunesAccount", [](const Mediadata &m) { return text(m.iTunesAccount()); }, {"AppleStoreAccount"}, ""},
    {"mediaType", [](const Mediadata &m) { return std::to_string(m.mediaType()); }, {"MediaType"}, "0"},
    {"tvEpisode", [](const Mediadata &m) { return std::to_string(m.tvEpisode()); }, {"TVEpisode"}, "1"},
    {"season", [](const Mediadata &m) { return std::to_string(m.season()); }, {"TVSeason"}, "1"},
    {"isPodcast", [](const Mediadata &m) { return std::to_string(m.isPodcast()); }, {"Podcast"}, "0"},
    {"isiTunesU", [](const Mediadata &m) { return std::to_string(m.isiTunesU()); }, {"iTunesU"}, "0"},
    {"fileSize", [](const Mediadata &m) { return std::to_string(m.fileSize()); }, {"FileSize"}, "1000"},
    {"audioformat", [](const Mediadata &m) { return std::to_string(m.audioformat()); }, {}, "301"},
    {"addedTime", [](const Mediadata &m) { return seconds(m.addedTime()); }, {"MediaCreateDate"}, "(made)"},
    {"modifiedTime", [](const Mediadata &m) { return seconds(m.modifiedTime()); }, {}, "(changed)"},
    {"releasedDate", [](const Mediadata &m) { return seconds(m.releasedDate()); }, {"ContentCreateDate", "ReleaseTime", "RecordingTime", "Date"}, "(changed)"},
    {"purchasedDate", [](const Mediadata &m) { return seconds(m.purchasedDate()); }, {"PurchaseDate", "ContentCreateDate", "ReleaseTime", "RecordingTime", "Date"}, "(changed)"},
};

struct Difference {
    const char *file;
    const char *property;
    const char *ours;
    const char *reason;
};

const Difference differences[] = {
    {"mediafile-full.flac", "description", "", "ffmpeg and others call the comment of such files a description, and so it is read"},
    {"mediafile-full.opus", "description", "", "ffmpeg and others call the comment of such files a description, and so it is read"},
    {"Le toit bleu.opus", "description", "", "ffmpeg and others call the comment of such files a description, and so it is read"},
    {"Pears.ogg", "description", "", "ffmpeg and others call the comment of such files a description, and so it is read"},
    {"Степь.flac", "description", "", "ffmpeg and others call the comment of such files a description, and so it is read"},
    {"mediafile-full.wv", "grouping", "the grouping", "the reader takes no tags from this kind of file; ffprobe agrees with ours"},
    {"mediafile-full.wv", "lyrics", "the lyrics", "the reader takes no tags from this kind of file; ffprobe agrees with ours"},
    {"Drift.mov", "releasedDate", "(changed)", "the day stands outside of the tags that the tag library reads of films"},
    {"Drift.mov", "purchasedDate", "(changed)", "the day stands outside of the tags that the tag library reads of films"},
    {"all.mp3", "isPodcast", "1", "the reader does not show this frame, whose four bytes say nothing; being there is what counts"},
};
// clang-format on

const Difference *differenceOf(const std::string &file, const std::string &property)
{
    const auto found = std::find_if(std::begin(differences), std::end(differences),
        [&](const Difference &each) { return file == each.file && property == each.property; });
    return found == std::end(differences) ? nullptr : &*found;
}

/// What a command writes.
std::string outputOf(const std::string &command)
{
    const TemporaryFolder folder;
    runShell(command + " >" + quoted(folder.path("out").native()) + " 2>/dev/null");
    return readAll(folder.path("out"));
}

/// Seconds since 1970 of "2019:05:06 07:08:09Z" and the like, "" for less than a day. A day alone is its noon.
std::string secondsOf(const std::string &value)
{
    std::tm time = {};
    time.tm_hour = 12;
    if (std::sscanf(value.c_str(), "%d%*[-:]%d%*[-:]%d%*[ T]%d:%d:%d", &time.tm_year, &time.tm_mon, &time.tm_mday,
            &time.tm_hour, &time.tm_min, &time.tm_sec)
            < 3
        || time.tm_year == 0)
        return "";
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    return std::to_string(::timegm(&time));
}

std::string changed(const fs::path &path)
{
    return std::to_string(std::atoll(outputOf("stat -c %Y " + quoted(path.native())).c_str()));
}

std::string made(const fs::path &path)
{
    return std::to_string(std::atoll(outputOf("stat -c %W " + quoted(path.native())).c_str()));
}

std::string expected(const Property &property, const Json &report, const fs::path &path)
{
    const bool isDate = std::string(property.name).find("Date") != std::string::npos || property.fallback[0] == '(';
    const std::string fallback = property.fallback;
    for (const char *key : property.keys) {
        if (!report.contains(key))
            continue;
        const Json &json = report[key];
        const std::string value = json.is_string() ? json.get<std::string>() : json.dump();
        const std::string date = isDate && fallback != "(absent)" ? secondsOf(value) : value;
        if (!date.empty())
            return date;
    }
    if (fallback == "(made)")
        return made(path);
    if (fallback == "(changed)")
        return changed(path);
    return fallback;
}

void expectAgreement(const fs::path &path, const std::string &file)
{
    Mediadata metadata(AudioMetadata::CreateMetadataForURL(path.native()));
    metadata.setFilePath(path.native());
    metadata.loadMediaData();
    const Json reports = Json::parse(outputOf("exiftool -json -n " + quoted(path.native())), nullptr, false);
    ASSERT_TRUE(reports.is_array() && reports.size() == 1) << path;
    for (const Property &property : properties) {
        const std::string ours = property.ours(metadata);
        if (const Difference *difference = differenceOf(file, property.name))
            EXPECT_EQ(ours, difference->ours == std::string("(changed)") ? changed(path) : difference->ours)
                << property.name << ", " << difference->reason;
        else
            EXPECT_EQ(ours, expected(property, reports[0], path)) << property.name << " of " << path;
    }
}

/// All pictures of a file, one behind the other.
std::string picturesOf(const Mediadata &metadata)
{
    std::string all;
    for (const String &artwork : metadata.artworks()) {
        all += readAll(artwork.c_str());
        fs::remove(artwork.c_str());
    }
    return all;
}

std::vector<fs::path> realFiles()
{
    const fs::path own = KELVANE_OWN_SAMPLES;
    const fs::path others = KELVANE_SAMPLES;
    std::vector<fs::path> files;
    for (const fs::path &folder :
        {own / "Music", own / "Videos", own / "Photos", others / "media", others / "images"}) {
        std::error_code error;
        for (const auto &entry : fs::directory_iterator(folder, error))
            if (entry.is_regular_file())
                files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class MediadataTagReaders : public testing::TestWithParam<fs::path> {
protected:
    void SetUp() override
    {
        if (!runShell("exiftool -ver >/dev/null 2>&1"))
            GTEST_SKIP() << "exiftool is not installed";
        ::setenv("TZ", "UTC", 1); // both sides take a time without a zone for local time
        ::tzset();
    }
};

TEST_P(MediadataTagReaders, AgreeOnEveryProperty)
{
    expectAgreement(GetParam(), GetParam().filename().native());
}

TEST_P(MediadataTagReaders, AgreeOnThePictures)
{
    Mediadata metadata(AudioMetadata::CreateMetadataForURL(GetParam().native()));
    metadata.setFilePath(GetParam().native());
    const std::string theirs = outputOf("exiftool -a -b -Picture -CoverArt " + quoted(GetParam().native()));
    const std::string ours = picturesOf(metadata);
    const bool hasCover = metadata.audioMetadata() && !metadata.audioMetadata()->GetAttachedPictures().empty();
    EXPECT_EQ(hasCover, !theirs.empty());
    if (hasCover)
        EXPECT_TRUE(ours == theirs) << ours.size() << " bytes, not " << theirs.size();
    else // a thumbnail, of what can be seen
        EXPECT_EQ(!ours.empty(), outputOf("exiftool -s3 -ImageWidth " + quoted(GetParam().native())) != "");
}

INSTANTIATE_TEST_SUITE_P(RealFiles, MediadataTagReaders, testing::ValuesIn(realFiles()), [](const auto &each) {
    std::string name = each.param.filename();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name + '_' + std::to_string(each.index);
});

// Real files rarely have all tags: here mutagen puts them there.
constexpr const char *allTags = R"python(
import sys
from mutagen.mp4 import MP4, MP4Tags
from mutagen.id3 import ID3, TSOA, TSOP, TSO2, TSOC, TSOT, TIT1, TDES, TGID, WFED, PCST, TDRL
if sys.argv[1].endswith('m4a'):
    MP4Tags._MP4Tags__atoms[b'itnu'] = MP4Tags._MP4Tags__atoms[b'pcst'] # which mutagen does not know
    tags = MP4(sys.argv[1])
    for name, text in {'soal': 'Album, The', 'soar': 'Artist, The', 'soaa': 'Band, The', 'soco': 'Composer, The',
                       'sonm': 'Title, The', '\251grp': 'Group', 'purl': 'http://example.org/feed', 'desc': 'About it',
                       'tvsh': 'A Show', 'tvnn': 'A Network', 'tven': 'E7', 'egid': 'guid-1', 'apID': 'me@example.org',
                       'purd': '2020-01-02 03:04:05', '\251day': '2019-05-06T07:08:09Z'}.items():
        tags[name] = text
    tags['stik'], tags['tves'], tags['tvsn'], tags['pcst'], tags['itnu'] = [10], [3], [2], True, True
else:
    tags = ID3(sys.argv[1])
    for kind in (TSOA, TSOP, TSO2, TSOC, TSOT, TIT1, TDES, TGID):
        tags.add(kind(encoding=3, text='Text of ' + kind.__name__))
    tags.add(WFED(url='http://example.org/feed'))
    tags.add(PCST(value=1))
    tags.add(TDRL(encoding=3, text='2021-02-03T04:05:06'))
tags.save()
)python";

TEST_F(MediadataTagReaders, AgreeOnFilesWithAllTags)
{
    if (!runShell("/usr/bin/python3 -c 'import mutagen' 2>/dev/null"))
        GTEST_SKIP() << "mutagen is not installed";
    const TemporaryFolder folder;
    writeAll(folder.path("tag.py"), allTags);
    for (const char *sample : {"02 Flood.m4a", "Gears & Blossom.mp3"}) {
        const fs::path path = folder.path("all" + fs::path(sample).extension().native());
        fs::copy_file(fs::path(KELVANE_OWN_SAMPLES) / "Music" / sample, path);
        ASSERT_TRUE(
            runShell("/usr/bin/python3 " + quoted(folder.path("tag.py").native()) + " " + quoted(path.native())));
        expectAgreement(path, path.filename().native());
    }
}

} // namespace
