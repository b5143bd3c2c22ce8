// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "DeviceSession.h"
#include "Interruption.h"
#include "JsonText.h"
#include "Text.h"
#include "WorkProgress.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <unordered_map>
#include <vector>

namespace kelvane::tool {
namespace {

using Records = std::vector<std::shared_ptr<SyncRecord>>;

struct Options {
    std::string device;
    std::vector<std::string> items;
    bool isDryRun = false;
};

/// Removes items in two steps: all rows first, and with each, in one change, the note that its file is to go; then the
/// files. A run that is ended in between leaves a library that tells the truth, and notes that the next sync or remove
/// works off.
class RemoveRun {
public:
    RemoveRun(const Options &options, const OutputOptions &output)
        : _options(options),
          _output(output),
          _progress(output),
          _device(options.device)
    {
    }

    ExitCode run()
    {
        DeviceLibrary::require(_device, "remove items of");
        usingDevice(_device, [&] {
            if (!_options.isDryRun)
                return remove();
            DeviceLibrary library(_device);
            for (const auto &record : chosen(library))
                tell(*record, "would remove ");
        });
        if (Interruption::isRequested())
            return ExitInterrupted;
        return _hasFailures ? ExitSomeFailed : ExitDone;
    }

private:
    void remove()
    {
        DeviceSession session(_device);
        const Records records = chosen(session.library());
        _progress.plan(records.size(), 0);
        Records forgotten;
        for (const auto &record : records) {
            if (Interruption::isRequested())
                break;
            session.library().remove(record->source);
            forgotten.push_back(record);
        }
        session.library().makeDurable();
        std::vector<DeviceLibrary::Removal> removed;
        for (const auto &record : forgotten)
            if (removeFile(session, *record))
                removed.push_back({record->devicePath, record->deviceStamp});
        _progress.finish();
        try {
            session.repair().forget(removed);
            session.end();
        } catch (const std::runtime_error &error) {
            fail(_options.device, "tidy up the device", error.what());
        }
    }

    bool removeFile(DeviceSession &session, const SyncRecord &record)
    {
        bool isRemoved = true;
        _progress.start(record.devicePath, 0);
        try {
            session.repair().removeFile({record.devicePath, record.deviceStamp});
            tell(record, "removed ");
        } catch (const std::runtime_error &error) {
            fail(record.devicePath, "remove", std::string(error.what()) + "; the next sync or remove tries again");
            isRemoved = false;
        }
        _progress.settle(record.devicePath, 0);
        return isRemoved;
    }

    // Each once, in the order in which they are named.
    Records chosen(DeviceLibrary &library)
    {
        std::unordered_map<std::string, std::vector<std::size_t>> itemsByName;
        for (std::size_t item = 0; item < _options.items.size(); ++item)
            for (const std::string &name : namesOf(_options.items[item]))
                itemsByName[name].push_back(item);

        std::vector<Records> recordsByItem(_options.items.size());
        library.forEachRecord(false, [&](const std::shared_ptr<SyncRecord> &record) {
            for (const std::string &name :
                {record->devicePath, _device.absolutePath(record->devicePath), record->source})
                if (const auto found = itemsByName.find(name); found != itemsByName.end())
                    for (const std::size_t item : found->second)
                        recordsByItem[item].push_back(record);
        });

        Records chosen;
        std::set<const SyncRecord *> known;
        for (std::size_t item = 0; item < _options.items.size(); ++item) {
            for (const auto &record : recordsByItem[item])
                if (known.insert(record.get()).second)
                    chosen.push_back(record);
            if (recordsByItem[item].empty())
                fail(_options.items[item], "remove",
                    "the library has no such item (see kelvane list " + printable(_options.device) + ')');
        }
        return chosen;
    }

    // What an item may be called: as it stands in the library, or as a path from the working directory.
    static std::set<std::string> namesOf(const std::string &item)
    {
        namespace fs = std::filesystem;
        std::error_code error;
        return {item, fs::absolute(item, error).lexically_normal().native(),
            fs::weakly_canonical(fs::absolute(item, error), error).native()};
    }

    void tell(const SyncRecord &record, const char *what)
    {
        if (_output.isJson)
            _progress.print(jsonLine({{"path", jsonText(record.devicePath)}, {"source", jsonText(record.source)},
                {"bytes", record.deviceStamp.size}, {"removed", !_options.isDryRun}}));
        else
            _progress.print(what + printable(record.devicePath) + " (" + shownPath(record.source) + ")\n");
    }

    void fail(const std::string &path, const char *what, const std::string &reason)
    {
        _hasFailures = true;
        if (_output.isJson)
            _progress.print(jsonLine({{"path", jsonText(path)}, {"error", jsonText(reason)}}));
        _progress.printError(std::string("cannot ") + what + ' ' + inQuotes(path) + ": " + reason);
    }

    const Options &_options;
    const OutputOptions &_output;
    WorkProgress _progress;
    DeviceFolder _device;
    bool _hasFailures = false;
};

} // namespace

Command defineRemoveCommand(CLI::App &application)
{
    const auto options = std::make_shared<Options>();
    Command command = addCommand(application,
        {"remove", "Remove items from a device and its library", "[OPTIONS] DEVICE ITEM...",
            {"An item is named by its file on the device, as \"kelvane list\" shows it, or by the file that it was "
             "copied from. The latter is left alone: as long as it is in a source of sync, the next sync brings it "
             "back. A file on the device that somebody has put in the place of ours is left alone, too."},
            {"kelvane remove /media/$USER/PHONE Music/F12/KXQA.mp3",
                "kelvane remove /media/$USER/PHONE ~/Music/*.flac"},
            {ExitDone, ExitSomeFailed, ExitWrongUse, ExitCannotStart, ExitInterrupted},
            "Print one object a line as JSON"});
    CLI::App &definition = *command.definition;
    definition.add_option("DEVICE", options->device, "The device's folder")->required()->option_text("DEVICE");
    definition.add_option("ITEM", options->items, "Items to remove")->required()->option_text("ITEM...");
    definition.add_flag("-n,--dry-run", options->isDryRun, "Say what would be removed, and do nothing");
    command.run = [options, output = command.output] {
        Interruption::install();
        return RemoveRun(*options, *output).run();
    };
    return command;
}

} // namespace kelvane::tool
