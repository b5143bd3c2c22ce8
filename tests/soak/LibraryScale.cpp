// SPDX-License-Identifier: Apache-2.0
#include "LibraryScale.h"

#include "Files.h"
#include "Job.h"

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/FMDatabase.h>
#include <tests/support/Cost.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace kelvane::soak {
namespace {

namespace fs = std::filesystem;
using testsupport::Cost;

// Tagged files of less than a block, made by real encoders; and the picture that every album comes with, under the same
// name as all the others.
constexpr std::array songs{"audio_metadata/id3v23.mp3", "audio_metadata/id3v24.mp3", "audio_metadata/tags.m4a",
    "audio_metadata/tags.opus", "audio_metadata/tags.wav", "audio_metadata/tags.aiff", "audio_metadata/tags.ogg"};
constexpr const char *cover = "image/plain.jpg";
constexpr std::int64_t filesOfAnAlbum = 20;

struct Step {
    const char *name;
    double seconds = 0;
    Cost cost;
};

/// Albums of songs with a picture each. A file system allows only so many links to a file, so that a fresh copy is made of
/// it now and then.
class Sources {
public:
    explicit Sources(fs::path folder) : _folder(std::move(folder)) { fs::create_directories(_folder); }

    [[nodiscard]] const fs::path &folder() const { return _folder; }

    void add(std::int64_t count)
    {
        for (; count > 0; --count, ++_count) {
            const fs::path path = pathOf(_count);
            if (_count % filesOfAnAlbum == 0)
                fs::create_directories(path.parent_path());
            const std::string &original = originalOf(sampleOf(_count));
            check(::link(original.c_str(), path.c_str()) == 0, "a link can be made at " + path.native());
        }
    }

    /// Where the file of this number is.
    [[nodiscard]] fs::path pathOf(std::int64_t number) const
    {
        const std::string name = isCover(number) ? "cover" : "song " + std::to_string(number);
        const std::int64_t album = number / filesOfAnAlbum;
        return _folder / ("artist " + std::to_string(album / 100)) / ("album " + std::to_string(album))
            / (name + fs::path(sampleOf(number)).extension().native());
    }
    static bool isCover(std::int64_t number) { return number % filesOfAnAlbum == filesOfAnAlbum - 1; }

    /// One song in three hundred each changes, goes, and is new. How many of each.
    std::int64_t edit()
    {
        const std::int64_t before = _count;
        std::int64_t edited = 0;
        for (std::int64_t i = 0; i + 150 < before; i += 300, ++edited) {
            const std::string content = contentOf(pathOf(i)) + "more";
            fs::remove(pathOf(i));
            writeFile(pathOf(i), content);
            fs::remove(pathOf(i + 150));
        }
        add(edited);
        return edited;
    }

private:
    struct Original {
        std::string path;
        int links = 0;
    };

    static std::string sampleOf(std::int64_t number)
    {
        return isCover(number) ? cover : songs[static_cast<std::size_t>(number) % songs.size()];
    }
    const std::string &originalOf(const std::string &sample)
    {
        constexpr int mostLinks = 30'000;
        Original &original = _originals[sample];
        if (original.links++ % mostLinks == 0) {
            // Beside the sources, which the command walks through.
            const fs::path name = std::to_string(++_originalCount) + fs::path(sample).extension().native();
            original.path = (_folder.parent_path() / name).native();
            fs::copy_file(fs::path(KELVANE_SMALL_FILES) / sample, original.path);
            fs::last_write_time(original.path, _time); // all copies of a sample are the same file to the library
        }
        return original.path;
    }

    const fs::path _folder;
    const fs::file_time_type _time = fs::file_time_type::clock::now();
    std::map<std::string, Original> _originals;
    std::int64_t _count = 0;
    int _originalCount = 0;
};

/// Makes many items of the few that a sync has brought to a device: a row each with the tags of one of those, and a link to
/// its file.
class Multiplier {
public:
    Multiplier(const Sources &sources, fs::path device, std::int64_t few)
        : _sources(sources),
          _device(std::move(device)),
          _few(few),
          _database((_device / ".kelvane/library.sqlite").native())
    {
        check(_database.open(), "the library can be opened");
        for (int i = 0; i < 100; ++i)
            fs::create_directories(folderOf(i));
        std::string others;
        const auto columns = _database.executeQuery("PRAGMA table_info(media)");
        while (columns->next())
            if (const std::string name = columns->stringForColumnIndex(1).str();
                name != "Id" && name != "source" && name != "devicePath")
                others += ", \"" + name + '"';
        _copy =
            "INSERT INTO media(source, devicePath" + others + ") SELECT ?, ?" + others + " FROM media WHERE source = ?";
    }

