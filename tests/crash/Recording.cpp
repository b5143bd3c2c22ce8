// SPDX-License-Identifier: Apache-2.0
#include "Recording.h"

#include <tests/support/TemporaryFolder.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

using Environment = std::map<std::string, std::string>;

/// The exit code, or minus the signal. What it says goes nowhere: a test that fails is looked into by hand.
int run(const std::vector<std::string> &arguments, const Environment &environment)
{
    std::vector<char *> pointers;
    std::vector<std::string> texts = arguments;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        for (const auto &[name, value] : environment)
            ::setenv(name.c_str(), value.c_str(), 1);
        const int nowhere = ::open("/dev/null", O_RDWR);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            if (descriptor != STDERR_FILENO || !std::getenv("KELVANE_CRASH_SHOW"))
                ::dup2(nowhere, descriptor);
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

Environment watching(const WatchedProgram &program)
{
    return {{"LD_PRELOAD", KELVANE_CRASH_POINTS_LIBRARY},
        {"KELVANE_CRASH_ROOT", std::filesystem::canonical(program.folder).native()}};
}

/// Takes the next part of a text.
std::string_view taken(std::string_view &text, std::size_t size)
{
    if (text.size() < size)
        throw std::runtime_error("a call was written down in half");
    const std::string_view part = text.substr(0, size);
    text.remove_prefix(size);
    return part;
}

} // namespace

std::vector<RecordedCall> readCalls(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string all{std::istreambuf_iterator<char>(file), {}};
    std::vector<RecordedCall> calls;
    for (std::string_view rest = all; !rest.empty();) {
        CallHead head{};
        taken(rest, sizeof head).copy(reinterpret_cast<char *>(&head), sizeof head);
        const std::string_view name = taken(rest, head.pathSize);
        const std::string_view other = taken(rest, head.otherSize);
        const std::string_view bytes = taken(rest, head.byteCount);
        calls.push_back(
            {head.kind, head.inode, head.position, std::string(name), std::string(other), std::string(bytes)});
    }
    return calls;
}

std::vector<RecordedCall> record(const WatchedProgram &program)
{
    const TemporaryFolder folder;
    Environment environment = watching(program);
    environment["KELVANE_CRASH_LOG"] = folder.path("calls").native();
    if (const int code = run(program.arguments, environment); code != 0)
        throw std::runtime_error("the recorded program ended with " + std::to_string(code));
    return readCalls(folder.path("calls").native());
}

bool runUntil(const WatchedProgram &program, std::size_t number)
{
    Environment environment = watching(program);
    environment["KELVANE_CRASH_AT"] = std::to_string(number);
    const int code = run(program.arguments, environment);
    if (code != 0 && code != -SIGKILL)
        throw std::runtime_error("the program ended by itself with " + std::to_string(code));
    return code != 0;
}

int runAlone(const std::vector<std::string> &arguments)
{
    return run(arguments, {{"LD_PRELOAD", KELVANE_CRASH_POINTS_LIBRARY}}); // which spares it the disk
}

} // namespace kelvane::testsupport
