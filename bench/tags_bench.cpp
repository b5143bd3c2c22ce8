// SPDX-License-Identifier: Apache-2.0
//
// What each case measures, on copies of one song or film of each kind, with a large cover in the songs; in turns in one
// process, the order alternating, medians of the rounds:
//   tags   every property of Mediadata (but artworks, which writes files) without the index, against TagLib as a program
//          would use it by hand: a FileRef, its properties and its audio properties
//   index  the index of FileMetadataIndex, against libavformat's avformat_open_input() and avformat_find_stream_info()
//
// tags_bench [ROUNDS]: needs ffmpeg, which makes the files.

#include <kelvane/kelvane.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

namespace fs = std::filesystem;
using Files = std::vector<std::string>;

constexpr std::size_t copies = 40;
std::size_t sink = 0; // what was read goes here, so that it is read

struct Kind {
    const char *name;
    const char *options; // of ffmpeg, behind the sound (input 0), the film (1) and the cover (2)
    double tagsTarget;
    double indexTarget;
};

constexpr Kind kinds[] = {
    {"mp3", "-map 0 -map 2 -c:v copy -disposition:v attached_pic -b:a 128k", 1.25, 0.1},
    {"m4a", "-map 0 -map 2 -c:v copy -disposition:v attached_pic -b:a 128k", 1.25, 0.6},
    {"flac", "-map 0 -map 2 -c:v copy -disposition:v attached_pic", 1.25, 0},
    {"mp4", "-map 0 -map 1 -c:v libx264 -preset ultrafast -b:a 128k", 1.25, 0.6},
};

Files makeFiles(const fs::path &folder, const Kind &kind)
{
    const fs::path first = folder / ("0." + std::string(kind.name));
    const std::string command =
        "ffmpeg -v error -y -f lavfi -i 'sine=f=440:d=180' -f lavfi -i testsrc=s=640x360:d=180 -i "
        + (folder / "cover.jpg").native() + " " + kind.options
        + " -metadata title=Title -metadata artist=Artist -metadata album=Album -metadata genre=Folk -metadata "
          "date=2019"
          " -metadata track=3/9 -metadata comment=Comment -metadata composer=Composer "
        + first.native();
    if (std::system(command.c_str()) != 0)
        std::exit(1);
    Files files{first.native()};
    while (files.size() < copies) {
        files.push_back((folder / (std::to_string(files.size()) + '.' + kind.name)).native());
        fs::copy_file(first, files.back());
    }
    return files;
}

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

void readIndex(const std::string &path)
{
    sink += kelvane::FileMetadataIndex::propertiesOfFile(path).size();
}

void readWithAvformat(const std::string &path)
{
    AVFormatContext *context = nullptr;
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0
        || avformat_find_stream_info(context, nullptr) < 0)
        std::exit(1);
    sink += context->nb_streams;
    avformat_close_input(&context);
}

using Reader = void (*)(const std::string &);

double milliseconds(Reader read, const Files &files)
{
    const auto begin = std::chrono::steady_clock::now();
    for (const std::string &file : files)
        read(file);
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
    return time.count() / static_cast<double>(files.size());
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compare(
    const char *what, const char *kind, Reader ours, Reader theirs, const Files &files, int rounds, double target)
{
    std::vector<double> our;
    std::vector<double> their;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        const bool isFirst = round % 2 == 0;
        const double first = milliseconds(isFirst ? ours : theirs, files);
        const double second = milliseconds(isFirst ? theirs : ours, files);
        our.push_back(isFirst ? first : second);
        their.push_back(isFirst ? second : first);
        ratios.push_back(our.back() / their.back());
    }
    std::printf("%-6s %-5s %9.3f ms %9.3f ms   ratio %.3f", what, kind, median(our), median(their), median(ratios));
    std::printf(target > 0 ? "   (at most %.2f)\n" : "\n", target);
}

} // namespace

int main(int argc, char **argv)
{
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    std::string pattern = (fs::temp_directory_path() / "tags-bench-XXXXXX").native();
    const fs::path folder = mkdtemp(pattern.data());
    av_log_set_level(AV_LOG_QUIET);
    const std::string cover =
        "ffmpeg -v error -y -f lavfi -i mandelbrot=s=1000x1000 -frames:v 1 -q:v 2 " + (folder / "cover.jpg").native();
    if (std::system(cover.c_str()) != 0)
        return 1;
    std::printf("%zu files of each kind, cover of %ju bytes, %d rounds; ours, theirs for each file\n", copies,
        static_cast<std::uintmax_t>(fs::file_size(folder / "cover.jpg")), rounds);
    for (const Kind &kind : kinds) {
        const Files files = makeFiles(folder, kind);
        compare("tags", kind.name, readWithMediadata, readWithTagLib, files, rounds, kind.tagsTarget);
        compare("index", kind.name, readIndex, readWithAvformat, files, rounds, kind.indexTarget);
    }
    fs::remove_all(folder);
    return sink == 0 ? 1 : 0;
}
