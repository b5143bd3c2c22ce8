// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/Pipe.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace kelvane {

/// One run of another program. No shell is involved: arguments arrive as they are.
///
/// The program gets standard input of this process, the pipes given as its output streams, and no other descriptor.
/// Signals that this process ignores or blocks are back to normal in it. The signal handling of this process is left
/// alone. Starting costs no copy of this process's memory.
///
/// Threads: configured and launched by one thread; waiting, asking and terminating from any.
/// Ownership: a program that runs when its Process goes is not stopped, and is reaped in the background.
/// Errors: launch() throws an Exception; nothing else throws.
class KELVANE_EXPORT Process {
public:
    Process();
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    /// Path of the executable; PATH is not searched.
    void setLaunchPath(String path);
    void setArguments(std::vector<String> arguments);
    /// The whole environment; without a call, that of this process.
    void setEnvironment(const std::map<String, String> &environment);
    /// Where the program starts; without a call, where this process is.
    void setCurrentDirectoryPath(String path);
    void setStandardOutput(std::shared_ptr<Pipe> pipe);
    void setStandardError(std::shared_ptr<Pipe> pipe);

    /// Starts the program and closes this side's writing ends of its pipes. Throws an Exception named
    /// "ProcessLaunchException" that says why it could not: no such file, not executable, no such folder, launched
    /// before.
    void launch();
    /// Blocks until the program has exited. Returns at once where it was never launched.
    void waitUntilExit();
    [[nodiscard]] bool isRunning() const;
    /// Asks the program to end (SIGTERM). Nothing happens unless it is running: a process identifier that was reaped
    /// may be somebody else's.
    void terminate();
    /// Its exit status, or 128 plus the signal that ended it. Empty while it runs, if it was never launched, and where
    /// the application reaps children behind our back.
    [[nodiscard]] std::optional<int> terminationStatus() const;
    /// 0 before the launch.
    [[nodiscard]] int processIdentifier() const;

private:
    struct Private;
    const std::unique_ptr<Private> d;
};

} // namespace kelvane
