// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"

#include "IndexFacts.h"
#include "JsonText.h"
#include "PhotoInfo.h"
#include "SourceFile.h"
#include "Text.h"

#include <kelvane/media/Mediadata.h>
#include <kelvane/platform/ImageSource.h>

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelvane::tool {
namespace {

struct Property {
    const char *name;
    Value (*read)(const Mediadata &metadata);
};

// The property's name is that of the function that reads it, and the key of its value.
#define PROPERTY(name)                                                                                                 \
    {                                                                                                                  \
#name, [](const Mediadata &metadata) { return Value(metadata.name()); }                                        \
    }

// In declared order. The list of artwork files is left out: asking for it would make them.
constexpr Property properties[] = {PROPERTY(filePath), PROPERTY(title), PROPERTY(album), PROPERTY(artist),
    PROPERTY(comment), PROPERTY(genre), PROPERTY(albumArtist), PROPERTY(copyright), PROPERTY(composer),
    PROPERTY(grouping), PROPERTY(albumSort), PROPERTY(artistSort), PROPERTY(albumArtistSort), PROPERTY(composerSort),
    PROPERTY(titleSort), PROPERTY(feedURL), PROPERTY(lyrics), PROPERTY(year), PROPERTY(trackNo), PROPERTY(trackCount),
    PROPERTY(discCount), PROPERTY(discNumber), PROPERTY(duration), PROPERTY(bitrate), PROPERTY(sampleRate),
    PROPERTY(channels), PROPERTY(audioformat), PROPERTY(tagTypes), PROPERTY(fileSize), PROPERTY(addedTime),
    PROPERTY(modifiedTime), PROPERTY(releasedDate), PROPERTY(purchasedDate), PROPERTY(description), PROPERTY(mediaType),
    PROPERTY(tvShow), PROPERTY(tvshowNetWork), PROPERTY(episodeID), PROPERTY(tvEpisode), PROPERTY(season),
    PROPERTY(isPodcast), PROPERTY(isiTunesU), PROPERTY(podcastURL), PROPERTY(podcastIdentifier),
    PROPERTY(iTunesAccount)};

#undef PROPERTY

std::size_t artworkCountOf(const Mediadata &metadata)
{
    const AudioMetadata *tags = metadata.audioMetadata();
    return tags ? tags->GetAttachedPictures().size() : 0;
}

void printJson(const std::string &path, const Mediadata &metadata)
{
    const std::size_t artworkCount = artworkCountOf(metadata);
    Json json{{"path", jsonText(path)}};
    for (const Property &property : properties)
        json[property.name] = jsonValue(property.read(metadata));
    json["isExistArtwork"] = artworkCount > 0;
    json["artworkCount"] = artworkCount;
    for (const Fact &fact : indexFacts(path))
        json[fact.name] = jsonValue(fact.value);
    printJsonLine(json);
}

std::string readable(const Value &value)
{
    if (const Date *date = value.getIf<Date>())
        return date->toIso8601().str();
    if (const Array *list = value.getIf<Array>()) {
        std::string text;
        for (const Value &element : *list)
            text += (text.empty() ? "" : ", ") + readable(element);
        return text;
    }
    return printable(value.stringValue().view());
}

void printListing(const std::string &path, const Mediadata &metadata)
{
    constexpr std::size_t nameWidth = 18;
    std::puts(printable(path).c_str());
    const auto print = [](const char *name, const std::string &text) {
        if (!text.empty())
            std::puts(("  " + fitted(name, nameWidth) + text).c_str());
    };
    for (const Property &property : properties)
        print(property.name, readable(property.read(metadata)));
    print("artworkCount", std::to_string(artworkCountOf(metadata)));
    for (const Fact &fact : indexFacts(path))
        print(fact.name, readable(fact.value));
}

void showFile(const std::string &path, bool isJson)
{
    requireReadable(path);
    if (const auto photo = openPhoto(path)) {
        isJson ? printPhotoJson(path, *photo) : printPhotoListing(path, *photo);
        return;
    }
    Mediadata metadata(AudioMetadata::CreateMetadataForURL(path));
    metadata.setFilePath(path);
    metadata.loadMediaData();
    if (isJson)
        printJson(path, metadata);
    else
        printListing(path, metadata);
}

ExitCode showInfo(const std::vector<std::string> &files, bool isJson)
{
    ExitCode code = ExitDone;
    for (const std::string &path : files) {
        try {
            if (!isJson && &path != &files.front())
                std::puts("");
            showFile(path, isJson);
        } catch (const ItemError &error) {
            code = ExitSomeFailed;
            if (isJson)
                printJsonLine({{"path", jsonText(path)}, {"error", error.what()}});
            std::fprintf(stderr, "kelvane: cannot read %s: %s\n", inQuotes(path).c_str(), error.what());
        }
    }
    return code;
}

} // namespace

Command defineInfoCommand(CLI::App &application)
{
    const auto files = std::make_shared<std::vector<std::string>>();
    Command command = addCommand(application,
        {"info", "Show what is known of media files and pictures", "[OPTIONS] FILE...",
            {"Tags, technical facts and artwork of songs and films; size, camera, day and place of photos."},
            {"kelvane info song.mp3", "kelvane info --json *.mp4"}, {ExitDone, ExitSomeFailed, ExitWrongUse},
            "Print one object a line as JSON"});
    command.definition->add_option("FILE", *files, "Files to read")->required()->option_text("FILE...");
    command.run = [files, output = command.output] { return showInfo(*files, output->isJson); };
    return command;
}

} // namespace kelvane::tool
