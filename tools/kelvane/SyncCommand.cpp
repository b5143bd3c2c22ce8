// SPDX-License-Identifier: Apache-2.0
#include "SyncCommand.h"

#include "DeviceLock.h"
#include "DeviceRepair.h"
#include "Interruption.h"
#include "JsonEvents.h"
#include "PlainProgress.h"
#include "SyncPlan.h"
#include "SyncRun.h"
#include "Terminal.h"
#include "TerminalProgress.h"
#include "Text.h"

#include <chrono>
#include <optional>

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
    for (const char *folder : {"Music", "Photos", DeviceRepair::incomingFolder})
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

} // namespace kelvane::tool
