// SPDX-License-Identifier: Apache-2.0
#include "Program.h"

#include "HelpText.h"
#include "Terminal.h"
#include "Text.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cstdio>

namespace kelvane::tool {
namespace {

/// Lets the parser print the help of this program where it is asked for one.
class HelpFormatter : public CLI::FormatterBase {
public:
    explicit HelpFormatter(const Program &program) : _program(program) {}
    std::string make_help(const CLI::App *definition, std::string /*name*/, CLI::AppFormatMode /*mode*/) const override
    {
        const Command *command = _program.commandNamed(definition->get_name());
        return command ? helpOf(*command, Terminal::columns()) : helpOf(_program, Terminal::columns());
    }

private:
    const Program &_program;
};

void addSharedOptions(const Command &command)
{
    CLI::Option *quiet = command.definition->add_flag("-q,--quiet", command.output->isQuiet, "Say nothing but errors");
    if (!command.text.json.empty())
        quiet->excludes(command.definition->add_flag("--json", command.output->isJson, command.text.json));
    command.definition->add_flag("-v,--verbose", command.output->isVerbose, "Show the library's log on standard error");
}

} // namespace

Program::Program() : _definition(std::make_unique<CLI::App>(description, "kelvane"))
{
    _definition->formatter(std::make_shared<HelpFormatter>(*this));
    _definition->set_help_flag("-h,--help", "Show this help");
    _definition->set_version_flag("--version", "kelvane " KELVANE_VERSION, "Show the version");
    _definition->require_subcommand(1);
    defineCommands();
    for (const Command &command : _commands)
        addSharedOptions(command);
    addHelpCommand();
}

Program::~Program() = default;

void Program::defineCommands()
{
    // clang-format off
    _commands = {
        defineSyncCommand(*_definition),
        defineListCommand(*_definition),
        defineRemoveCommand(*_definition),
        defineReportCommand(*_definition),
        defineInfoCommand(*_definition),
        defineArtworkCommand(*_definition),
        defineHeicToJpegCommand(*_definition),
        defineCopyCommand(*_definition),
        defineTypesCommand(*_definition),
        defineDevicesCommand(*_definition),
        defineRunCommand(*_definition),
    };
    // clang-format on
}

void Program::addHelpCommand()
{
    Command help = addCommand(*_definition,
        {"help", "Show help on the program or a command", "[COMMAND]", {}, {"kelvane help sync"},
            {ExitDone, ExitWrongUse}, ""});
    const auto name = std::make_shared<std::string>();
    help.definition->add_option("COMMAND", *name, "The command to tell of")->option_text("COMMAND");
    help.run = [this, name] {
        const Command *command = commandNamed(*name);
        if (!name->empty() && !command)
            throw StopError(ExitWrongUse, "there is no command " + inQuotes(*name) + " (see kelvane help)");
        const std::size_t width = Terminal::columns();
        std::fputs((command ? helpOf(*command, width) : helpOf(*this, width)).c_str(), stdout);
        return ExitDone;
    };
    _commands.push_back(std::move(help));
}

const Command *Program::commandNamed(std::string_view name) const
{
    const auto found = std::find_if(
        _commands.begin(), _commands.end(), [&](const Command &command) { return command.text.name == name; });
    return found == _commands.end() ? nullptr : &*found;
}

} // namespace kelvane::tool
