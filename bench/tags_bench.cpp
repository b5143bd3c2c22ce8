// SPDX-License-Identifier: Apache-2.0
//
// What a song or film costs to read, for copies of one file of each kind, the songs with a large cover, all in the page
// cache:
//   tags   every property of Mediadata (but artworks, which writes files) without the index. TagLib as a program would
//          use it by hand: a FileRef, its properties and its audio properties, the type taken from the name;
//          KFileMetaData, which like Mediadata finds the type of a file by its content, and libmediainfo, as their
//          documentation shows
//   index  the index of FileMetadataIndex, against libavformat's avformat_open_input() and avformat_find_stream_info()
//          and against libmediainfo
// A peer that takes milliseconds for a file reads a part of the files. Needs ffmpeg, which makes the files.
#include "support/Contest.h"

#include <kelvane/kelvane.h>

#include <cstdlib>
#include <filesystem>
#include <KFileMetaData/Extractor>
#include <KFileMetaData/ExtractorCollection>
#include <KFileMetaData/MimeUtils>
#include <KFileMetaData/SimpleExtractionResult>
#include <map>
#include <MediaInfo/MediaInfo.h>
#include <QCoreApplication>
#include <QMimeDatabase>
#include <span>
#include <string>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
}

using namespace kelvane::bench;

