// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "Interruption.h"
#include "JsonText.h"
#include "Text.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <kelvane/common/AsyncExecuteProcessTask.h>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace kelvane::tool {
namespace {

/// The executable that a shell would run for `name`.
std::string executablePath(const std::string &name)
{
    if (name.find('/') != std::string::npos)
        return name;
    const char *variable = std::getenv("PATH");
    for (std::string_view folders = variable ? variable : "/usr/bin:/bin"; !folders.empty();) {
        const auto end = folders.find(':');
        std::string path = std::string(folders.substr(0, end)) + '/' + name;
        if (::access(path.c_str(), X_OK) == 0)
            return path;
        folders.remove_prefix(end == std::string_view::npos ? folders.size() : end + 1);
    }
    throw StopError(ExitCannotStart, "cannot run " + inQuotes(name) + ": there is no such program in PATH");
}

void printStream(const String &text, std::FILE *stream)
{
    std::fwrite(text.c_str(), 1, text.size(), stream);
    std::fflush(stream);
}

/// Runs a command through the library's external-process task and prints what it wrote: its output and errors each to
/// their own stream, or both in one JSON object. A name without a slash is looked for in PATH. Its exit code is not
/// looked at.
ExitCode runExternalCommand(const std::vector<std::string> &command, bool isJson)
{
    const auto task = std::make_shared<AsyncExecuteProcessTask>();
    task->setLaunchPath(executablePath(command.front()));
    task->setArguments({command.begin() + 1, command.end()});
    const auto ended = std::make_shared<std::promise<void>>();
    task->setTaskFinishCallbackBlock([ended](AsyncTask &, const Object &) { ended->set_value(); });
    Interruption::whenRequested([task] { task->cancel(); });
    task->startTask(false);
    ended->get_future().wait();
    Interruption::whenRequested({});
    task->waitDone();

    const auto record = task->getCompletedResult();
    if (task->outputResult().isNull())
        throw StopError(ExitCannotStart, printable(record->error().view()));
    if (isJson) {
        Json words = Json::array();
        for (const std::string &word : command)
            words.push_back(jsonText(word));
        printJsonLine(
            {{"command", words}, {"output", jsonValue(record->result())}, {"error", jsonValue(record->error())}});
    } else {
        printStream(record->result(), stdout);
        printStream(record->error(), stderr);
    }
    return Interruption::isRequested() ? ExitInterrupted : ExitDone;
}

} // namespace

Command defineRunCommand(CLI::App &application)
{
    const auto words = std::make_shared<std::vector<std::string>>();
    Command command = addCommand(application,
        {"run", "Run a program and show what it wrote", "[OPTIONS] -- PROGRAM [ARGUMENT]...",
            {"No shell is involved. The output is read when the program has ended: one that writes more than 64 KiB "
             "waits until it is interrupted. The program's exit code is not looked at."},
            {"kelvane run --json -- df -h /media/$USER/PHONE"},
            {ExitDone, ExitWrongUse, ExitCannotStart, ExitInterrupted},
            "Print output and errors apart, as one JSON object"});
    command.definition->add_option("PROGRAM", *words, "The program and its arguments")
        ->required()
        ->option_text("PROGRAM...");
    command.run = [words, output = command.output] {
        Interruption::install();
        return runExternalCommand(*words, output->isJson);
    };
    return command;
}

} // namespace kelvane::tool
