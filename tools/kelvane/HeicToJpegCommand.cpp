// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "FileBatch.h"
#include "Interruption.h"
#include "JsonText.h"
#include "PhotoConversion.h"
#include "Text.h"

#include <kelvane/common/Utils.h>

#include <cerrno>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unordered_set>

namespace kelvane::tool {
namespace {

/// What the command line asks of a conversion.
struct HeicToJpegOptions {
    std::vector<std::string> files;
    std::string folder; // for the JPEG files; empty means beside each photo
    bool overwrites = false;
    int jobs = 2;
};

/// Photos of the same name from several folders must not become one JPEG.
class Targets {
public:
    void take(const std::string &target)
    {
        const std::lock_guard guard(_mutex);
        if (!_taken.insert(target).second)
            throw ItemError("another photo becomes " + inQuotes(target));
    }

private:
    std::mutex _mutex;
    std::unordered_set<std::string> _taken; // guarded by _mutex
};

std::string targetFor(const std::string &path, const HeicToJpegOptions &options)
{
    const std::string_view name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    const std::string base(dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot));
    const std::string folder =
        options.folder.empty() ? path.substr(0, path.size() - name.size()) : options.folder + '/';
    return folder + base + ".jpg";
}

// A photo that was taken as HEIC and as JPEG has both under one name: the JPEG is not ours to replace.
void requireFree(const std::string &target, bool overwrites)
{
    struct stat status {};
    if (::lstat(target.c_str(), &status) != 0)
        return;
    if (!overwrites)
        throw ItemError(inQuotes(target) + " is there already (--force replaces it)");
    if (!S_ISREG(status.st_mode))
        throw ItemError(inQuotes(target) + " is no regular file");
}

std::string convert(const std::string &path, const HeicToJpegOptions &options, Targets &targets)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        throw ItemError(reasonText(errno));
    if (!S_ISREG(status.st_mode))
        throw ItemError("is not a regular file");
    std::string target = targetFor(path, options);
    requireFree(target, options.overwrites);
    targets.take(target);
    convertPhoto(path, target);
    return target;
}

ExitCode convertPhotos(const HeicToJpegOptions &options, const OutputOptions &output)
{
    struct stat status {};
    if (!options.folder.empty() && (::stat(options.folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)))
        throw StopError(ExitCannotStart, "cannot write to " + inQuotes(options.folder) + ": it is no folder");
    Targets targets;
    const auto work = [&](const std::string &path) {
        const std::string target = convert(path, options, targets);
        return output.isJson
            ? jsonLine({{"path", jsonText(path)}, {"jpeg", jsonText(target)}, {"size", Utils::fileSize(target)}})
            : printable(path) + " -> " + printable(target) + '\n';
    };
    return runFileBatch({options.files, options.jobs, output, "cannot convert", work});
}

} // namespace

Command defineHeicToJpegCommand(CLI::App &application)
{
    const auto options = std::make_shared<HeicToJpegOptions>();
    Command command = addCommand(application,
        {"heic2jpg", "Convert HEIC photos to JPEG", "[OPTIONS] FILE...",
            {"Orientation, colours, date, place and camera come along."},
            {"kelvane heic2jpg -o ~/Pictures IMG_0042.HEIC"},
            {ExitDone, ExitSomeFailed, ExitWrongUse, ExitCannotStart, ExitInterrupted},
            "Print one object a line as JSON"});
    CLI::App &definition = *command.definition;
    definition.add_option("FILE", options->files, "Photos to convert")->required()->option_text("FILE...");
    definition.add_option("-o,--output", options->folder, "Folder for the JPEG files (default: beside each)")
        ->option_text("DIR");
    definition.add_flag("-f,--force", options->overwrites, "Replace JPEG files that are there already");
    addJobsOption(command, options->jobs, "Photos to convert at once");
    command.run = [options, output = command.output] {
        Interruption::install();
        return convertPhotos(*options, *output);
    };
    return command;
}

} // namespace kelvane::tool
