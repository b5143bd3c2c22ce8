// SPDX-License-Identifier: Apache-2.0
//
// What a copy of a media record costs, beside copies of structs that have the same fields with other texts: a million
// copies each. Three kinds of records: a new one, a song as it comes from a file (some twenty texts), and one with every
// field set.
#include "support/Contest.h"

#include <kelvane/media/MediaBase.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <QString>
#include <string>
#include <utility>
#include <vector>

using namespace kelvane;
using namespace kelvane::bench;

namespace {

constexpr int count = 1'000'000;
constexpr std::size_t kept = 1000; // copies alive at once, as in a list that is filled and emptied

/// The same fields, as many of each type as MediaBase has, the way they would be written without our vocabulary.
template <class Text>
struct PlainRecord {
    std::array<Text, 33> texts;
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
    PlainRecord<std::optional<std::string>> plain;
    PlainRecord<QString> qt;
};

void fill(Records &records, bool (*isSet)(std::string_view))
{
    std::size_t index = 0;
    for (const MediaField &field : MediaBase::fields()) {
        if (field.kind != Value::Kind::String)
            continue;
        if (isSet(field.name)) {
            const char *text = textOf(field.name);
            field.set(records.ours, String(text));
            records.plain.texts.at(index) = text;
            records.qt.texts.at(index) = QString::fromLatin1(text);
        }
        ++index;
    }
}

double secondsPerCopy(auto copy, int times)
{
    std::vector<decltype(copy())> copies(kept);
    return seconds([&] {
        for (std::size_t i = 0; i < static_cast<std::size_t>(times); ++i)
            copies[i % kept] = copy();
    }) / times;
}

Contest::Round copying(auto copy)
{
    return [copy] { return secondsPerCopy(copy, count); };
}

Contest::Round memoryOfCopies(auto copy)
{
    constexpr std::size_t many = 100'000;
    return memoryOf([copy] {
        auto *copies = new std::vector<decltype(copy())>;
        copies->reserve(many);
        while (copies->size() < many)
            copies->push_back(copy());
    });
}

void measure(const std::string &name, bool (*isSet)(std::string_view))
{
    Records records;
    fill(records, isSet);
    const auto ours = [&] { return records.ours.copy(); };
    const auto plain = [&] { return std::make_shared<decltype(records.plain)>(records.plain); };
    const auto qt = [&] { return std::make_shared<decltype(records.qt)>(records.qt); };
    // Before this process has memory that a child would find already there.
    Contest("record", name + ", peak memory of 100,000", {"MB", 1e-6})
        .ours(memoryOfCopies(ours))
        .peer("std::optional<std::string> fields", 0, memoryOfCopies(plain))
        .peer("QString fields", 0, memoryOfCopies(qt))
        .run(3);
    Contest("record", name, {"ns/copy", 1e9})
        .ours(copying(ours))
        .peer("std::optional<std::string> fields", 0.2, copying(plain))
        .peer("QString fields", 0, copying(qt))
        .peer("nothing but an allocation of its size", 0,
            copying([] { return std::make_shared<std::array<std::byte, sizeof(MediaBase)>>(); }))
        .run();
    scaling(
        "record", name, {"ns/copy", 1e9}, {10'000, 100'000, 1'000'000},
        [&](int times) { return secondsPerCopy(ours, times); }, 5);
}

} // namespace

int main()
{
    std::printf("MediaBase has %zu bytes, the struct of optional texts %zu\n", sizeof(MediaBase),
        sizeof(PlainRecord<std::optional<std::string>>));
    measure("copy of a new one", [](std::string_view) { return false; });
    measure("copy of a song's", isOfASong);
    measure("copy with all fields set", [](std::string_view) { return true; });
}
