// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kelvane::tool {

/// One command of the program: what it is called with, and what runs it once that has been read.
struct Command {
    CLI::App *definition;
    std::function<ExitCode()> run;
};

/// What the help of a command says.
struct CommandText {
    std::string name;
    std::string description;
    std::string usage; // what follows "kelvane NAME"
    std::string footer; // what is to be known besides, an example, exit codes
};

/// Adds a command to `application`. Options are added to what is returned.
CLI::App *addCommand(CLI::App &application, const CommandText &text);
/// Adds the option that all commands share which print facts.
void addJsonFlag(CLI::App &command, bool &isJson, const char *description = "Print one object a line as JSON");

/// Reads the command line and runs the command that it names. Throws StopError where it makes no sense.
ExitCode runCommandLine(int argc, char **argv);

// The commands, each in the file named after it.
Command defineSyncCommand(CLI::App &application);
Command defineInfoCommand(CLI::App &application);
Command defineArtworkCommand(CLI::App &application);
Command defineListCommand(CLI::App &application);
Command defineRunCommand(CLI::App &application);
Command defineDevicesCommand(CLI::App &application);
Command defineHeicToJpegCommand(CLI::App &application);
Command defineTypesCommand(CLI::App &application);

} // namespace kelvane::tool
