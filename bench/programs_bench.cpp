// SPDX-License-Identifier: Apache-2.0
//
// The kelvane command beside other commands that do the same, each a process of its own with its files in the page
// cache: start and end of the process count for all.
//   start  the version, which takes nothing but to start and to end; what any process takes is what true takes
//   heic   HEIC photos of 12 megapixels to JPEG, of one tile and of 48 as phones write them; "codecs alone" is no program for
//          photos: it decodes those 48 and codes them as JPEG, and does nothing else, which shows what bounds us
//   info   what is known of 300 mp3, 300 m4a, 100 flac and 100 mp4 as JSON, all files in one process; mediainfo, which
//          takes milliseconds for each, gets every eighth
// programs_bench KELVANE SUPPORT-FOLDER
#include "support/Command.h"
#include "support/Contest.h"

#include <cstdlib>
#include <filesystem>
#include <unistd.h>
#include <vector>

using namespace kelvane::bench;

namespace {

namespace fs = std::filesystem;

void make(const std::string &command)
{
    require(std::system(command.c_str()) == 0, command.c_str());
}

// Commands with %s for what they shall read.
struct Program {
    std::string name;
    double target;
    std::string command;
    std::string input;
    double count = 1;
};

std::string lineOf(const Program &program)
{
    std::string line = program.command;
    return line.replace(line.find("%s"), 2, program.input);
}

// `made`: what each of them writes, where that is a file; it is removed before each run.
void compare(const std::string &area, const std::string &work, const Unit &unit, const std::vector<Program> &programs,
    const fs::path &made)
{
    Contest time(area, work, unit);
    Contest memory(area, work + ", peak memory", {"MB", 1e-6});
    for (const Program &program : programs) {
        const auto run = [line = lineOf(program), made] {
            fs::remove(made);
            const Usage usage = runCommand(line, "out.txt");
            require(fs::file_size(made) > 1000, ("a result of " + line).c_str());
            return usage;
        };
        const auto timed = [run, count = program.count] { return run().seconds / count; };
        const auto weighed = [run] { return run().peakBytes; };
        if (&program == programs.data()) {
            time.ours(timed);
            memory.ours(weighed);
        } else {
            time.peer(program.name, program.target, timed);
            if (program.count == programs.front().count)
                memory.peer(program.name, 0, weighed);
        }
    }
    time.run();
    memory.run(1);
}

void convertPhotos(const std::string &kelvane, const std::string &support)
{
    make(shellWord(support + "/make-photos") + " .");
    scaling(
        "heic", "a pixel", {"ns", 1e9}, {120'000, 1'200'000, 12'000'000},
        [&kelvane](int pixels) {
            return runCommand(kelvane + " heic2jpg --force -o . " + std::to_string(pixels) + ".heic").seconds / pixels;
        },
        5);
    for (const bool isTiled : {false, true}) {
        const std::string photo = isTiled ? "tiled.heic" : "one.heic";
        const double target = isTiled ? 0.35 : 0.5;
        const std::string made = isTiled ? "tiled.jpg" : "one.jpg";
        std::vector<Program> programs{{"kelvane", 0, kelvane + " heic2jpg --force -o . %s", photo},
            {"heif-convert", target, "heif-convert --quiet -q 80 %s " + made, photo},
            {"vips", target, "vips copy %s '" + made + "[Q=80]'", photo},
            {"ImageMagick", target, "convert %s -quality 80 " + made, photo}};
        if (isTiled)
            programs.push_back({"codecs alone", 0, KELVANE_TILES_ALONE " %s " + made, "tiles.hevc"});
        compare(
            "heic", isTiled ? "12 megapixels in 48 tiles" : "12 megapixels in one tile", {"ms", 1e3}, programs, made);
    }
}

struct Kind {
    const char *name;
    int count;
    const char *options;
};

constexpr Kind kinds[] = {
    {"mp3", 300, "-map 0 -map 2 -c:v copy -disposition:v attached_pic -b:a 128k"},
    {"m4a", 300, "-map 0 -map 2 -c:v copy -disposition:v attached_pic -b:a 128k"},
    {"flac", 100, "-map 0 -map 2 -c:v copy -disposition:v attached_pic"},
    {"mp4", 100, "-map 0 -map 1 -c:v libx264 -preset ultrafast -b:a 128k"},
};

void makeMedia()
{
    make("ffmpeg -v error -y -f lavfi -i mandelbrot=s=1000x1000 -frames:v 1 -q:v 2 cover.jpg");
    fs::create_directory("media");
    for (const Kind &kind : kinds) {
        const std::string first = std::string("media/0.") + kind.name;
        make("ffmpeg -v error -y -f lavfi -i sine=f=440:d=180 -f lavfi -i testsrc=s=640x360:d=60 -i cover.jpg "
            + std::string(kind.options) + " -metadata title=Title -metadata artist=Artist -metadata album=Album "
            + first);
        for (int i = 1; i < kind.count; ++i)
            fs::copy_file(first, "media/" + std::to_string(i) + '.' + kind.name);
    }
}

/// The names of so many files, of each kind as large a share as of all.
std::string someMedia(int count)
{
    std::string names;
    for (const Kind &kind : kinds)
        for (int i = 0; i < kind.count * count / 800; ++i)
            names += " media/" + std::to_string(i) + '.' + kind.name;
    return names;
}

void tellOfFiles(const std::string &kelvane)
{
    makeMedia();
    compare("info", "800 files as JSON", {"ms/file", 1e3},
        {{"kelvane", 0, kelvane + " info --json %s", "media/*", 800},
            {"exiftool", 0.05, "exiftool -json %s", "media/*", 800},
            {"mediainfo", 0.1, "mediainfo --Output=JSON %s",
                "media/*[05].mp3 media/*[05].m4a media/*5.flac media/*5.mp4", 140}},
        "out.txt");
    scaling(
        "info", "a file as JSON", {"ms", 1e3}, {8, 80, 800},
        [&kelvane](int files) { return runCommand(kelvane + " info --json " + someMedia(files)).seconds / files; }, 5);
}

void tellTheVersion(const std::string &kelvane)
{
    // A start is over in little more than a millisecond: a round is some of them.
    constexpr int starts = 20;
    const auto starting = [](const std::string &command) {
        return [command] {
            double total = 0;
            for (int i = 0; i < starts; ++i)
                total += runCommand(command).seconds;
            return total / starts;
        };
    };
    Contest("start", "version", {"ms", 1e3})
        .ours(starting(kelvane + " --version"))
        .peer("ffprobe", 0.2, starting("ffprobe -version"))
        .peer("true", 0, starting("/bin/true"))
        .run();
}

} // namespace

int main(int argc, char **argv)
{
    require(argc == 3, "arguments: KELVANE SUPPORT-FOLDER");
    std::string pattern = (fs::temp_directory_path() / "programs-bench-XXXXXX").native();
    const fs::path folder = mkdtemp(pattern.data());
    const std::string kelvane = shellWord(fs::canonical(argv[1]).native());
    const std::string support = fs::canonical(argv[2]).native();
    fs::current_path(folder);
    tellTheVersion(kelvane);
    tellOfFiles(kelvane);
    convertPhotos(kelvane, support);
    fs::current_path("/");
    fs::remove_all(folder);
}
