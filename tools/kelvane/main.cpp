// SPDX-License-Identifier: Apache-2.0
#include "ExitCode.h"
#include "HeicToJpegCommand.h"
#include "InfoCommand.h"
#include "Interruption.h"
#include "ListCommand.h"
#include "LogOutput.h"
#include "RunCommand.h"
#include "SyncCommand.h"
#include "Text.h"

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace kelvane::tool;

/// What was asked for on the command line.
struct Arguments {
    std::vector<std::string> paths;
    SyncOptions sync;
    HeicToJpegOptions heicToJpeg;
    bool isJson = false;
};

/// Help whose usage line is written by hand: the order of positional arguments says what they mean.
class HelpFormatter : public CLI::Formatter {
public:
    explicit HelpFormatter(std::string usage) : _usage(std::move(usage)) {}
    std::string make_usage(const CLI::App * /*app*/, std::string /*name*/) const override
    {
        return "Usage: kelvane " + _usage + '\n';
    }

private:
    const std::string _usage;
};

CLI::App *addSync(CLI::App &application, Arguments &arguments)
{
    CLI::App *command = application.add_subcommand("sync", "Bring media files to a device");
    command->add_option("PATH", arguments.paths, "SOURCE... DEVICE: files or folders, then the device's folder")
        ->expected(0, -1)
        ->option_text(" ");
    command->formatter(std::make_shared<HelpFormatter>("sync [OPTIONS] SOURCE... DEVICE"));
    command->add_flag("-n,--dry-run", arguments.sync.isDryRun, "Say what would be done, and do nothing");
    command->add_option("-j,--jobs", arguments.sync.jobs, "Items to work on at once (default 2)")
        ->check(CLI::Range(1, 64))
        ->option_text("N");
    command->add_flag(
        "--delete", arguments.sync.deletesVanished, "Remove from the device what is no longer in the given folders");
    command->add_flag("--verify", arguments.sync.verifies, "Compare every copy with its source, byte by byte");
    command->add_flag("--keep-heic", arguments.sync.keepsHeic, "Copy HEIC photos as they are, not as JPEG");
    command->add_flag("-q,--quiet", arguments.sync.isQuiet, "Say nothing but errors");
    command->add_flag("-v,--verbose", arguments.sync.isVerbose, "Show the library's log on standard error");
    command->add_flag("--json", arguments.isJson, "Print one event a line as JSON");
    command->footer(
        "Audio and video go to Music, images to Photos, HEIC photos as JPEG. A second run copies only what\n"
        "changed; an interrupted one is finished by the next.\n\n"
        "Example:\n  kelvane sync ~/Music ~/Pictures /media/$USER/PHONE\n\n"
        "Exit codes: 0 done, 1 some items failed, 2 wrong use, 3 cannot start, 130 interrupted");
    return command;
}

CLI::App *addInfo(CLI::App &application, Arguments &arguments)
{
    CLI::App *command = application.add_subcommand("info", "Show what is known of media files");
    command->formatter(std::make_shared<HelpFormatter>("info [OPTIONS] FILE..."));
    command->add_option("FILE", arguments.paths, "Files to read")->required()->option_text("...");
    command->add_flag("--json", arguments.isJson, "Print one object a line as JSON");
    command->footer("Example:\n  kelvane info --json song.mp3 film.mp4");
    return command;
}

CLI::App *addHeicToJpeg(CLI::App &application, Arguments &arguments)
{
    CLI::App *command = application.add_subcommand("heic2jpg", "Convert HEIC photos to JPEG");
    command->formatter(std::make_shared<HelpFormatter>("heic2jpg [OPTIONS] FILE..."));
    command->add_option("FILE", arguments.paths, "Photos to convert")->required()->option_text("...");
    command->add_option("-o,--output", arguments.heicToJpeg.folder, "Folder for the JPEG files (default: beside each)")
        ->option_text("DIR");
    command->add_flag("-f,--force", arguments.heicToJpeg.overwrites, "Replace JPEG files that are there already");
    command->add_flag("--json", arguments.isJson, "Print one object a line as JSON");
    command->footer("Orientation, colours, date, place and camera come along.\n\n"
                    "Example:\n  kelvane heic2jpg -o ~/Pictures IMG_0042.HEIC\n\n"
                    "Exit codes: 0 done, 1 some failed, 2 wrong use, 3 cannot start, 130 interrupted");
    return command;
}

