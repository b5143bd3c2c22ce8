// SPDX-License-Identifier: Apache-2.0
#include "SyncCommand.h"

#include "CommandLine.h"
#include "DeviceSession.h"
#include "Interruption.h"
#include "JsonEvents.h"
#include "PlainProgress.h"
#include "SpaceBudget.h"
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
    if (options.output.isJson)
        return std::make_unique<JsonEvents>();
    // The lines of a dry run, and those of the library's log, do not go together with a line that moves.
    if (Terminal::isPresent() && !options.isDryRun && !options.output.isVerbose)
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
    SyncSummary summary = usingDevice(device, [&] { return _options.isDryRun ? dryRun(device) : sync(device); });
    summary.isInterrupted = Interruption::isRequested();
    summary.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    _view->finished(summary);
    return summary.isInterrupted ? ExitInterrupted : summary.items(SyncOutcome::Failed) > 0 ? ExitSomeFailed : ExitDone;
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
        const auto tell = [&](std::string_view what, SyncOutcome outcome) {
            summary.count(outcome, record->devicePath, record->sourceStamp.size);
            _view->itemPlanned({record->source, {}, what, record->sourceStamp.size});
        };
        if (item->itemState() == DataItemState::Added)
            tell("add", SyncOutcome::Copied);
        else if (item->itemState() == DataItemState::Modified)
            tell("change", SyncOutcome::Replaced);
        else
            tell("delete", SyncOutcome::Removed);
    }
    return summary;
}

SyncSummary SyncCommand::sync(DeviceFolder &device)
{
    DeviceSession session(device);
    SyncPlan plan(_options, device, &session.library(), *_view);
    plan.build();
    planTransfers(session.library(), plan.pending());
    announce(*_view, plan.pending());
    SpaceBudget budget(device, _options.reserve);
    const auto work = std::make_shared<SyncWork>(device, session.library(), plan.names(), budget, _options.verifies);
    const auto run = std::make_shared<SyncRun>(plan, work, *_view, _options.jobs);
    run->run();
    SyncSummary summary = run->summary();
    try {
        session.end();
    } catch (const std::runtime_error &error) {
        // A full or unplugged device: what is done is done, and the next run settles the rest.
        summary.count(SyncOutcome::Failed, {}, 0);
        _view->errorLine("cannot tidy up the device " + inQuotes(device.path()) + ": " + error.what());
    }
    if (budget.hasRefused())
        _view->errorLine("make room with \"kelvane remove " + printable(_options.device)
            + " ITEM...\", or keep less free with --reserve, and sync again");
    return summary;
}

Command defineSyncCommand(CLI::App &application)
{
    struct Options {
        std::vector<std::string> paths;
        std::string reserve;
        SyncOptions sync;
    };
    const auto options = std::make_shared<Options>();
    SyncOptions &sync = options->sync;
    Command command = addCommand(application,
        {"sync", "Bring media files to a device", "[OPTIONS] SOURCE... DEVICE",
            {"Audio and video go to Music, images to Photos, HEIC photos as JPEG. A second run copies only what "
             "changed; an interrupted one is finished by the next."},
            {"kelvane sync ~/Music ~/Pictures /media/$USER/PHONE",
                "kelvane sync --delete --verify ~/Music /media/$USER/PHONE"},
            {ExitDone, ExitSomeFailed, ExitWrongUse, ExitCannotStart, ExitInterrupted},
            "Print one event a line as JSON"});
    CLI::App &definition = *command.definition;
    definition.add_option("PATH", options->paths, "Files or folders, and last the device's folder")
        ->expected(0, -1)
        ->option_text("SOURCE... DEVICE");
    definition.add_flag("-n,--dry-run", sync.isDryRun, "Say what would be done, and do nothing");
    addJobsOption(command, sync.jobs, "Items to work on at once");
    definition.add_flag(
        "--delete", sync.deletesVanished, "Remove from the device what is no longer in the given folders");
    definition.add_flag("--verify", sync.verifies, "Compare every copy with its source, byte by byte");
    definition.add_flag("--keep-heic", sync.keepsHeic, "Copy HEIC photos as they are, not as JPEG");
    definition
        .add_option("--reserve", options->reserve,
            std::string("Keep so much of the device free, as in 1GB, 5% or 0 (default ") + SpaceReserve::usual + ')')
        ->option_text("SIZE");
    command.run = [options, output = command.output] {
        SyncOptions &asked = options->sync;
        if (options->paths.size() < 2)
            throw StopError(ExitWrongUse, "sync needs a SOURCE and a DEVICE (see kelvane sync --help)");
        if (!options->reserve.empty()) {
            const std::optional<SpaceReserve> reserve = SpaceReserve::parse(options->reserve);
            if (!reserve)
                throw StopError(
                    ExitWrongUse, "--reserve: " + inQuotes(options->reserve) + " is no size such as 1GB, 300MB or 5%");
            asked.reserve = *reserve;
        }
        asked.device = options->paths.back();
        options->paths.pop_back();
        asked.sources = std::move(options->paths);
        asked.output = *output;
        Interruption::install();
        return SyncCommand(std::move(asked)).run();
    };
    return command;
}

} // namespace kelvane::tool
