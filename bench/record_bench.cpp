// SPDX-License-Identifier: Apache-2.0

// What a copy of a media record costs, beside a copy of a struct that has the same fields with std::optional texts:
// a million copies of each, in turns, in nanoseconds of processor time a copy. Three kinds of records: a new one, a
// song as it comes from a file (some twenty texts), and one with every field set.
#include <kelvane/media/MediaBase.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <time.h>
#include <vector>

using namespace kelvane;

namespace {

constexpr std::size_t count = 1'000'000;
constexpr std::size_t kept = 1000; // copies alive at once, as in a list that is filled and emptied
constexpr int rounds = 5;

/// The same fields, as many of each type as MediaBase has, the way they would be written without our vocabulary.
struct PlainRecord {
    std::array<std::optional<std::string>, 33> texts;
    std::array<std::optional<double>, 6> dates;
    std::array<std::int64_t, 9> identifiers{};
    std::array<std::uint64_t, 5> codes{};
    std::array<std::int32_t, 21> numbers{};
    std::array<bool, 4> flags{};
    double duration = 0;
    std::array<double, 2> resolution{};
    std::shared_ptr<void> artwork;
};

const char *textOf(std::string_view name)
{
    return name == "title" || name == "album" ? "The Well-Tempered Clavier, Book I"
        : name == "path"                      ? "/home/somebody/Music/A Band/An Album/03 A Song.mp3"
                                              : "a text of ordinary length";
}

bool isOfASong(std::string_view name)
{
    static constexpr std::string_view names[] = {"title", "album", "artist", "genre", "composer", "albumArtist",
        "comments", "lyrics", "description", "path", "fileName", "extension", "mimeType", "persistentID", "feedURL",
        "episodeID", "episodeShow", "tvshowNetWork", "podcastIdentifier", "iTunesAccount"};
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

struct Records {
    MediaBase ours;
    PlainRecord plain;
};

void fill(Records &records, bool (*isSet)(std::string_view))
{
    auto text = records.plain.texts.begin();
    for (const MediaField &field : MediaBase::fields()) {
        if (field.kind != Value::Kind::String)
            continue;
        if (isSet(field.name)) {
            field.set(records.ours, String(textOf(field.name)));
            *text = textOf(field.name);
        }
        ++text;
    }
}

double threadNanoseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

template <class Copy>
double nanosecondsPerCopy(Copy copy)
{
    std::vector<decltype(copy())> copies(kept);
    const double start = threadNanoseconds();
    for (std::size_t i = 0; i < count; ++i)
        copies[i % kept] = copy();
    return (threadNanoseconds() - start) / static_cast<double>(count);
}

void measure(const char *name, bool (*isSet)(std::string_view))
{
    Records records;
    fill(records, isSet);
    double ours = std::numeric_limits<double>::max();
    double plain = ours;
    for (int round = 0; round < rounds; ++round) {
        ours = std::min(ours, nanosecondsPerCopy([&] { return records.ours.copy(); }));
        plain = std::min(plain, nanosecondsPerCopy([&] { return std::make_shared<PlainRecord>(records.plain); }));
    }
    std::printf("%-12s MediaBase %6.0f ns, optional texts %6.0f ns: %.3f of it\n", name, ours, plain, ours / plain);
}

} // namespace

int main()
{
    std::printf("MediaBase has %zu bytes, the struct of optional texts %zu\n", sizeof(MediaBase), sizeof(PlainRecord));
    measure("a new one", [](std::string_view) { return false; });
    measure("a song", isOfASong);
    measure("all set", [](std::string_view) { return true; });
}
