// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTask.h>

#include <initializer_list>
#include <memory>

namespace kelvane {

/// Cancels a task when the process gets a signal, as long as it lives: how a program with a terminal lets Ctrl-C end
/// its work in good order.
///
///     CancelOnSignal guard(task, {SIGINT, SIGTERM});
///     task->startTask();
///     task->waitDone();
///     return guard.caughtSignal() ? 130 : 0;
///
/// Several may live at once; each hears of its own signals. While any does, the process's own handling of these
/// signals is replaced; the last one to go puts it back.
///
/// Threads: the task is cancelled on a thread of this class's own, never inside the signal handler.
/// Ownership: does not keep the task alive.
/// Errors: where the system has no pipe or thread to give, signals keep their own handling and isActive() is false.
class KELVANE_EXPORT CancelOnSignal {
public:
    /// The signals default to SIGINT and SIGTERM.
    explicit CancelOnSignal(const std::shared_ptr<IAsyncTask> &task);
    CancelOnSignal(const std::shared_ptr<IAsyncTask> &task, std::initializer_list<int> signals);
    ~CancelOnSignal();
    CancelOnSignal(const CancelOnSignal &) = delete;
    CancelOnSignal &operator=(const CancelOnSignal &) = delete;

    [[nodiscard]] bool isActive() const;
    /// The first signal that came, 0 while none has.
    [[nodiscard]] int caughtSignal() const;

private:
    friend class SignalRouter;
    struct Private;
    std::shared_ptr<Private> d;
};

} // namespace kelvane
