// SPDX-License-Identifier: Apache-2.0
#include "Artwork.h"
#include "CommandLine.h"
#include "FileDescriptor.h"
#include "JsonText.h"
#include "SourceFile.h"
#include "Text.h"

#include <kelvane/platform/AudioMetadata.h>

#include <cerrno>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>

namespace kelvane::tool {
namespace {

struct Options {
    std::vector<std::string> files;
    std::string folder;
    bool isJson = false;
};

// A FIFO or a device is not opened: it could keep us for ever.
void requireReadable(const std::string &path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        throw ItemError(reasonText(errno));
    if (!S_ISREG(status.st_mode))
        throw ItemError(S_ISDIR(status.st_mode) ? "is a folder, not a file" : "is not a regular file");
    if (!FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)).isOpen())
        throw ItemError(reasonText(errno));
}

// A new file: "song.jpg", or where there is one, "song 2.jpg" and so on.
FileDescriptor makeFile(const std::string &stem, const std::string &extension, std::string &path)
{
    constexpr int mostNames = 10000;
    for (int i = 1; i <= mostNames; ++i) {
        path = stem;
        if (i > 1)
            path.append(" ").append(std::to_string(i));
        path += extension;
        FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (file.isOpen())
            return file;
        if (errno != EEXIST)
            break;
    }
    throw ItemError("cannot make " + inQuotes(path) + ": " + reasonText(errno));
}

std::string writePicture(const Data &picture, const std::string &stem)
{
    std::string path;
    const FileDescriptor file = makeFile(stem, pictureExtension(picture), path);
    std::string_view rest = picture.view();
    while (!rest.empty()) {
        const ssize_t count = ::write(file.get(), rest.data(), rest.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            const int reason = errno;
            ::unlink(path.c_str());
            throw ItemError("cannot write " + inQuotes(path) + ": " + reasonText(reason));
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    return path;
}

std::vector<std::string> extract(const std::string &path, const std::string &folder)
{
    requireReadable(path);
    const std::unique_ptr<AudioMetadata> tags = AudioMetadata::CreateMetadataForURL(path);
    const std::string stem = (std::filesystem::path(folder) / std::filesystem::path(path).stem()).native();
    std::vector<std::string> written;
    for (const Data &picture : artworkOf(tags.get(), path))
        written.push_back(writePicture(picture, stem));
    return written;
}

void print(const std::string &path, const std::vector<std::string> &pictures, bool isJson)
{
    if (isJson) {
        Json list = Json::array();
        for (const std::string &picture : pictures)
            list.push_back(jsonText(picture));
        return printJsonLine({{"path", jsonText(path)}, {"artworks", list}});
    }
    for (const std::string &picture : pictures)
        std::puts(printable(picture).c_str());
    if (pictures.empty())
        std::puts((printable(path) + ": no picture").c_str());
}

ExitCode writeArtwork(const Options &options)
{
    std::error_code error;
    std::filesystem::create_directories(options.folder, error);
    if (!std::filesystem::is_directory(options.folder))
        throw StopError(ExitCannotStart,
            "cannot make the folder " + inQuotes(options.folder)
                + (error ? ": " + printable(error.message()) : ": it is a file"));
    ExitCode code = ExitDone;
    for (const std::string &path : options.files) {
        try {
            print(path, extract(path, options.folder), options.isJson);
        } catch (const ItemError &failure) {
            code = ExitSomeFailed;
            if (options.isJson)
                printJsonLine({{"path", jsonText(path)}, {"error", failure.what()}});
            std::fprintf(
                stderr, "kelvane: cannot take the artwork of %s: %s\n", inQuotes(path).c_str(), failure.what());
        }
    }
    return code;
}

} // namespace

Command defineArtworkCommand(CLI::App &application)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = addCommand(application,
        {"artwork", "Write the pictures of media files into a folder", "[OPTIONS] FILE... -o DIR",
            "The covers of a song are written as they are; of a film or photo without one, a picture of at most\n"
            "512 by 512 pixels is made. Sound without a cover has no picture. No file is ever replaced.\n\n"
            "Example:\n  kelvane artwork ~/Music/*.mp3 -o covers\n\n"
            "Exit codes: 0 done, 1 some files failed, 2 wrong use, 3 cannot start"});
    command->add_option("FILE", options->files, "Files to read")->required()->option_text("...");
    command->add_option("-o,--output", options->folder, "Folder for the pictures, made where it is missing")
        ->required()
        ->option_text("DIR");
    addJsonFlag(*command, options->isJson);
    return {command, [options] { return writeArtwork(*options); }};
}

} // namespace kelvane::tool
