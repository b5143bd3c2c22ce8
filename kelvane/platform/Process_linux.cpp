// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Process.h>

#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/detail/FileAccess.h>

#include <csignal>
#include <cstring>
#include <exception>
#include <mutex>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>

namespace kelvane {

namespace {

[[noreturn]] void launchFailed(const String &path, int error)
{
    throw Exception("ProcessLaunchException",
        String::concat({"cannot launch \"", path.view(), "\": ", std::generic_category().message(error)}));
}

/// What the child does between its start and the program's: streams, folder, descriptors.
class FileActions {
public:
    FileActions() { _error = posix_spawn_file_actions_init(&_actions); }
    ~FileActions() { posix_spawn_file_actions_destroy(&_actions); }
    FileActions(const FileActions &) = delete;
    FileActions &operator=(const FileActions &) = delete;

    void give(const std::shared_ptr<Pipe> &pipe, int stream)
    {
        if (pipe)
            keep(posix_spawn_file_actions_adddup2(&_actions, pipe->writingEnd(), stream));
    }
    void changeFolder(const String &path)
    {
        if (!path.isNull())
            keep(posix_spawn_file_actions_addchdir_np(&_actions, path.c_str()));
    }
    /// Also those that the application opened without close-on-exec, which are none of the program's business.
    void closeAllButTheStreams() { keep(posix_spawn_file_actions_addclosefrom_np(&_actions, 3)); }

    [[nodiscard]] int error() const { return _error; }
    [[nodiscard]] const posix_spawn_file_actions_t *get() const { return &_actions; }

private:
    void keep(int error) { _error = _error ? _error : error; }

    posix_spawn_file_actions_t _actions{};
    int _error = 0;
};

/// Signals as a program expects them, whatever this process does with its own.
class Attributes {
public:
    Attributes()
    {
        posix_spawnattr_init(&_attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&_attributes, &none);
        posix_spawnattr_setsigdefault(&_attributes, &all);
        posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Attributes() { posix_spawnattr_destroy(&_attributes); }
    Attributes(const Attributes &) = delete;
    Attributes &operator=(const Attributes &) = delete;

    [[nodiscard]] const posix_spawnattr_t *get() const { return &_attributes; }

private:
    posix_spawnattr_t _attributes{};
};

std::vector<char *> pointersTo(const std::vector<String> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const auto &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str())); // execve() does not write to them
    pointers.push_back(nullptr);
    return pointers;
}

void reap(pid_t child)
{
    detail::uninterrupted([&] { return ::waitpid(child, nullptr, 0); });
}

} // namespace

struct Process::Private {
    String launchPath;
    std::vector<String> arguments;
    std::optional<std::vector<String>> environment; // "NAME=value"
    String currentDirectoryPath;
    std::shared_ptr<Pipe> standardOutput;
    std::shared_ptr<Pipe> standardError;

    mutable std::mutex mutex;
    pid_t child = 0; // guarded by mutex, as are the next
    bool isReaped = false; // from then on `child` may name another process
    std::optional<int> status;
};

Process::Process() : d(std::make_unique<Private>()) {}

Process::~Process()
{
    if (!isRunning())
        return;
    try {
        std::thread(reap, d->child).detach();
    } catch (const std::exception &) {
        // No thread to be had. Waiting here might take for ever, so that this one child is left to the system.
    }
}

void Process::setLaunchPath(String path)
{
    d->launchPath = std::move(path);
}

void Process::setArguments(std::vector<String> arguments)
{
    d->arguments = std::move(arguments);
}

void Process::setEnvironment(const std::map<String, String> &environment)
{
    auto &entries = d->environment.emplace();
    for (const auto &[name, value] : environment)
        entries.push_back(String::concat({name.view(), "=", value.view()}));
}

void Process::setCurrentDirectoryPath(String path)
{
    d->currentDirectoryPath = std::move(path);
}

void Process::setStandardOutput(std::shared_ptr<Pipe> pipe)
{
    d->standardOutput = std::move(pipe);
}

void Process::setStandardError(std::shared_ptr<Pipe> pipe)
{
    d->standardError = std::move(pipe);
}

void Process::launch()
{
    const std::lock_guard guard(d->mutex);
    if (d->launchPath.isEmpty())
        throw Exception("ProcessLaunchException", "cannot launch a process without a path");
    if (d->child != 0)
        throw Exception("ProcessLaunchException",
            String::concat({"cannot launch \"", d->launchPath.view(), "\": launched before"}));

    FileActions actions;
    actions.give(d->standardOutput, STDOUT_FILENO);
    actions.give(d->standardError, STDERR_FILENO);
    actions.changeFolder(d->currentDirectoryPath);
    actions.closeAllButTheStreams();
    if (actions.error())
        launchFailed(d->launchPath, actions.error());

    const Attributes attributes;
    std::vector<String> arguments{d->launchPath};
    arguments.insert(arguments.end(), d->arguments.begin(), d->arguments.end());
    const auto argumentPointers = pointersTo(arguments);
    const auto environmentPointers = d->environment ? pointersTo(*d->environment) : std::vector<char *>();
    pid_t child = 0;
    const int error = ::posix_spawn(&child, d->launchPath.c_str(), actions.get(), attributes.get(),
        argumentPointers.data(), d->environment ? environmentPointers.data() : environ);
    if (error)
        launchFailed(d->launchPath, error);
    d->child = child;
    // The program holds them now; the pipes end for us when its copies are closed.
    for (const auto &pipe : {d->standardOutput, d->standardError})
        if (pipe)
            pipe->closeWritingEnd();
}

void Process::waitUntilExit()
{
    pid_t child = 0;
    {
        const std::lock_guard guard(d->mutex);
        if (d->child == 0 || d->isReaped)
            return;
        child = d->child;
    }
    // Wait without reaping: terminate() may use the identifier until the lock is held.
    siginfo_t info{};
    detail::uninterrupted([&] { return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT); });
    const std::lock_guard guard(d->mutex);
    if (d->isReaped)
        return;
    int status = 0;
    const pid_t reaped = detail::uninterrupted([&] { return ::waitpid(child, &status, 0); });
    d->isReaped = true;
    if (reaped == child)
        d->status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

bool Process::isRunning() const
{
    const std::lock_guard guard(d->mutex);
    if (d->child == 0 || d->isReaped)
        return false;
    siginfo_t info{};
    const int result = ::waitid(P_PID, static_cast<id_t>(d->child), &info, WEXITED | WNOWAIT | WNOHANG);
    return result == 0 && info.si_pid == 0;
}

void Process::terminate()
{
    const std::lock_guard guard(d->mutex);
    if (d->child != 0 && !d->isReaped)
        ::kill(d->child, SIGTERM);
}

std::optional<int> Process::terminationStatus() const
{
    const std::lock_guard guard(d->mutex);
    return d->status;
}

int Process::processIdentifier() const
{
    const std::lock_guard guard(d->mutex);
    return d->child;
}

} // namespace kelvane
