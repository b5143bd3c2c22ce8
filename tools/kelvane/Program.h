// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CommandLine.h"

#include <memory>
#include <string_view>
#include <vector>

namespace kelvane::tool {

/// The program's options and commands: what its command line is read with, and what its help, manual pages and
/// completions are made from.
class Program {
public:
    static constexpr const char *description = "Bring media files to phones and tablets, and know what is on them";

    Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;
    ~Program();

    [[nodiscard]] CLI::App &definition() { return *_definition; }
    [[nodiscard]] const CLI::App &definition() const { return *_definition; }
    /// In the order of the help.
    [[nodiscard]] const std::vector<Command> &commands() const { return _commands; }
    /// Null where there is none of this name.
    [[nodiscard]] const Command *commandNamed(std::string_view name) const;

private:
    void defineCommands();
    void addHelpCommand();

    const std::unique_ptr<CLI::App> _definition;
    std::vector<Command> _commands;
};

} // namespace kelvane::tool
