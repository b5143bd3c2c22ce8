// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Interruption.h"
#include "JsonText.h"
#include "PhotoConversion.h"
#include "Text.h"

#include <kelvane/common/Utils.h>

#include <cerrno>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <sys/stat.h>

namespace kelvane::tool {
namespace {

/// What the command line asks of a conversion.
struct HeicToJpegOptions {
    std::vector<std::string> files;
    std::string folder; // for the JPEG files; empty means beside each photo
    bool overwrites = false;
    bool isJson = false;
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

std::string convert(const std::string &path, const HeicToJpegOptions &options)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        throw ItemError(reasonText(errno));
    if (!S_ISREG(status.st_mode))
        throw ItemError("is not a regular file");
    std::string target = targetFor(path, options);
    requireFree(target, options.overwrites);
    convertPhoto(path, target);
    return target;
}

ExitCode convertPhotos(const HeicToJpegOptions &options)
{
    struct stat status {};
    if (!options.folder.empty() && (::stat(options.folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)))
        throw StopError(ExitCannotStart, "cannot write to " + inQuotes(options.folder) + ": it is no folder");
    ExitCode code = ExitDone;
    for (const std::string &path : options.files) {
        if (Interruption::isRequested())
            return ExitInterrupted;
        try {
            const std::string target = convert(path, options);
            if (options.isJson)
                printJsonLine(
                    {{"path", jsonText(path)}, {"jpeg", jsonText(target)}, {"size", Utils::fileSize(target)}});
            else
                std::puts((printable(path) + " -> " + printable(target)).c_str());
        } catch (const ItemError &error) {
            code = ExitSomeFailed;
            if (options.isJson)
                printJsonLine({{"path", jsonText(path)}, {"error", error.what()}});
            std::fprintf(stderr, "kelvane: cannot convert %s: %s\n", inQuotes(path).c_str(), error.what());
        }
    }
    return code;
}

} // namespace

Command defineHeicToJpegCommand(CLI::App &application)
{
    const auto options = std::make_shared<HeicToJpegOptions>();
    CLI::App *command = addCommand(application,
        {"heic2jpg", "Convert HEIC photos to JPEG", "[OPTIONS] FILE...",
            "Orientation, colours, date, place and camera come along.\n\n"
            "Example:\n  kelvane heic2jpg -o ~/Pictures IMG_0042.HEIC\n\n"
            "Exit codes: 0 done, 1 some failed, 2 wrong use, 3 cannot start, 130 interrupted"});
    command->add_option("FILE", options->files, "Photos to convert")->required()->option_text("...");
    command->add_option("-o,--output", options->folder, "Folder for the JPEG files (default: beside each)")
        ->option_text("DIR");
    command->add_flag("-f,--force", options->overwrites, "Replace JPEG files that are there already");
    addJsonFlag(*command, options->isJson);
    return {command, [options] {
                Interruption::install();
                return convertPhotos(*options);
            }};
}

} // namespace kelvane::tool
