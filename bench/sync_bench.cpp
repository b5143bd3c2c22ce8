// SPDX-License-Identifier: Apache-2.0
//
// "kelvane sync" of audio files of 1 to 8 MB to an empty device, and again when there is nothing left to do; beside
// programs that only copy: ours also reads the tags of each file, stores its cover, records it in the device's library,
// and has it on the disk before it says so.
//   first run   beside cp -a, and beside cp -a with the disk waited for at its end
//   second run  beside rsync -a with nothing left to copy
// Every first run has a fresh destination; what it made is removed outside of the measurement.
//
// sync_bench [FOLDER [COUNT]]: where the files are, the temporary folder where it is not given; 1000 files. Needs ffmpeg and
// rsync.
#include "support/Command.h"
#include "support/Contest.h"

#include <kelvane/platform/AudioMetadata.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

using kelvane::AudioMetadata;
using kelvane::String;
using namespace kelvane::bench;
namespace fs = std::filesystem;

namespace {

/// Of one to eight megabytes, or of a second each: those tell what a file costs.
enum class Songs { whole, small };

void run(const std::string &command)
{
    require(std::system(command.c_str()) == 0, command.c_str());
}

std::string word(const fs::path &path)
{
    return ' ' + shellWord(path);
}

/// Songs with a cover, of several lengths and kinds: noise, which no encoder makes small.
std::vector<fs::path> encodeOriginals(const fs::path &folder, Songs songs)
{
    fs::create_directory(folder);
    run("ffmpeg -nostdin -v error -f lavfi -i testsrc=size=600x600 -frames:v 1" + word(folder / "cover.jpg"));
    struct Kind {
        const char *name;
        int bytesPerSecond; // about
    };
    std::vector<fs::path> originals;
    if (songs == Songs::small) {
        originals.push_back(folder / "small.mp3");
        run("ffmpeg -nostdin -v error -f lavfi -i anoisesrc=amplitude=0.3:duration=1 -i" + word(folder / "cover.jpg")
            + " -map 0 -map 1 -c:v copy -disposition:v attached_pic -b:a 128k" + word(originals.back()));
        fs::remove(folder / "cover.jpg");
        return originals;
    }
    for (const auto &[name, bytesPerSecond] : {Kind{"mp3", 40'000}, Kind{"m4a", 32'000}, Kind{"flac", 140'000}})
        for (const int megabytes : {1, 3, 5, 8}) {
            originals.push_back(folder / (std::to_string(megabytes) + "." + name));
            run("ffmpeg -nostdin -v error -f lavfi -i anoisesrc=amplitude=0.3:duration="
                + std::to_string(megabytes * 1'000'000 / bytesPerSecond) + " -i" + word(folder / "cover.jpg")
                + " -map 0 -map 1 -c:v copy -disposition:v attached_pic -ac 2 -b:a 320k" + word(originals.back()));
        }
    fs::remove(folder / "cover.jpg");
    return originals;
}

void makeSongs(const fs::path &folder, int count, Songs songs)
{
    const fs::path sources = folder.native() + "-originals";
    const std::vector<fs::path> originals = encodeOriginals(sources, songs);
    fs::create_directory(folder);
    for (int i = 0; i < count; ++i) {
        const fs::path &original = originals[static_cast<std::size_t>(i) % originals.size()];
        const fs::path song = folder / (std::to_string(i) + original.extension().native());
        fs::copy_file(original, song);
        const auto tags = AudioMetadata::CreateMetadataForURL(String(song.native()));
        require(tags != nullptr, "the tags of a song");
        tags->SetTitle(String("Song " + std::to_string(i)));
        tags->SetArtist(String("Artist " + std::to_string(i % 50)));
        tags->SetAlbumTitle(String("Album " + std::to_string(i % 80)));
        require(tags->WriteMetadata(), "the tags of a song");
    }
    fs::remove_all(sources);
}

class Devices {
public:
    Devices(fs::path folder, int count, Songs songs = Songs::whole)
        : _folder(std::move(folder)),
          _songs(_folder / "songs"),
          _count(count)
    {
        fs::create_directory(_folder);
        makeSongs(_songs, count, songs);
    }

    /// A round of a first run: `command` copies from the one to the other.
    Contest::Round first(const std::string &command)
    {
        return [this, command] {
            const fs::path device = _folder / ("device-" + std::to_string(++_devices));
            fs::create_directory(device);
            settle();
            const double took = seconds([&] { run(command + word(_songs) + word(device) + " > /dev/null"); });
            require(filesIn(device) >= _count, "a copy of each song");
            fs::remove_all(device);
            return took;
        };
    }
    /// The peak of what a first run's largest process has in memory.
    Contest::Round memoryOfFirst(const std::string &command)
    {
        return [this, command] {
            const fs::path device = _folder / ("device-" + std::to_string(++_devices));
            fs::create_directory(device);
            const Usage usage = runCommand(command + word(_songs) + word(device));
            fs::remove_all(device);
            return usage.peakBytes;
        };
    }
    /// A round of a second run to a device that stays.
    Contest::Round second(const std::string &command)
    {
        const fs::path device = _folder / ("device-" + std::to_string(++_devices));
        fs::create_directory(device);
        run(command + word(_songs) + word(device) + " > /dev/null");
        const auto files = filesIn(device);
        return [this, command, device, files] {
            settle();
            const double took = seconds([&] { run(command + word(_songs) + word(device) + " > /dev/null"); });
            require(filesIn(device) == files, "nothing new on the device");
            return took;
        };
    }

private:
    /// The songs are in memory, and nothing waits to be written.
    void settle() const
    {
        run("find" + word(_songs) + " -type f -exec cat {} + > /dev/null && sync -f" + word(_folder));
    }
    static std::ptrdiff_t filesIn(const fs::path &folder)
    {
        return std::count_if(fs::recursive_directory_iterator(folder), fs::recursive_directory_iterator(),
            [](const fs::directory_entry &entry) { return entry.is_regular_file(); });
    }

    const fs::path _folder;
    const fs::path _songs;
    const std::ptrdiff_t _count;
    int _devices = 0;
};

} // namespace

int main(int argc, char **argv)
{
    std::string folder = (fs::path(argc > 1 ? argv[1] : fs::temp_directory_path().c_str()) / "sync_bench-XXXXXX");
    require(mkdtemp(folder.data()) != nullptr, "a folder");
    const int count = argc > 2 ? std::max(1, std::atoi(argv[2])) : 1000;
    const std::string files = std::to_string(count) + " audio files";
    const std::string ours = "'" KELVANE_TOOL "' sync";

    Devices devices(folder, count);
    Contest("sync", files + ", first run", {"s"})
        .ours(devices.first(ours))
        .peer("cp -a", 1.3, devices.first("cp -a"))
        .peer("cp -a, sync", 0, devices.first("copy() { cp -a \"$1\" \"$2\" && sync -f \"$2\"; }; copy"))
        .run();
    Contest("sync", files + ", second run", {"ms", 1e3})
        .ours(devices.second(ours))
        .peer("rsync -a", 1.5, devices.second("rsync -a"))
        .run();
    Contest("sync", files + ", first run, peak memory", {"MB", 1e-6})
        .ours(devices.memoryOfFirst(ours))
        .peer("cp -a", 0, devices.memoryOfFirst("cp -a"))
        .peer("rsync -a", 0, devices.memoryOfFirst("rsync -a"))
        .run(1);

    std::map<int, Devices> growing;
    for (const int size : {30, 300, 3'000})
        growing.try_emplace(size, fs::path(folder) / std::to_string(size), size, Songs::small);
    scaling(
        "sync", "a file, first run", {"ms", 1e3}, {30, 300, 3'000},
        [&](int size) { return growing.at(size).first(ours)() / size; }, 3);
    std::map<int, Contest::Round> again;
    for (auto &[size, device] : growing)
        again[size] = device.second(ours);
    scaling(
        "sync", "a file, second run", {"ms", 1e3}, {30, 300, 3'000}, [&](int size) { return again.at(size)() / size; },
        5);
    fs::remove_all(folder);
    return 0;
}