    /// The items from `few` on, below `many`.
    void run(std::int64_t many)
    {
        check(_database.beginTransaction(), "rows can be copied");
        for (std::int64_t number = _few; number < many; ++number) {
            const String example = _sources.pathOf(number % _few).native();
            const auto row = _database.executeQuery("SELECT devicePath FROM media WHERE source = ?", {example});
            check(row && row->next(), "an item that was synchronised has a row");
            const fs::path file = row->stringForColumnIndex(0).str();
            row->close();
            const fs::path copy = nameFor(number, file.extension());
            check(::link((_device / file).c_str(), (_device / copy).c_str()) == 0, "a link can be made on the device");
            check(_database.executeUpdate(
                      _copy, {String(_sources.pathOf(number).native()), String(copy.native()), example}),
                "a row can be copied");
        }
        check(_database.commit(), "rows can be copied");
    }

private:
    [[nodiscard]] fs::path folderOf(std::int64_t number) const { return _device / relativeFolderOf(number); }
    static fs::path relativeFolderOf(std::int64_t number)
    {
        return "Music/F" + std::to_string(100 + number % 100).substr(1);
    }
    static fs::path nameFor(std::int64_t number, const fs::path &extension)
    {
        const std::string name = std::to_string(number) + extension.native();
        return Sources::isCover(number) ? fs::path("Photos/cover of " + name) : relativeFolderOf(number) / name;
    }

    const Sources &_sources;
    const fs::path _device;
    const std::int64_t _few;
    FMDatabase _database;
    String _copy;
};

class Library {
public:
    Library(std::int64_t items, std::int64_t synced, const fs::path &parent)
        : _items(items),
          _synced(synced),
          _folder(madeIn(parent)),
          _sources(_folder / "source")
    {
        fs::create_directories(device());
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;
    ~Library()
    {
        std::error_code ignored;
        fs::remove_all(_folder, ignored);
    }

    [[nodiscard]] std::vector<Step> run()
    {
        std::vector<Step> steps;
        _sources.add(_synced);
        steps.push_back(sync("first sync", {}, {{"added", _synced}, {"failed", 0}}));
        if (_synced < _items) {
            _sources.add(_items - _synced);
            Multiplier(_sources, device(), _synced).run(_items);
        }
        steps.push_back(sync("sync, nothing changed", {}, {{"added", 0}, {"unchanged", _items}, {"failed", 0}}));
        const std::int64_t edited = _sources.edit();
        steps.push_back(sync("sync, 1 in 100 changed", {"--delete"},
            {{"added", edited}, {"changed", edited}, {"deleted", edited}, {"unchanged", _items - 2 * edited}}));
        steps.push_back(tool("list", {"list", device().native()}));
        steps.push_back(tool("list --json", {"list", "--json", device().native()}));
        compare();
        return steps;
    }

private:
    [[nodiscard]] fs::path device() const { return _folder / "device"; }
    [[nodiscard]] fs::path output() const { return _folder / "output"; }

    static fs::path madeIn(const fs::path &parent)
    {
        fs::create_directories(parent);
        std::string pattern = (fs::canonical(parent) / "kelvane-library-XXXXXX").native();
        check(::mkdtemp(pattern.data()) != nullptr, "a folder can be made in " + parent.native());
        return pattern;
    }

    [[nodiscard]] Step tool(const char *name, std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), KELVANE_TOOL);
        const auto begin = std::chrono::steady_clock::now();
        const Cost cost = testsupport::costOf([&] {
            std::vector<char *> pointers;
            for (std::string &text : arguments)
                pointers.push_back(text.data());
            pointers.push_back(nullptr);
            ::dup2(::open(output().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDOUT_FILENO);
            ::execv(KELVANE_TOOL, pointers.data());
            ::_exit(127);
        });
        check(cost.isDone, std::string(name) + " succeeds");
        return {name, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(), cost};
    }

    [[nodiscard]] Step sync(const char *name, std::vector<std::string> options,
        const std::vector<std::pair<const char *, std::int64_t>> &counts)
    {
        options.insert(options.begin(), "sync");
        options.insert(options.end(), {"--json", "--reserve", "0", _sources.folder().native(), device().native()});
        const Step step = tool(name, options);
        const nlohmann::json summary = nlohmann::json::parse(lastLine());
        for (const auto &[outcome, count] : counts)
            check(summary[outcome] == count, std::string(name) + " counts what is " + outcome + ": " + summary.dump());
        return step;
    }

