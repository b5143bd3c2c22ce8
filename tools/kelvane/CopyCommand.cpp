// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Interruption.h"
#include "JsonText.h"
#include "SideBySide.h"
#include "Text.h"
#include "TreeCopy.h"
#include "WorkProgress.h"

#include <cerrno>
#include <chrono>
#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace kelvane::tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const std::string &path, const std::string &reason)
{
    throw StopError(ExitCannotStart, "cannot copy " + inQuotes(path) + ": " + reason);
}

bool exists(const std::string &path)
{
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Into a folder under its own name, else to exactly that place.
std::string targetFor(const std::string &from, const std::string &to)
{
    std::error_code error;
    std::string target = to;
    if (fs::is_directory(to, error)) {
        // "folder/" and ".." have no name of their own at their end.
        std::string whole = fs::absolute(from, error).lexically_normal().native();
        while (whole.size() > 1 && whole.back() == '/')
            whole.pop_back();
        target = (fs::path(to) / fs::path(whole).filename()).native();
    }
    while (target.size() > 1 && target.back() == '/')
        target.pop_back();
    if (exists(target))
        refuse(from, inQuotes(target) + " is there already; remove it, or name another place");
    return target;
}

void requireSpace(const std::string &from, const std::string &target, std::int64_t bytes)
{
    const std::string folder = fs::path(target).parent_path().native();
    struct statvfs status {};
    if (::statvfs(folder.empty() ? "." : folder.c_str(), &status) != 0)
        refuse(from, "folder " + inQuotes(folder) + ": " + reasonText(errno));
    const std::uint64_t free = std::uint64_t{status.f_bavail} * status.f_frsize;
    const auto needed = static_cast<std::uint64_t>(bytes);
    if (needed > free)
        refuse(from, "no space left there (needs " + bytesText(needed) + ", " + bytesText(free) + " free)");
}

class CopyRun {
public:
    CopyRun(const std::string &from, const std::string &target, TreeCopy::Extent extent, const OutputOptions &output)
        : _from(from),
          _target(target),
          _extent(extent),
          _isJson(output.isJson),
          _progress(output),
          _copy(from, target, [this](std::int64_t bytes) { progressed(bytes); })
    {
    }

    ExitCode run()
    {
        Interruption::whenRequested([this] { _copy.cancel(); });
        tell("started", {{"target", jsonText(_target)}, {"files", _extent.files}, {"bytes", _extent.bytes}});
        _progress.plan(1, static_cast<std::uint64_t>(_extent.bytes));
        _progress.start(_from, _extent.bytes);
        bool isWhole = false;
        runSideBySide(1, 1, _progress, [&](std::size_t) { isWhole = _copy.run(); });
        Interruption::whenRequested({});
        _progress.finish();
        return isWhole ? succeed() : fail();
    }

private:
    void progressed(std::int64_t bytes)
    {
        constexpr std::chrono::milliseconds interval{100};
        _progress.progress(_from, bytes);
        const auto now = std::chrono::steady_clock::now();
        if (!_isJson || now - _toldAt < interval)
            return;
        _toldAt = now;
        tell("progress", {{"bytes", bytes}});
    }

    ExitCode succeed()
    {
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - _begin).count();
        const auto bytes = static_cast<std::uint64_t>(_copy.copiedBytes());
        tell("finished",
            {{"target", jsonText(_target)}, {"files", _extent.files}, {"bytes", bytes}, {"seconds", seconds}});
        if (!_isJson)
            _progress.print("copied " + printable(_from) + " -> " + printable(_target) + "; "
                + countText(_extent.files, "file") + ", " + amountText(bytes, seconds) + '\n');
        return ExitDone;
    }

    ExitCode fail()
    {
        if (Interruption::isRequested()) {
            tell("failed", {{"error", "interrupted"}});
            _progress.printError("interrupted"
                + (exists(_target) ? ": " + inQuotes(_target) + " holds what was copied by then" : std::string()));
            return ExitInterrupted;
        }
        for (const FileCopyFailure &failure : _copy.failures())
            failOne(failure.path.str(), reasonText(failure.error));
        if (_copy.failures().empty())
            failOne(_from, reasonText(_copy.errorNumber()));
        return ExitSomeFailed;
    }

    void failOne(const std::string &path, const std::string &reason)
    {
        if (_isJson)
            _progress.print(jsonLine({{"event", "failed"}, {"path", jsonText(path)}, {"error", reason}}));
        _progress.printError("cannot copy " + inQuotes(path) + ": " + reason);
    }

    void tell(const char *event, const Json &facts)
    {
        if (!_isJson)
            return;
        Json json{{"event", event}, {"path", jsonText(_from)}};
        json.update(facts);
        _progress.print(jsonLine(json));
    }

    const std::string _from;
    const std::string _target;
    const TreeCopy::Extent _extent;
    const bool _isJson;
    const std::chrono::steady_clock::time_point _begin = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point _toldAt = _begin;
    WorkProgress _progress;
    TreeCopy _copy;
};

ExitCode copy(const std::string &from, const std::string &to, const OutputOptions &output)
{
    if (!exists(from))
        refuse(from, reasonText(errno));
    const std::string target = targetFor(from, to);
    const TreeCopy::Extent extent = TreeCopy::extentOf(from);
    requireSpace(from, target, extent.bytes);
    return CopyRun(from, target, extent, output).run();
}

} // namespace

Command defineCopyCommand(CLI::App &application)
{
    struct Options {
        std::string from;
        std::string to;
    };
    const auto options = std::make_shared<Options>();
    Command command = addCommand(application,
        {"copy", "Copy a file or folder, with progress", "[OPTIONS] SOURCE TARGET",
            {"Where TARGET is a folder, the copy goes into it. Content with its holes, times, permissions, attributes "
             "and hard links are kept, links are copied as links, and nothing is ever replaced. A file gets its name "
             "when it is whole and on the disk: an interrupted copy leaves no partial files."},
            {"kelvane copy ~/Videos/Holiday /media/$USER/DISK"},
            {ExitDone, ExitSomeFailed, ExitWrongUse, ExitCannotStart, ExitInterrupted},
            "Print one event a line as JSON"});
    CLI::App &definition = *command.definition;
    definition.add_option("SOURCE", options->from, "The file or folder to copy")->required()->option_text("SOURCE");
    definition.add_option("TARGET", options->to, "Where to: a folder, or a name that is free")
        ->required()
        ->option_text("TARGET");
    command.run = [options, output = command.output] {
        Interruption::install();
        return copy(options->from, options->to, *output);
    };
    return command;
}

} // namespace kelvane::tool
