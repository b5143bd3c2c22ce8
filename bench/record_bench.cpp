// SPDX-License-Identifier: Apache-2.0
//
// What a copy of a media record costs, beside copies of structs that have the same fields with other texts: a million
// copies each. Three kinds of records: a new one, a song as it comes from a file (some twenty texts), and one with every
// field set.
#include "support/Contest.h"

#include <kelvane/media/MediaBase.h>

#include <algorithm>
#include <array>
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

constexpr std::size_t count = 1'000'000;
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

Contest::Round copying(auto copy)
{
    return [copy] {
        std::vector<decltype(copy())> copies(kept);
        return seconds([&] {
            for (std::size_t i = 0; i < count; ++i)
                copies[i % kept] = copy();
        }) / count;
    };
}

void measure(const char *name, bool (*isSet)(std::string_view))
{
    Records records;
    fill(records, isSet);
    Contest("record", name, {"ns/copy", 1e9})
        .ours(copying([&] { return records.ours.copy(); }))
        .peer("std::optional<std::string> fields", 0.2,
            copying([&] { return std::make_shared<decltype(records.plain)>(records.plain); }))
        .peer("QString fields", 0, copying([&] { return std::make_shared<decltype(records.qt)>(records.qt); }))
        .run();
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