namespace {

namespace fs = std::filesystem;
using Files = std::vector<std::string>;

struct Kind {
    std::string name;
    std::size_t count;
    const char *options; // of ffmpeg, behind the sound (input 0), the film (1) and the cover (2)
    double mediaInfoTarget; // for the tags
    double libavTarget; // for the index
};

const Kind kinds[] = {
    {"mp3", 300, "-map 0 -map 2 -c:v copy -disposition:v attached_pic -b:a 128k", 0.05, 0.1},
    {"m4a", 300, "-map 0 -map 2 -c:v copy -disposition:v attached_pic -b:a 128k", 0, 0.6},
    {"flac", 100, "-map 0 -map 2 -c:v copy -disposition:v attached_pic", 0, 0},
    {"mp4", 100, "-map 0 -map 1 -c:v libx264 -preset ultrafast -b:a 128k", 0, 0.6},
};

Files makeFiles(const fs::path &folder, const Kind &kind)
{
    const fs::path first = folder / ("0." + kind.name);
    const std::string command =
        "ffmpeg -v error -y -f lavfi -i 'sine=f=440:d=180' -f lavfi -i testsrc=s=640x360:d=180 -i "
        + (folder / "cover.jpg").native() + " " + kind.options
        + " -metadata title=Title -metadata artist=Artist -metadata album=Album -metadata genre=Folk"
          " -metadata date=2019 -metadata track=3/9 -metadata comment=Comment -metadata composer=Composer "
        + first.native();
    require(std::system(command.c_str()) == 0, "a file made by ffmpeg");
    Files files{first.native()};
    while (files.size() < kind.count) {
        files.push_back((folder / (std::to_string(files.size()) + '.' + kind.name)).native());
        fs::copy_file(first, files.back());
    }
    return files;
}

// What was read is added up, so that it is read.
std::size_t sink = 0;

void readWithMediadata(const std::string &path)
{
    using kelvane::Mediadata;
    Mediadata media(kelvane::AudioMetadata::CreateMetadataForURL(path));
    media.setFilePath(path);
    constexpr kelvane::String (Mediadata::*texts[])() const = {&Mediadata::title, &Mediadata::album, &Mediadata::artist,
        &Mediadata::comment, &Mediadata::genre, &Mediadata::albumArtist, &Mediadata::copyright, &Mediadata::composer,
        &Mediadata::grouping, &Mediadata::albumSort, &Mediadata::artistSort, &Mediadata::albumArtistSort,
        &Mediadata::composerSort, &Mediadata::titleSort, &Mediadata::feedURL, &Mediadata::lyrics,
        &Mediadata::description, &Mediadata::tvShow, &Mediadata::tvshowNetWork, &Mediadata::episodeID,
        &Mediadata::podcastURL, &Mediadata::podcastIdentifier, &Mediadata::iTunesAccount};
    constexpr std::int32_t (Mediadata::*numbers[])() const = {&Mediadata::year, &Mediadata::trackNo,
        &Mediadata::trackCount, &Mediadata::discCount, &Mediadata::discNumber, &Mediadata::duration,
        &Mediadata::bitrate, &Mediadata::sampleRate, &Mediadata::channels, &Mediadata::audioformat,
        &Mediadata::mediaType, &Mediadata::tvEpisode, &Mediadata::season, &Mediadata::isPodcast, &Mediadata::isiTunesU};
    constexpr kelvane::Date (Mediadata::*dates[])()
        const = {&Mediadata::addedTime, &Mediadata::modifiedTime, &Mediadata::releasedDate, &Mediadata::purchasedDate};
    for (const auto text : texts)
        sink += (media.*text)().view().size();
    for (const auto number : numbers)
        sink += static_cast<std::size_t>((media.*number)());
    for (const auto date : dates)
        sink += (media.*date)().isNull() ? 0 : 1;
    sink += static_cast<std::size_t>(media.fileSize()) + media.tagTypes();
}

void readWithTagLib(const std::string &path)
{
    const TagLib::FileRef file(path.c_str());
    for (const auto &[name, values] : file.file()->properties())
        sink += name.size() + values.size();
    const TagLib::AudioProperties &audio = *file.audioProperties();
    sink += static_cast<std::size_t>(
        audio.lengthInMilliseconds() + audio.bitrate() + audio.sampleRate() + audio.channels());
}

void readWithKFileMetaData(const std::string &path)
{
    static const KFileMetaData::ExtractorCollection collection;
    static const QMimeDatabase types;
    const QString file = QString::fromStdString(path);
    const QString type = KFileMetaData::MimeUtils::strictMimeType(file, types).name();
    KFileMetaData::SimpleExtractionResult result(file, type, KFileMetaData::ExtractionResult::ExtractMetaData);
    const auto extractors = collection.fetchExtractors(type);
    for (KFileMetaData::Extractor *extractor : extractors)
        extractor->extract(&result);
    const auto properties = result.properties(KFileMetaData::PropertiesMapType::MultiMap);
    require(!properties.isEmpty(), "properties of KFileMetaData");
    sink += static_cast<std::size_t>(properties.size());
}

void readWithMediaInfo(const std::string &path)
{
    MediaInfoLib::MediaInfo media;
    require(media.Open(std::wstring(path.begin(), path.end())) == 1, "a file opened by libmediainfo");
    sink += media.Get(MediaInfoLib::Stream_General, 0, L"Title").size()
        + media.Get(MediaInfoLib::Stream_Audio, 0, L"Duration").size();
}

void readIndex(const std::string &path)
{
    const kelvane::Dictionary properties = kelvane::FileMetadataIndex::propertiesOfFile(path);
    require(!properties.isEmpty(), "an index");
    sink += properties.size();
}

void readWithAvformat(const std::string &path)
{
    AVFormatContext *context = nullptr;
    require(avformat_open_input(&context, path.c_str(), nullptr, nullptr) == 0
            && avformat_find_stream_info(context, nullptr) >= 0,
        "a file opened by libavformat");
    sink += context->nb_streams;
    avformat_close_input(&context);
}

Contest::Round reading(std::span<const std::string> files, auto read)
{
    return [files, read] {
        return seconds([&] {
            for (const std::string &file : files)
                read(file);
        }) / static_cast<double>(files.size());
    };
}

const Unit perFile{"ms/file", 1e3};

void compare(const Kind &kind, const Files &files)
{
    const std::span<const std::string> all = files;
    const auto some = all.first(20);
    Contest("tags", kind.name, perFile)
        .ours(reading(all, readWithMediadata))
        .peer("TagLib", 1.25, reading(all, readWithTagLib))
        .peer("KFileMetaData", 0.6, reading(all, readWithKFileMetaData))
        .peer("libmediainfo", kind.mediaInfoTarget, reading(some, readWithMediaInfo))
        .run();
    Contest("index", kind.name, perFile)
        .ours(reading(all, readIndex))
        .peer("libavformat", kind.libavTarget, reading(some, readWithAvformat))
        .peer("libmediainfo", 0.3, reading(some, readWithMediaInfo))
        .run();
}

/// What a file costs when a hundredth, a tenth or all of them are read, each round as many in all.
void grow(const Kind &kind, const Files &files)
{
    const auto perFileOf = [&files](const auto &read) {
        return [&files, read](int count) {
            const std::span<const std::string> part(files.data(), static_cast<std::size_t>(count));
            const int times = static_cast<int>(files.size()) / count;
            double sum = 0;
            for (int i = 0; i < times; ++i)
                sum += reading(part, read)();
            return sum / times;
        };
    };
    scaling("tags", kind.name + ", a file", perFile, {3, 30, 300}, perFileOf(readWithMediadata));
    scaling("index", kind.name + ", a file", perFile, {3, 30, 300}, perFileOf(readIndex));
}

void compareMemory(const Kind &kind, const Files &files)
{
    const auto memory = [&files](
                            const auto &read) { return memoryOf([&files, read] { (void)reading(files, read)(); }); };
    Contest("tags", kind.name + ", peak memory", {"MB", 1e-6})
        .ours(memory(readWithMediadata))
        .peer("TagLib", 0, memory(readWithTagLib))
        .peer("KFileMetaData", 0, memory(readWithKFileMetaData))
        .peer("libmediainfo", 0, memory(readWithMediaInfo))
        .run(3);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::string pattern = (fs::temp_directory_path() / "tags-bench-XXXXXX").native();
    const fs::path folder = mkdtemp(pattern.data());
    av_log_set_level(AV_LOG_QUIET);
    const std::string cover =
        "ffmpeg -v error -y -f lavfi -i mandelbrot=s=1000x1000 -frames:v 1 -q:v 2 " + (folder / "cover.jpg").native();
    require(std::system(cover.c_str()) == 0, "a cover made by ffmpeg");
    std::map<std::string, Files> made;
    for (const Kind &kind : kinds)
        made[kind.name] = makeFiles(folder, kind);
    // Before this process has memory that a child would find already there.
    for (const Kind &kind : kinds)
        compareMemory(kind, made[kind.name]);
    for (const Kind &kind : kinds) {
        compare(kind, made[kind.name]);
        if (kind.count >= 300)
            grow(kind, made[kind.name]);
    }
    fs::remove_all(folder);
    return sink == 0 ? 1 : 0;
}
