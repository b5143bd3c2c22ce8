// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/AsyncExecuteProcessTask.h>

#include <kelvane/common/detail/CommandLine.h>
#include <kelvane/common/detail/GetPipe.h>
#include <kelvane/common/detail/Notify.h>
#include <kelvane/foundation/detail/Utf8.h>
#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/Pipe.h>
#include <kelvane/platform/Process.h>
#include <kelvane/platform/RunLoop.h>
#include <kelvane/platform/ZenLogger.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace kelvane {

namespace {

/// ASCII text; a byte that is none reads as U+FFFD.
String asciiText(const Data &data)
{
    std::string text;
    text.reserve(data.size());
    for (const char byte : data.view())
        if (static_cast<unsigned char>(byte) < 0x80)
            text.push_back(byte);
        else
            detail::appendUtf8(text, detail::replacementCharacter);
    return text;
}

/// What the pipe holds, null where it holds nothing.
String textIn(Pipe &pipe)
{
    const Data data = pipe.availableData();
    return data.isEmpty() ? String() : asciiText(data);
}

std::string_view printed(const String &text)
{
    return text.isNull() ? std::string_view("(null)") : text.view();
}

} // namespace

AsyncExecuteProcessTask::AsyncExecuteProcessTask()
    : _process(std::make_shared<Process>()),
      _completedArgs(std::make_shared<AsyncExecuteCompletedArgs>())
{
}

AsyncExecuteProcessTask::~AsyncExecuteProcessTask() = default;

void AsyncExecuteProcessTask::setLaunchPath(const String &path)
{
    if (const auto process = _process.get())
        process->setLaunchPath(path);
}

void AsyncExecuteProcessTask::setArguments(std::vector<String> arguments)
{
    if (const auto process = _process.get())
        process->setArguments(std::move(arguments));
}

void AsyncExecuteProcessTask::setCmdArgs(const String &commandLine)
{
    setArguments(detail::splitCommandLine(commandLine));
}

void AsyncExecuteProcessTask::setEnvironment(const std::map<String, String> &environment)
{
    if (const auto process = _process.get())
        process->setEnvironment(environment);
}

void AsyncExecuteProcessTask::setCurrentDirectoryPath(const String &path)
{
    if (const auto process = _process.get())
        process->setCurrentDirectoryPath(path);
}

void AsyncExecuteProcessTask::startExecuteTask()
{
    if (synchronous())
        start();
    else
        addTaskOperation(sharedFrom(this));
}

void AsyncExecuteProcessTask::main()
{
    setProgress(0);
    try {
        if (const auto process = _process.get())
            runProcess(*process);
    } catch (const std::exception &thrown) {
        _completedArgs->setError(Exception::from(thrown)->description());
    }
    complete();
    if (const FinishCallback finish = finishCallback())
        detail::notify("the finish block", [&] { finish(*this, userState()); });
}

void AsyncExecuteProcessTask::runProcess(Process &process)
{
    const auto output = GetPipe();
    process.setStandardOutput(output);
    const auto errors = GetPipe();
    process.setStandardError(errors);
    process.launch();
    // NOLINTNEXTLINE(bugprone-parent-virtual-call): the operation's own cancel, which the task's flag does not show
    if (Operation::isCancelled())
        process.terminate(); // the cancel came too early to find a running command
    process.waitUntilExit();

    const String outputText = textIn(*output);
    if (!outputText.isNull())
        _completedArgs->setResult(outputText);
    const String errorText = textIn(*errors);
    if (!errorText.isNull())
        _completedArgs->setError(errorText);
    _outputResult.set(String::concat({printed(outputText), " ", printed(errorText)}));
}

bool AsyncExecuteProcessTask::waitDone(std::int32_t timeoutMs)
{
    if (!synchronous())
        return AsyncTask::waitDone(timeoutMs);
    // Intended: slices are not counted against the time. It only chooses between one slice and as many as it takes.
    do {
        RunLoop::current()->runFor(std::chrono::seconds(1));
    } while (!isFinished() && timeoutMs > 1);
    return isFinished();
}

void AsyncExecuteProcessTask::terminateTask()
{
    if (const auto process = _process.get())
        process->terminate();
}

void AsyncExecuteProcessTask::killProcess()
{
    if (const auto process = _process.get(); process && process->isRunning())
        process->terminate();
}

void AsyncExecuteProcessTask::cancel()
{
    AsyncTask::cancel();
    killProcess();
}

void AsyncExecuteProcessTask::closeProcess(bool kill)
{
    if (!_process.get())
        return;
    if (kill)
        killProcess();
    _process.set(nullptr);
}

std::shared_ptr<Pipe> AsyncExecuteProcessTask::GetPipe()
{
    auto pipe = detail::getPipe(Pipe::pipe);
    if (!pipe) {
        ZenLogger::defaultLogger().ZenLogInfo("error create pipe error");
        std::fputs("Assertion failed: (0), function +[AsyncExecuteProcessTask GetPipe], "
                   "file common/AsyncExecuteProcessTask, line 43.\n",
            stderr);
        std::abort();
    }
    return pipe;
}

} // namespace kelvane
