// SPDX-License-Identifier: Apache-2.0
#include "SyncCommand.h"

#include "CommandLine.h"
#include "DeviceLock.h"
#include "DeviceRepair.h"
#include "Interruption.h"
#include "JsonEvents.h"
#include "LogOutput.h"
#include "PlainProgress.h"
#include "SyncPlan.h"
#include "SyncRun.h"
#include "Terminal.h"
#include "TerminalProgress.h"
#include "Text.h"

#include <chrono>
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane::tool {
namespace {

std::unique_ptr<SyncView> makeView(const SyncOptions &options)
{
    if (options.isJson)
        return std::make_unique<JsonEvents>();
    if (options.isQuiet)
        return std::make_unique<SyncView>();
    // The lines of a dry run, and those of the library's log, do not go together with a line that moves.
    if (Terminal::isPresent() && !options.isDryRun && !options.isVerbose)
        return std::make_unique<TerminalProgress>();
    return std::make_unique<PlainProgress>();
}

void announce(SyncView &view, const SyncPlan::Items &pending)
{
    std::uint64_t bytes = 0;
    for (const std::shared_ptr<SyncItem> &item : pending)
        if (item->itemState() != DataItemState::Deleted)
            bytes += static_cast<std::uint64_t>(item->record()->sourceStamp.size);
    view.planned(pending.size(), bytes);
}

// Before any file gets a name on the device: what is ours must be known after every kind of end.
void planTransfers(DeviceLibrary &library, const SyncPlan::Items &pending)
{
    std::vector<DeviceLibrary::Transfer> transfers;
    for (const std::shared_ptr<SyncItem> &item : pending)
        if (isAnyOf(item->itemState(), DataItemState::Added | DataItemState::Modified)) {
            const std::shared_ptr<SyncRecord> record = item->record();
            transfers.push_back({record->devicePath, record->source, record->sourceStamp});
        }
    if (!transfers.empty())
        library.planTransfers(transfers);
}

} // namespace

SyncCommand::SyncCommand(SyncOptions options) : _options(std::move(options)), _view(makeView(_options)) {}

ExitCode SyncCommand::run()
{
    const auto begin = std::chrono::steady_clock::now();
    DeviceFolder device(_options.device);
    SyncSummary summary;
    try {
        summary = _options.isDryRun ? dryRun(device) : sync(device);
    } catch (const std::runtime_error &error) {
        if (dynamic_cast<const StopError *>(&error))
            throw;
        throw StopError(
            ExitCannotStart, "cannot use the device " + inQuotes(device.path()) + ": " + std::string(error.what()));
    }
    summary.isInterrupted = Interruption::isRequested();
    summary.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    _view->finished(summary);
    return summary.isInterrupted ? ExitInterrupted : summary.failed > 0 ? ExitSomeFailed : ExitDone;
}

SyncSummary SyncCommand::dryRun(DeviceFolder &device)
{
    std::optional<DeviceLibrary> library;
    if (DeviceLibrary::exists(device))
        library.emplace(device);
    SyncPlan plan(_options, device, library ? &*library : nullptr, *_view);
    plan.build();
    SyncSummary summary = plan.settled();
    summary.isDryRun = true;
    for (const std::shared_ptr<SyncItem> &item : plan.pending()) {
        const std::shared_ptr<SyncRecord> record = item->record();
        const DataItemState state = item->itemState();
        const std::string_view what = state == DataItemState::Added ? "add"
            : state == DataItemState::Modified                      ? "change"
                                                                    : "delete";
        ++(state == DataItemState::Added           ? summary.added
                : state == DataItemState::Modified ? summary.changed
                                                   : summary.deleted);
        if (state != DataItemState::Deleted)
            summary.bytes += static_cast<std::uint64_t>(record->sourceStamp.size);
        _view->itemPlanned({record->source, {}, what, record->sourceStamp.size});
    }
    return summary;
}

// All of the folders are checked before anything is made: a link among them is refused.
void SyncCommand::prepare(DeviceFolder &device)
{
    for (const char *folder : {"Music", "Photos", DeviceRepair::incomingFolder, ArtworkStore::folder})
        device.checkFolder(folder);
    device.makeFolder(DeviceRepair::incomingFolder);
}

SyncSummary SyncCommand::sync(DeviceFolder &device)
{
    prepare(device);
    const DeviceLock lock(device);
    if (!DeviceLibrary::exists(device))
        DeviceLibrary::create(device);
    DeviceLibrary library(device);
    library.beginWriting();
    DeviceRepair repair(device, library);
    repair.settle();

    SyncPlan plan(_options, device, &library, *_view);
    plan.build();
    planTransfers(library, plan.pending());
    announce(*_view, plan.pending());
    const auto work = std::make_shared<SyncWork>(device, library, plan.names(), _options.verifies);
    const auto run = std::make_shared<SyncRun>(plan, work, *_view, _options.jobs);
    run->run();
    SyncSummary summary = run->summary();
    try {
        repair.settle();
        library.endWriting();
    } catch (const std::runtime_error &error) {
        // A full or unplugged device: what is done is done, and the next run settles the rest.
        ++summary.failed;
        _view->errorLine("cannot tidy up the device " + inQuotes(device.path()) + ": " + error.what());
    }
    return summary;
}

Command defineSyncCommand(CLI::App &application)
{
    struct Options {
        std::vector<std::string> paths;
        SyncOptions sync;
    };
    const auto options = std::make_shared<Options>();
    SyncOptions &sync = options->sync;
    CLI::App *command = addCommand(application,
        {"sync", "Bring media files to a device", "[OPTIONS] SOURCE... DEVICE",
            "Audio and video go to Music, images to Photos, HEIC photos as JPEG. A second run copies only what\n"
            "changed; an interrupted one is finished by the next.\n\n"
            "Example:\n  kelvane sync ~/Music ~/Pictures /media/$USER/PHONE\n\n"
            "Exit codes: 0 done, 1 some items failed, 2 wrong use, 3 cannot start, 130 interrupted"});
    command->add_option("PATH", options->paths, "SOURCE... DEVICE: files or folders, then the device's folder")
        ->expected(0, -1)
        ->option_text(" ");
    command->add_flag("-n,--dry-run", sync.isDryRun, "Say what would be done, and do nothing");
    command->add_option("-j,--jobs", sync.jobs, "Items to work on at once (default 2)")
        ->check(CLI::Range(1, 64))
        ->option_text("N");
    command->add_flag(
        "--delete", sync.deletesVanished, "Remove from the device what is no longer in the given folders");
    command->add_flag("--verify", sync.verifies, "Compare every copy with its source, byte by byte");
    command->add_flag("--keep-heic", sync.keepsHeic, "Copy HEIC photos as they are, not as JPEG");
    command->add_flag("-q,--quiet", sync.isQuiet, "Say nothing but errors");
    command->add_flag("-v,--verbose", sync.isVerbose, "Show the library's log on standard error");
    addJsonFlag(*command, sync.isJson, "Print one event a line as JSON");
    return {command, [options] {
                if (options->paths.size() < 2)
                    throw StopError(ExitWrongUse, "sync needs a SOURCE and a DEVICE (see kelvane sync --help)");
                options->sync.device = options->paths.back();
                options->paths.pop_back();
                options->sync.sources = std::move(options->paths);
                Interruption::install();
                setLogOutput(options->sync.isVerbose);
                return SyncCommand(std::move(options->sync)).run();
            }};
}

} // namespace kelvane::tool
