// SPDX-License-Identifier: Apache-2.0
#include "Interruption.h"

#include "ExitCode.h"

#include <atomic>
#include <csignal>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace kelvane::tool {
namespace {

std::atomic<bool> isInterrupted{false};
std::mutex actionMutex;
std::function<void()> requestedAction; // guarded by actionMutex

void takeSignals(const sigset_t &signals)
{
    int number = 0;
    sigwait(&signals, &number);
    isInterrupted = true;
    {
        const std::lock_guard guard(actionMutex);
        if (requestedAction)
            requestedAction();
    }
    sigwait(&signals, &number);
    _exit(ExitInterrupted);
}

} // namespace

void Interruption::install()
{
    // A reader of our output that went away is a failed write, not the end of a running copy.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] { takeSignals(signals); }).detach();
}

bool Interruption::isRequested() noexcept
{
    return isInterrupted;
}

void Interruption::whenRequested(std::function<void()> action)
{
    const std::lock_guard guard(actionMutex);
    requestedAction = std::move(action);
    if (requestedAction && isInterrupted)
        requestedAction();
}

} // namespace kelvane::tool
