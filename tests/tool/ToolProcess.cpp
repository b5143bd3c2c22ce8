// SPDX-License-Identifier: Apache-2.0
#include "ToolProcess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string temporaryFile()
{
    std::string path = (std::filesystem::temp_directory_path() / "kelvane-tool-XXXXXX").string();
    const int file = mkstemp(path.data());
    if (file < 0)
        throw std::runtime_error("cannot make " + path);
    ::close(file);
    return path;
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// Puts a program in front that becomes "nobody" and then runs the rest.
std::vector<std::string> asNobody(const std::vector<std::string> &command)
{
    std::vector<std::string> whole{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    whole.insert(whole.end(), command.begin(), command.end());
    return whole;
}

/// This process's environment with some variables set.
std::vector<std::string> environmentWith(const std::map<std::string, std::string> &variables)
{
    std::vector<std::string> entries;
    for (char **entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        if (!variables.contains(text.substr(0, text.find('='))))
            entries.push_back(text);
    }
    for (const auto &[name, value] : variables)
        entries.push_back(name + '=' + value);
    return entries;
}

std::vector<char *> pointersTo(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// Starts a program. A fork would run more of this process's code in the child, where a lock of another thread may be
/// held for ever: tests start commands beside threads.
pid_t spawn(std::vector<std::string> command, std::vector<std::string> environment, const std::string &output,
    const std::string &errors)
{
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(), O_WRONLY | O_APPEND, 0);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errors.c_str(), O_WRONLY | O_APPEND, 0);
    pid_t child = -1;
    const int error = ::posix_spawnp(
        &child, command.front().c_str(), &files, nullptr, pointersTo(command).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&files);
    if (error != 0)
        throw std::runtime_error("cannot run " + command.front() + ": " + std::strerror(error));
    return child;
}

} // namespace

bool canRunUnprivileged()
{
    const pid_t child = spawn(asNobody({"test", "-x", KELVANE_TOOL}), environmentWith({}), "/dev/null", "/dev/null");
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

ToolProcess::ToolProcess(const std::vector<std::string> &arguments, const ToolOptions &options)
    : _outputPath(temporaryFile()),
      _errorPath(temporaryFile())
{
    std::vector<std::string> command{options.program.empty() ? KELVANE_TOOL : options.program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    _pid = spawn(options.isUnprivileged ? asNobody(command) : command, environmentWith(options.environment),
        _outputPath, _errorPath);
}

ToolProcess::~ToolProcess()
{
    if (isRunning()) {
        signal(SIGKILL);
        wait();
    }
    ::unlink(_outputPath.c_str());
    ::unlink(_errorPath.c_str());
}

int ToolProcess::wait()
{
    while (_pid > 0 && ::waitpid(_pid, &_status, 0) < 0 && errno == EINTR) {}
    _pid = -1;
    return WIFEXITED(_status) ? WEXITSTATUS(_status) : -WTERMSIG(_status);
}

void ToolProcess::signal(int number) const
{
    if (_pid > 0)
        ::kill(_pid, number);
}

bool ToolProcess::isRunning()
{
    if (_pid > 0 && ::waitpid(_pid, &_status, WNOHANG) == _pid)
        _pid = -1;
    return _pid > 0;
}

bool ToolProcess::waitForOutput(const std::string &text)
{
    using namespace std::chrono_literals;
    while (output().find(text) == std::string::npos) {
        if (!isRunning())
            return output().find(text) != std::string::npos;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

std::string ToolProcess::output() const
{
    return readFile(_outputPath);
}

std::string ToolProcess::errors() const
{
    return readFile(_errorPath);
}

std::vector<std::string> ToolResult::outputLines() const
{
    return linesOf(output);
}

std::vector<std::string> ToolResult::errorLines() const
{
    return linesOf(errors);
}

ToolResult runTool(const std::vector<std::string> &arguments, const ToolOptions &options)
{
    ToolProcess process(arguments, options);
    const int code = process.wait();
    return {code, process.output(), process.errors()};
}

} // namespace kelvane::testsupport
