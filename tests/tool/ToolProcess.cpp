// SPDX-License-Identifier: Apache-2.0
#include "ToolProcess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <iterator>
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

bool becomeNobody()
{
    constexpr uid_t nobody = 65534;
    return ::setgroups(0, nullptr) == 0 && ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}

[[noreturn]] void becomeTool(std::vector<char *> &arguments, const ToolOptions &options, int output, int errors)
{
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    for (const auto &[name, value] : options.environment)
        ::setenv(name.c_str(), value.c_str(), 1);
    if (options.isUnprivileged && !becomeNobody())
        ::_exit(126);
    ::execv(options.program.empty() ? KELVANE_TOOL : options.program.c_str(), arguments.data());
    ::_exit(127);
}

} // namespace

bool canRunUnprivileged()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(becomeNobody() && ::access(KELVANE_TOOL, X_OK) == 0 ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

ToolProcess::ToolProcess(const std::vector<std::string> &arguments, const ToolOptions &options)
    : _outputPath(temporaryFile()),
      _errorPath(temporaryFile())
{
    std::vector<std::string> texts{KELVANE_TOOL};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    const int output = ::open(_outputPath.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const int errors = ::open(_errorPath.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    _pid = ::fork();
    if (_pid == 0)
        becomeTool(pointers, options, output, errors);
    ::close(output);
    ::close(errors);
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
