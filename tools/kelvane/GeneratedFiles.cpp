// SPDX-License-Identifier: Apache-2.0
#include "GeneratedFiles.h"

#include "Completion.h"
#include "ManualPage.h"
#include "SafeFile.h"

#include <filesystem>

namespace kelvane::tool {

ExitCode generateFiles(const Program &program, const std::string &folder)
{
    const std::filesystem::path root(folder);
    const auto write = [&](const char *subfolder, const std::string &name, const std::string &text) {
        std::filesystem::create_directories(root / subfolder);
        writeFileSafely((root / subfolder / name).native(), text);
    };
    write("man1", "kelvane.1", manualPageOf(program));
    for (const Command &command : program.commands())
        write("man1", "kelvane-" + command.text.name + ".1", manualPageOf(command));
    write("bash", "kelvane", bashCompletion(program));
    write("zsh", "_kelvane", zshCompletion(program));
    write("fish", "kelvane.fish", fishCompletion(program));
    return ExitDone;
}

} // namespace kelvane::tool
