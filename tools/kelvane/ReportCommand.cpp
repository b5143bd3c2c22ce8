// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "DeviceSession.h"
#include "Interruption.h"
#include "JsonText.h"
#include "ReportPage.h"
#include "ReportPictures.h"
#include "SafeFile.h"
#include "Text.h"

#include <array>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>

namespace kelvane::tool {
namespace {

struct Options {
    std::string device;
    std::string file;
    int jobs = 2;
};

std::string now()
{
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", &parts);
    return text.data();
}

ReportKind kindOf(const MediaBase &media)
{
    switch (static_cast<MediaKind>(media.mediaKind())) {
    case MediaKind::Audio:
        return ReportKind::Audio;
    case MediaKind::Video:
        return ReportKind::Video;
    case MediaKind::Image:
        return ReportKind::Images;
    }
    return ReportKind::Unknown;
}

ReportItem itemOf(const SyncRecord &record)
{
    const MediaBase &media = *record.media;
    ReportItem item;
    item.kind = kindOf(media);
    item.title = media.title().isEmpty() ? std::string(lastComponent(record.devicePath)) : media.title().str();
    item.artist = std::string(media.artist().view());
    item.album = std::string(media.album().view());
    item.file = record.devicePath;
    const bool isTimed = item.kind != ReportKind::Images && media.duration() > 0;
    item.seconds = isTimed ? static_cast<std::uint64_t>(media.duration()) : 0;
    item.bytes = static_cast<std::uint64_t>(record.deviceStamp.size);
    return item;
}

ReportData collect(DeviceFolder &device, int jobs, WorkProgress &progress)
{
    DeviceLibrary library(device);
    ReportData data;
    data.device = device.path();
    data.day = now();
    data.capacity = device.capacity();
    data.free = device.freeSpace();
    std::map<std::string, std::size_t> numbers;
    std::vector<std::string> pictures;
    library.forEachRecord(true, [&](const std::shared_ptr<SyncRecord> &record) {
        ReportItem item = itemOf(*record);
        const String &picture = record->media->devArtworkPath();
        if (!picture.isEmpty()) {
            const auto [found, isNew] = numbers.emplace(picture.str(), pictures.size() + 1);
            if (isNew)
                pictures.push_back(picture.str());
            item.picture = found->second;
        }
        data.items.push_back(std::move(item));
    });
    data.pictures = smallPictures(device, pictures, jobs, progress);
    return data;
}

ExitCode writeReport(const Options &options, const OutputOptions &output)
{
    DeviceFolder device(options.device);
    DeviceLibrary::require(device, "report on");
    WorkProgress progress(output);
    const ReportData data = usingDevice(device, [&] { return collect(device, options.jobs, progress); });
    if (Interruption::isRequested())
        return ExitInterrupted;
    const std::string page = reportPage(data);
    try {
        writeFileSafely(options.file, page);
    } catch (const ItemError &error) {
        throw StopError(ExitCannotStart, "cannot write " + inQuotes(options.file) + ": " + error.what());
    }
    if (output.isJson)
        printJsonLine({{"report", jsonText(options.file)}, {"items", data.items.size()},
            {"pictures", data.pictures.size()}, {"bytes", page.size()}});
    else
        std::puts(("wrote " + printable(options.file) + ": " + countText(data.items.size(), "item") + ", "
            + bytesText(page.size()) + "; open it in a browser")
                      .c_str());
    return ExitDone;
}

} // namespace

Command defineReportCommand(CLI::App &application)
{
    const auto options = std::make_shared<Options>();
    Command command = addCommand(application,
        {"report", "Write a page on a device's media, for a browser", "[OPTIONS] DEVICE -o FILE",
            {"One HTML file that needs no network: items with their artwork, to be sorted and filtered, totals by "
             "kind, "
             "and what takes the device's room. A file that is there already is replaced once the new one is whole."},
            {"kelvane report /media/$USER/PHONE -o report.html"},
            {ExitDone, ExitWrongUse, ExitCannotStart, ExitInterrupted}, "Print one object as JSON"});
    CLI::App &definition = *command.definition;
    definition.add_option("DEVICE", options->device, "The device's folder")->required()->option_text("DEVICE");
    definition.add_option("-o,--output", options->file, "The page to write")->required()->option_text("FILE");
    addJobsOption(command, options->jobs, "Pictures to scale down at once");
    command.run = [options, output = command.output] {
        Interruption::install();
        return writeReport(*options, *output);
    };
    return command;
}

} // namespace kelvane::tool
