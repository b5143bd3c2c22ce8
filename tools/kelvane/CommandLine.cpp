// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"

#include "LogOutput.h"
#include "Text.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <utility>

namespace kelvane::tool {
namespace {

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

/// All commands, in the order of the help.
std::vector<Command> defineCommands(CLI::App &application)
{
    // clang-format off
    return {
        defineSyncCommand(application),
        defineListCommand(application),
        defineInfoCommand(application),
        defineArtworkCommand(application),
        defineHeicToJpegCommand(application),
        defineTypesCommand(application),
        defineDevicesCommand(application),
        defineRunCommand(application),
    };
    // clang-format on
}

} // namespace

CLI::App *addCommand(CLI::App &application, const CommandText &text)
{
    CLI::App *command = application.add_subcommand(text.name, text.description);
    command->formatter(std::make_shared<HelpFormatter>(text.name + ' ' + text.usage));
    command->footer(text.footer);
    return command;
}

void addJsonFlag(CLI::App &command, bool &isJson, const char *description)
{
    command.add_flag("--json", isJson, description);
}

ExitCode runCommandLine(int argc, char **argv)
{
    CLI::App application("Bring media files to phones and tablets, and know what is on them.", "kelvane");
    application.formatter(std::make_shared<HelpFormatter>("COMMAND [OPTIONS] ARGUMENTS"));
    application.set_version_flag("--version", "kelvane " KELVANE_VERSION);
    application.require_subcommand(1);
    application.footer("Example:\n  kelvane sync ~/Music /media/$USER/PHONE\n\n"
                       "\"kelvane COMMAND --help\" tells more of a command.");
    const std::vector<Command> commands = defineCommands(application);
    try {
        application.parse(argc, argv);
    } catch (const CLI::Success &success) {
        return static_cast<ExitCode>(application.exit(success));
    } catch (const CLI::ParseError &error) {
        throw StopError(ExitWrongUse, printable(error.what()) + " (see kelvane --help)");
    }
    setLogOutput(false);
    for (const Command &command : commands) {
        if (command.definition->parsed())
            return command.run();
    }
    return ExitWrongUse; // not reached: a command is required
}

} // namespace kelvane::tool
