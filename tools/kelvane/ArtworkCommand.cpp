// SPDX-License-Identifier: Apache-2.0
#include "Artwork.h"
#include "CommandLine.h"
#include "FileBatch.h"
#include "Interruption.h"
#include "JsonText.h"
#include "SafeFile.h"
#include "SourceFile.h"
#include "Text.h"

#include <kelvane/platform/AudioMetadata.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace kelvane::tool {
namespace {

struct Options {
    std::vector<std::string> files;
    std::string folder;
    int jobs = 1;
};

// A new file: "song.jpg", or where there is one, "song 2.jpg" and so on.
std::string writePicture(const Data &picture, const std::string &folder, const std::string &stem)
{
    const std::string extension = pictureExtension(picture);
    try {
        return writeNewFile(picture.view(), folder, [&](int attempt) {
            return stem + (attempt > 1 ? ' ' + std::to_string(attempt) : std::string()) + extension;
        });
    } catch (const ItemError &error) {
        throw ItemError("cannot write " + inQuotes(folder + '/' + stem + extension) + ": " + error.what());
    }
}

std::vector<std::string> extract(const std::string &path, const std::string &folder)
{
    requireReadable(path);
    const std::unique_ptr<AudioMetadata> tags = AudioMetadata::CreateMetadataForURL(path);
    const std::string stem = std::filesystem::path(path).stem().native();
    std::vector<std::string> written;
    for (const Data &picture : artworkOf(tags.get(), path))
        written.push_back(writePicture(picture, folder, stem));
    return written;
}

std::string tell(const std::string &path, const std::vector<std::string> &pictures, bool isJson)
{
    if (isJson) {
        Json list = Json::array();
        for (const std::string &picture : pictures)
            list.push_back(jsonText(picture));
        return jsonLine({{"path", jsonText(path)}, {"artworks", list}});
    }
    std::string text;
    for (const std::string &picture : pictures)
        text += printable(picture) + '\n';
    return text.empty() ? printable(path) + ": no picture\n" : text;
}

ExitCode writeArtwork(const Options &options, const OutputOptions &output)
{
    std::error_code error;
    std::filesystem::create_directories(options.folder, error);
    if (!std::filesystem::is_directory(options.folder))
        throw StopError(ExitCannotStart,
            "cannot make the folder " + inQuotes(options.folder)
                + (error ? ": " + printable(error.message()) : ": it is a file"));
    const auto work = [&](const std::string &path) { return tell(path, extract(path, options.folder), output.isJson); };
    return runFileBatch({options.files, options.jobs, output, "cannot take the artwork of", work});
}

} // namespace

Command defineArtworkCommand(CLI::App &application)
{
    const auto options = std::make_shared<Options>();
    Command command = addCommand(application,
        {"artwork", "Write the pictures of media files into a folder", "[OPTIONS] FILE... -o DIR",
            {"The covers of a song are written as they are; of a film or photo without one, a picture of at most 512 "
             "by 512 pixels is made. Sound without a cover has no picture. No file is ever replaced: where a name is "
             "taken, it gets a number, and with several jobs it is chance which of two files gets which."},
            {"kelvane artwork ~/Music/*.mp3 -o covers"},
            {ExitDone, ExitSomeFailed, ExitWrongUse, ExitCannotStart, ExitInterrupted},
            "Print one object a line as JSON"});
    CLI::App &definition = *command.definition;
    definition.add_option("FILE", options->files, "Files to read")->required()->option_text("FILE...");
    definition.add_option("-o,--output", options->folder, "Folder for the pictures, made where it is missing")
        ->required()
        ->option_text("DIR");
    addJobsOption(command, options->jobs, "Files to read at once");
    command.run = [options, output = command.output] {
        Interruption::install();
        return writeArtwork(*options, *output);
    };
    return command;
}

} // namespace kelvane::tool
