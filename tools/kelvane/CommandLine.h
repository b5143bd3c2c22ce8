// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kelvane::tool {

/// What all commands are asked about their output.
struct OutputOptions {
    bool isJson = false;
    bool isQuiet = false; // standard output goes nowhere; commands need not look
    bool isVerbose = false;
};

/// What is to be known of a command, for its help, its manual page and the completion of shells.
struct CommandText {
    std::string name;
    std::string description; // one line, no full stop
    std::string usage; // what follows "kelvane NAME"
    std::vector<std::string> details; // paragraphs, in lines of any length
    std::vector<std::string> examples; // whole command lines
    std::vector<ExitCode> exitCodes; // that it may end with
    std::string json; // what --json prints; "" for a command without
};

/// One command of the program: what it is called with, and what runs it once that has been read.
struct Command {
    CommandText text;
    CLI::App *definition;
    std::shared_ptr<OutputOptions> output;
    std::function<ExitCode()> run;
};

/// Adds a command to `application`; what it takes is added to its definition. Options that all commands share are
/// added by the program.
Command addCommand(CLI::App &application, const CommandText &text);

/// Adds the option of commands that work on several files at once. `jobs` holds the default.
void addJobsOption(const Command &command, int &jobs, const std::string &description);

/// Reads the command line and runs the command that it names. Throws StopError where it makes no sense.
ExitCode runCommandLine(int argc, char **argv);

// The commands, each in the file named after it.
Command defineSyncCommand(CLI::App &application);
Command defineListCommand(CLI::App &application);
Command defineRemoveCommand(CLI::App &application);
Command defineReportCommand(CLI::App &application);
Command defineInfoCommand(CLI::App &application);
Command defineArtworkCommand(CLI::App &application);
Command defineHeicToJpegCommand(CLI::App &application);
Command defineCopyCommand(CLI::App &application);
Command defineTypesCommand(CLI::App &application);
Command defineDevicesCommand(CLI::App &application);
Command defineRunCommand(CLI::App &application);

} // namespace kelvane::tool