CLI::App *addList(CLI::App &application, Arguments &arguments)
{
    CLI::App *command = application.add_subcommand("list", "List the library of a device");
    command->formatter(std::make_shared<HelpFormatter>("list [OPTIONS] DEVICE"));
    command->add_option("DEVICE", arguments.paths, "The device's folder")->required()->expected(1)->option_text(" ");
    command->add_flag("--json", arguments.isJson, "Print one object a line as JSON");
    command->footer("Example:\n  kelvane list /media/$USER/PHONE");
    return command;
}

CLI::App *addRun(CLI::App &application, Arguments &arguments)
{
    CLI::App *command = application.add_subcommand("run", "Run a program and show what it wrote");
    command->formatter(std::make_shared<HelpFormatter>("run [OPTIONS] -- COMMAND..."));
    command->add_option("COMMAND", arguments.paths, "The program and its arguments")->required()->option_text("...");
    command->add_flag("--json", arguments.isJson, "Print output and errors apart, as one JSON object");
    command->footer("No shell is involved. The output is read when the program has ended: one that writes more than\n"
                    "64 KiB waits until it is interrupted. The program's exit code is not looked at.\n\n"
                    "Example:\n  kelvane run --json -- df -h /media/$USER/PHONE");
    return command;
}

ExitCode runSync(Arguments arguments)
{
    if (arguments.paths.size() < 2)
        throw StopError(ExitWrongUse, "sync needs a SOURCE and a DEVICE (see kelvane sync --help)");
    arguments.sync.device = arguments.paths.back();
    arguments.paths.pop_back();
    arguments.sync.sources = std::move(arguments.paths);
    arguments.sync.isJson = arguments.isJson;
    Interruption::install();
    setLogOutput(arguments.sync.isVerbose);
    return SyncCommand(std::move(arguments.sync)).run();
}

int run(int argc, char **argv)
{
    CLI::App application("Bring media files to phones and tablets, and know what is on them.", "kelvane");
    Arguments arguments;
    application.formatter(std::make_shared<HelpFormatter>("COMMAND [OPTIONS] ARGUMENTS"));
    application.set_version_flag("--version", "kelvane " KELVANE_VERSION);
    application.require_subcommand(1);
    application.footer("Example:\n  kelvane sync ~/Music /media/$USER/PHONE\n\n"
                       "\"kelvane COMMAND --help\" tells more of a command.");
    const CLI::App *sync = addSync(application, arguments);
    const CLI::App *info = addInfo(application, arguments);
    const CLI::App *heicToJpeg = addHeicToJpeg(application, arguments);
    const CLI::App *external = addRun(application, arguments);
    addList(application, arguments);
    try {
        application.parse(argc, argv);
    } catch (const CLI::Success &success) {
        return application.exit(success);
    } catch (const CLI::ParseError &error) {
        throw StopError(ExitWrongUse, printable(error.what()) + " (see kelvane --help)");
    }
    setLogOutput(false);
    if (sync->parsed())
        return runSync(std::move(arguments));
    if (info->parsed())
        return showInfo(arguments.paths, arguments.isJson);
    if (heicToJpeg->parsed()) {
        Interruption::install();
        return convertPhotos(arguments.paths, arguments.heicToJpeg, arguments.isJson);
    }
    if (external->parsed()) {
        Interruption::install();
        return runExternalCommand(arguments.paths, arguments.isJson);
    }
    return listDevice(arguments.paths.front(), arguments.isJson);
}

} // namespace

int main(int argc, char **argv)
{
    // For the width of characters on the terminal; numbers and messages stay as they are.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    try {
        return run(argc, argv);
    } catch (const StopError &error) {
        std::fprintf(stderr, "kelvane: %s\n", error.what());
        return error.code();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "kelvane: %s\n", printable(error.what()).c_str());
        return ExitCannotStart;
    }
}