    [[nodiscard]] std::string lastLine() const
    {
        std::ifstream file(output());
        std::string last;
        for (std::string line; std::getline(file, line);)
            last = line;
        return last;
    }

    // The device as the last list tells it.
    void compare() const
    {
        std::ifstream file(output());
        std::int64_t count = 0;
        for (std::string line; std::getline(file, line); ++count) {
            const nlohmann::json item = nlohmann::json::parse(line);
            const std::string source = item["source"];
            check(contentOf(device() / item["devicePath"].get<std::string>()) == contentOf(source),
                source + " arrives as it is");
        }
        check(count == _items, "every file has a row");
    }

    const std::int64_t _items;
    const std::int64_t _synced;
    const fs::path _folder;
    Sources _sources;
};

void print(std::int64_t items, std::int64_t synced, const std::vector<Step> &steps)
{
    std::printf("%lld items", static_cast<long long>(items));
    if (synced < items)
        std::printf(", of which the first sync brought %lld", static_cast<long long>(synced));
    std::printf("\n%-24s %10s %14s %10s\n", "", "seconds", "processor s", "peak MiB");
    for (const Step &step : steps)
        std::printf(
            "%-24s %10.1f %14.1f %10.1f\n", step.name, step.seconds, step.cost.processorSeconds, step.cost.megabytes);
    std::fflush(stdout);
}

void requireRoom(std::int64_t items, const fs::path &folder)
{
    struct statvfs status {};
    fs::create_directories(folder);
    check(::statvfs(folder.c_str(), &status) == 0, "there is a folder " + folder.native());
    // A block and an entry on the device, and some for the folders, the database and its log.
    const auto needed = static_cast<std::uint64_t>(items) + 10'000;
    check(status.f_favail == 0 || status.f_favail > needed, "the file system has entries for so many files");
    check(
        status.f_bavail * status.f_frsize > needed * 3 * status.f_frsize, "the file system has room for so many files");
}

std::vector<Step> measure(std::int64_t items, std::int64_t synced, const fs::path &folder)
{
    requireRoom(items, folder);
    Library library(items, synced, folder);
    std::vector<Step> steps = library.run();
    print(items, synced, steps);
    return steps;
}

} // namespace

bool buildLargeLibrary(std::int64_t items, std::int64_t synced, const fs::path &folder)
{
    // After so many items, albums and kinds of songs come again in the same order.
    constexpr auto period = filesOfAnAlbum * static_cast<std::int64_t>(songs.size());
    try {
        check(synced >= items || synced % period == 0,
            "what is to be multiplied comes in " + std::to_string(period) + "s");
        static_cast<void>(measure(items, std::min(synced, items), folder));
        return true;
    } catch (const std::exception &error) {
        std::printf("FAILED: broken promise: %s\n", error.what());
        return false;
    }
}

bool compareLibraries(std::int64_t fewItems, std::int64_t manyItems, const fs::path &folder, bool judgesMemory)
{
    constexpr double mostBytes = 1500; // for one item more
    constexpr double mostTimes = 3; // as much processor time as the number of items would make it
    try {
        const auto few = measure(fewItems, fewItems, folder);
        const auto many = measure(manyItems, manyItems, folder);
        bool isBounded = true;
        for (std::size_t i = 0; i < few.size(); ++i) {
            const double bytes = (many[i].cost.megabytes - few[i].cost.megabytes) * 1024 * 1024
                / static_cast<double>(manyItems - fewItems);
            // Small runs are mostly start-up: a tenth of a second is not counted against anybody.
            const double times = many[i].cost.processorSeconds
                / ((few[i].cost.processorSeconds + 0.1) * static_cast<double>(manyItems)
                    / static_cast<double>(fewItems));
            const bool isGood = (bytes <= mostBytes || !judgesMemory) && times <= mostTimes;
            std::printf("%-24s %6.0f bytes for an item more, %.2f of the processor time that their number makes%s\n",
                few[i].name, bytes, times, isGood ? "" : "  TOO MUCH");
            isBounded = isBounded && isGood;
        }
        return isBounded;
    } catch (const std::exception &error) {
        std::printf("FAILED: broken promise: %s\n", error.what());
        return false;
    }
}

} // namespace kelvane::soak
