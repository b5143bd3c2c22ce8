// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "DeviceLibrary.h"
#include "JsonText.h"
#include "Terminal.h"
#include "Text.h"

#include <kelvane/media/MediaBase.h>

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace kelvane::tool {
namespace {

std::string kindOf(const MediaBase &media)
{
    return std::string(kindName(static_cast<MediaKind>(media.mediaKind())));
}

void printJson(const SyncRecord &record)
{
    Json json{{"devicePath", jsonText(record.devicePath)}, {"source", jsonText(record.source)}};
    for (const MediaField &field : MediaBase::fields())
        json[field.name] = jsonValue(field.get(*record.media));
    printJsonLine(json);
}

// Each item takes one line: columns of numbers in the width they need, the rest shared among the texts. A narrow
// terminal gets fewer columns; a width of 0 leaves one out.
struct Columns {
    std::size_t kind = 5;
    std::size_t title = 0;
    std::size_t artist = 0;
    std::size_t album = 0;
    std::size_t duration = 0;
    std::size_t size = 8;
    std::size_t path = 0;

    Columns(std::size_t width, std::size_t longestPath, std::size_t longestDuration)
    {
        constexpr std::size_t usualPath = 19; // Music/F00/ABCD.flac
        constexpr std::size_t wide = 72;
        constexpr std::size_t narrow = 56;
        constexpr std::size_t gap = 2;
        duration = std::max(longestDuration, std::size_t{4});
        if (width < narrow)
            duration = size = 0;
        const std::size_t gaps = gap * (width < narrow ? 2 : width < wide ? 4 : 6);
        const std::size_t taken = kind + duration + size + gaps;
        const std::size_t texts = width > taken ? width - taken : 0;
        path = std::min(std::max(longestPath, std::size_t{6}), std::max(usualPath, texts * 3 / 10));
        const std::size_t rest = texts > path ? texts - path : 1;
        artist = album = width < wide ? 0 : rest * 3 / 10;
        title = rest - artist - album;
    }
};

struct Row {
    std::string kind, title, artist, album, duration, size, path;
};

void printLine(const Columns &columns, const Row &row)
{
    std::string line;
    const auto append = [&](const std::string &cell, std::size_t width) {
        if (width > 0)
            line += (line.empty() ? "" : "  ") + cell;
    };
    append(fitted(row.kind, columns.kind), columns.kind);
    append(fitted(row.title, columns.title), columns.title);
    append(fitted(row.artist, columns.artist), columns.artist);
    append(fitted(row.album, columns.album), columns.album);
    append(fittedRight(row.duration, columns.duration), columns.duration);
    append(fittedRight(row.size, columns.size), columns.size);
    const bool isCut = displayWidth(row.path) > columns.path;
    append(isCut ? fitted(row.path, columns.path) : row.path, columns.path);
    std::puts(line.c_str());
}

std::string durationOf(const MediaBase &media)
{
    const bool isTimed = media.mediaKind() != static_cast<std::uint64_t>(MediaKind::Image);
    return isTimed && media.duration() > 0 ? durationText(static_cast<std::uint64_t>(media.duration())) : "";
}

std::string textOf(const String &text)
{
    return printable(text.view());
}

// Read twice, for the widths of the columns first: kept, all lines would take more memory than a large library should.
void printTable(DeviceLibrary &library)
{
    std::size_t longestPath = 0;
    std::size_t longestDuration = 0;
    std::uint64_t items = 0;
    std::uint64_t bytes = 0;
    library.forEachRecord(true, [&](const std::shared_ptr<SyncRecord> &record) {
        longestPath = std::max(longestPath, displayWidth(printable(record->devicePath)));
        longestDuration = std::max(longestDuration, durationOf(*record->media).size());
        bytes += static_cast<std::uint64_t>(record->deviceStamp.size);
        ++items;
    });
    const Columns columns(Terminal::columns(), longestPath, longestDuration);
    if (items > 0)
        printLine(columns, {"Kind", "Title", "Artist", "Album", "Time", "Size", "File"});
    library.forEachRecord(true, [&](const std::shared_ptr<SyncRecord> &record) {
        const MediaBase &media = *record->media;
        printLine(columns,
            {kindOf(media), textOf(media.title()), textOf(media.artist()), textOf(media.album()), durationOf(media),
                bytesText(static_cast<std::uint64_t>(record->deviceStamp.size)), printable(record->devicePath)});
    });
    std::puts((countText(items, "item") + ", " + bytesText(bytes)).c_str());
}

ExitCode listDevice(const std::string &devicePath, bool isJson)
{
    DeviceFolder device(devicePath);
    DeviceLibrary::require(device, "list");
    try {
        DeviceLibrary library(device);
        if (isJson)
            library.forEachRecord(true, [](const std::shared_ptr<SyncRecord> &record) { printJson(*record); });
        else
            printTable(library);
    } catch (const DeviceLibrary::LibraryError &error) {
        throw StopError(ExitCannotStart, "cannot list " + inQuotes(devicePath) + ": " + error.what());
    }
    return ExitDone;
}

} // namespace

Command defineListCommand(CLI::App &application)
{
    const auto device = std::make_shared<std::string>();
    Command command = addCommand(application,
        {"list", "List the library of a device", "[OPTIONS] DEVICE",
            {"A narrow terminal is shown fewer columns. --json tells everything that the library knows."},
            {"kelvane list /media/$USER/PHONE"}, {ExitDone, ExitWrongUse, ExitCannotStart},
            "Print one object a line as JSON"});
    command.definition->add_option("DEVICE", *device, "The device's folder")->required()->option_text("DEVICE");
    command.run = [device, output = command.output] { return listDevice(*device, output->isJson); };
    return command;
}

} // namespace kelvane::tool
