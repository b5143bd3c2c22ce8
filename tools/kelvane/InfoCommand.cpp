// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"

#include "IndexFacts.h"
#include "JsonText.h"
#include "PhotoInfo.h"
#include "SideBySide.h"
#include "SourceFile.h"
#include "Text.h"

#include <kelvane/media/Mediadata.h>
#include <kelvane/platform/ImageSource.h>

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
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
    return tags ? tags->GetAttachedPictureCount() : 0;
}

Json mediaJson(const std::string &path, const Mediadata &metadata)
{
    const std::size_t artworkCount = artworkCountOf(metadata);
    Json json{{"path", jsonText(path)}};
    for (const Property &property : properties)
        json[property.name] = jsonValue(property.read(metadata));
    json["isExistArtwork"] = artworkCount > 0;
    json["artworkCount"] = artworkCount;
    for (const Fact &fact : indexFacts(metadata.loadedIndex()))
        json[fact.name] = jsonValue(fact.value);
    return json;
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

std::string mediaListing(const std::string &path, const Mediadata &metadata)
{
    constexpr std::size_t nameWidth = 18;
    std::string listing = printable(path) + '\n';
    const auto add = [&listing](const char *name, const std::string &text) {
        if (!text.empty())
            listing += "  " + fitted(name, nameWidth) + text + '\n';
    };
    for (const Property &property : properties)
        add(property.name, readable(property.read(metadata)));
    add("artworkCount", std::to_string(artworkCountOf(metadata)));
    for (const Fact &fact : indexFacts(metadata.loadedIndex()))
        add(fact.name, readable(fact.value));
    return listing;
}

std::string describe(const std::string &path, bool isJson)
{
    requireReadable(path);
    if (const auto photo = openPhoto(path))
        return isJson ? jsonLine(photoJson(path, *photo)) : photoListing(path, *photo);
    Mediadata metadata(AudioMetadata::CreateMetadataForURL(path));
    metadata.setFilePath(path);
    metadata.loadMediaData();
    return isJson ? jsonLine(mediaJson(path, metadata)) : mediaListing(path, metadata);
}

struct Answer {
    std::string text;
    std::string error;
};

Answer answerFor(const std::string &path, bool isJson)
{
    try {
        return {describe(path, isJson), {}};
    } catch (const ItemError &error) {
        return {isJson ? jsonLine({{"path", jsonText(path)}, {"error", error.what()}}) : std::string(), error.what()};
    }
}

// Files are read side by side, some at a time so that the first lines come soon, and told in the order of the arguments.
ExitCode showInfo(const std::vector<std::string> &files, bool isJson)
{
    constexpr std::size_t filesAtATime = 128;
    const int jobs = static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));
    ExitCode code = ExitDone;
    for (std::size_t first = 0; first < files.size(); first += filesAtATime) {
        std::vector<Answer> answers(std::min(filesAtATime, files.size() - first));
        runSideBySide(answers.size(), jobs, [&](std::size_t i) { answers[i] = answerFor(files[first + i], isJson); });
        for (std::size_t i = 0; i < answers.size(); ++i) {
            if (!isJson && first + i > 0)
                std::puts("");
            std::fwrite(answers[i].text.data(), 1, answers[i].text.size(), stdout);
            if (answers[i].error.empty())
                continue;
            code = ExitSomeFailed;
            std::fflush(stdout);
            std::fprintf(
                stderr, "kelvane: cannot read %s: %s\n", inQuotes(files[first + i]).c_str(), answers[i].error.c_str());
        }
        std::fflush(stdout);
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
