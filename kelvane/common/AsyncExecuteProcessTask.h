// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncExecuteCompletedArgs.h>
#include <kelvane/common/AsyncTask.h>

#include <map>
#include <vector>

namespace kelvane {

class Pipe;
class Process;

/// Runs an external command and collects what it writes. No shell is involved. One task runs its command once.
///
///     auto task = std::make_shared<AsyncExecuteProcessTask>();
///     task->setLaunchPath("/usr/bin/env");
///     task->setCmdArgs("printf abc");
///     task->startExecuteTask();
///     String output = task->getCompletedResult()->result();   // "abc"
///
/// Intended: the output is read once, after the command has exited, so that one that writes more than a pipe holds (64
/// KiB) before it exits blocks until it is cancelled. Applications with long outputs use Process with two pipes, and
/// read them while it runs.
///
/// Threads: as AsyncTask; cancel() and killProcess() may come while the command runs.
/// Ownership: made with std::make_shared. A child is always reaped, and no descriptor of the application leaks to it.
/// Errors: a command that cannot be run leaves the reason in the record's `error`. The exit status is not looked at:
/// isSucceed stays false, and the caller judges by the record. No done signal is raised: see waitDone().
class KELVANE_EXPORT AsyncExecuteProcessTask : public AsyncTask {
public:
    AsyncExecuteProcessTask();
    ~AsyncExecuteProcessTask() override;

    /// Path of the executable; PATH is not searched.
    void setLaunchPath(const String &path);
    void setArguments(std::vector<String> arguments);
    /// Splits a command line at white space and hands the pieces to setArguments(). Quotes count at the edges of
    /// pieces only: "my file" is one argument without its quotes, with single blanks; a single quoted word keeps its
    /// quotes; a quote that is not closed drops its argument.
    void setCmdArgs(const String &commandLine);
    /// The whole environment of the command; without a call, that of this process.
    void setEnvironment(const std::map<String, String> &environment);
    void setCurrentDirectoryPath(const String &path);

    /// Runs the command on this thread, or adds the task to the shared queue, as `synchronous` says.
    void startExecuteTask();
    void main() override;

    /// The completion record; the same object for the whole life of the task.
    [[nodiscard]] std::shared_ptr<AsyncExecuteCompletedArgs> getCompletedResult() const { return _completedArgs; }
    /// Output and error text with one blank between, a missing one printed as "(null)". Null before the run.
    [[nodiscard]] String outputResult() const { return _outputResult.get(); }

    using AsyncTask::waitDone;
    /// A queued task waits as AsyncTask does; because no signal is raised, such a wait is over at its end only if it
    /// began after it: poll isFinished(), or use the finish block. A synchronous task runs the thread's run loop in
    /// slices of a second: one slice for a time of at most 1 ms, any number until the task is finished for a longer one.
    bool waitDone(std::int32_t timeoutMs) override;

    /// Asks the command to end (SIGTERM), if it runs.
    void terminateTask();
    void killProcess();
    /// As AsyncTask, and ends a running command.
    void cancel() override;
    /// Lets the process go, after ending it if `kill` is true.
    void closeProcess(bool kill);

    /// A new pipe. Intended: asks again for as long as there is none to be had, and a pipe that comes after more than
    /// five attempts is not taken but asked for again, so that a process out of descriptors stands still here.
    [[nodiscard]] static std::shared_ptr<Pipe> GetPipe();

private:
    void runProcess(Process &process);

    detail::AtomicProperty<String> _outputResult;
    detail::AtomicProperty<std::shared_ptr<Process>> _process;
    const std::shared_ptr<AsyncExecuteCompletedArgs> _completedArgs;
};

} // namespace kelvane
