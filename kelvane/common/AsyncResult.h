// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/AtomicProperty.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/platform/ConditionLock.h>
#include <kelvane/platform/Monitor.h>
#include <kelvane/platform/Operation.h>

#include <memory>

namespace kelvane {

/// An operation with a monitor, a done signal and a caller's context: the root of the step-driven task family.
///
/// Threads: any thread, any operation.
/// Ownership: made with std::make_shared; keeps its user state alive.
/// Errors: nothing throws but std::bad_alloc.
class KELVANE_EXPORT AsyncResult : public Operation {
public:
    AsyncResult();
    ~AsyncResult() override;

    /// The done signal: a condition lock at 0 while the task runs and at 1 from its end on. Made on first need; null
    /// where the task completed before anybody asked, because there is nothing to wait for then.
    [[nodiscard]] std::shared_ptr<ConditionLock> waitCondition();
    /// Raises the done signal, where there is one. Forces it up, with an error line, if it cannot be taken within a
    /// second: waiters must not hang because somebody keeps the lock.
    void fireCompletedEvent();

    /// The task completed, and did so on the thread that started it.
    [[nodiscard]] bool completedSynchronously() const;
    /// Whether the task runs on the thread that starts it rather than on a queue.
    [[nodiscard]] bool synchronous() const { return _synchronous.get(); }
    /// Whether the task has ended. Stays false for a task that was cancelled before.
    [[nodiscard]] virtual bool isCompleted() const { return _isCompleted.get(); }
    /// Whether there is a user state.
    [[nodiscard]] bool asyncState() const;
    /// Guards the task's changes of state. Never held while listeners run.
    [[nodiscard]] Monitor &syncRoot() { return _invokeSyncObject; }

    /// The caller's context.
    [[nodiscard]] virtual Object userState() const { return _userState.get(); }
    virtual void setUserState(Object userState) { _userState.set(std::move(userState)); }

protected:
    void setSynchronous(bool synchronous) { _synchronous.set(synchronous); }
    void setIsCompleted(bool isCompleted) { _isCompleted.set(isCompleted); }

private:
    std::shared_ptr<ConditionLock> _waitConditionLock; // guarded by _invokeSyncObject
    Monitor _invokeSyncObject;
    detail::AtomicValue<bool> _isCompleted;
    detail::AtomicValue<bool> _synchronous;
    detail::AtomicProperty<Object> _userState;
};

} // namespace kelvane
