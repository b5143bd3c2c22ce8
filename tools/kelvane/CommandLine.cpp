// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"

#include "GeneratedFiles.h"
#include "LogOutput.h"
#include "Program.h"
#include "Text.h"

#include <algorithm>
#include <cerrno>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <numeric>
#include <poll.h>
#include <string_view>
#include <unistd.h>

namespace kelvane::tool {
namespace {

/// How many letters to add, drop or change to make one word of the other.
std::size_t distance(std::string_view first, std::string_view second)
{
    std::vector<std::size_t> row(second.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < first.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < second.size(); ++j) {
            const std::size_t changed = diagonal + (first[i] == second[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

[[noreturn]] void refuseCommand(const Program &program, const std::string &word)
{
    constexpr std::size_t farthest = 2;
    constexpr std::size_t longestName = 32;
    std::string hint;
    std::size_t nearest = farthest + 1;
    for (const Command &command : program.commands()) {
        const std::size_t far = word.size() > longestName ? nearest : distance(word, command.text.name);
        if (far < nearest) {
            nearest = far;
            hint = "; did you mean \"" + command.text.name + "\"?";
        }
    }
    throw StopError(ExitWrongUse, "there is no command " + inQuotes(word) + hint + " (see kelvane --help)");
}

// The parser would take a word that is no command for an argument too many.
const Command *commandOf(const Program &program, int argc, char **argv)
{
    if (argc < 2)
        throw StopError(ExitWrongUse, "name a command, such as \"kelvane sync\" (see kelvane --help)");
    const std::string word = argv[1];
    const Command *command = program.commandNamed(word);
    if (!command && !word.starts_with('-'))
        refuseCommand(program, word);
    return command;
}

bool hasReaderLeft()
{
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

// Fails where not all reached standard output that was printed.
void checkOutput()
{
    const int reason = std::fflush(stdout) == 0 ? 0 : errno;
    if (reason == 0 && !std::ferror(stdout))
        return;
    // A reader who has seen enough and left is no failure.
    if (reason == EPIPE || hasReaderLeft())
        return;
    throw StopError(ExitSomeFailed,
        "cannot write to standard output: " + (reason == 0 ? std::string("a part is missing") : reasonText(reason)));
}

ExitCode run(const Command &command)
{
    // A command need not know of --quiet: it prints, and nobody sees it.
    if (command.output->isQuiet && !std::freopen("/dev/null", "w", stdout))
        throw StopError(ExitCannotStart, "cannot be quiet: /dev/null: " + reasonText(errno));
    setLogOutput(command.output->isVerbose);
    const ExitCode code = command.run();
    checkOutput();
    return code;
}

} // namespace

Command addCommand(CLI::App &application, const CommandText &text)
{
    CLI::App *definition = application.add_subcommand(text.name, text.description);
    definition->set_help_flag("-h,--help", "Show this help");
    return {text, definition, std::make_shared<OutputOptions>(), {}};
}

void addJobsOption(const Command &command, int &jobs, const std::string &description)
{
    command.definition->add_option("-j,--jobs", jobs, description + " (default " + std::to_string(jobs) + ')')
        ->check(CLI::Range(1, 64))
        ->option_text("N");
}

ExitCode runCommandLine(int argc, char **argv)
{
    Program program;
    if (argc == 3 && std::string_view(argv[1]) == "--generate")
        return generateFiles(program, argv[2]);
    const Command *command = commandOf(program, argc, argv);
    try {
        program.definition().parse(argc, argv);
    } catch (const CLI::Success &success) {
        const auto code = static_cast<ExitCode>(program.definition().exit(success));
        std::cout.flush();
        checkOutput();
        return code;
    } catch (const CLI::ParseError &error) {
        throw StopError(ExitWrongUse,
            printable(error.what()) + " (see kelvane " + (command ? command->text.name + ' ' : "") + "--help)");
    }
    return command ? run(*command) : ExitWrongUse; // without a command the parser has thrown
}

} // namespace kelvane::tool
