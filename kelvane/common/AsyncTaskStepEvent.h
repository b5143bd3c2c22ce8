// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTaskStepEvent.h>

namespace kelvane {

/// The record that a task hands to its delegates when it enters a named step: build one in the work and pass it to
/// onStepChanged(). A delegate may mark it handled or ask the task to cancel.
///
/// Threads: belongs to the thread that reports the step. Ownership: keeps its task alive. Errors: nothing throws.
class KELVANE_EXPORT AsyncTaskStepEvent : public IAsyncTaskStepEvent {
public:
    /// @selector initWithAsyncTask:stepName:stepValue:valueName:
    AsyncTaskStepEvent(
        std::shared_ptr<IAsyncTask> parentTask, String stepName, std::int64_t stepValue, String valueName);

    [[nodiscard]] std::shared_ptr<IAsyncTask> parentTask() const override { return _parentTask; }
    [[nodiscard]] String name() const override { return _stepName; }
    [[nodiscard]] std::int64_t value() const override { return _stepValue; }
    [[nodiscard]] String valueName() const override { return _valueName; }
    [[nodiscard]] Object userValue() const override { return _userValue; }
    void setUserValue(Object userValue) override { _userValue = std::move(userValue); }
    [[nodiscard]] bool cancel() const override { return _cancel; }
    void setCancel(bool cancel) override { _cancel = cancel; }
    [[nodiscard]] bool handled() const override { return _handled; }
    void setHandled(bool handled) override { _handled = handled; }

    /// False for null; true for the same object, or one with the same number and the identical strings and user value.
    /// Intended: identity, not text. A task that repeats a step hands on the same string objects; strings made apart
    /// are another step even where they read alike.
    [[nodiscard]] std::optional<bool> isSameStep(const IAsyncTaskStepEvent *other) const override;
    [[nodiscard]] std::shared_ptr<IAsyncTaskStepEvent> withoutTask() const override;

private:
    std::shared_ptr<IAsyncTask> _parentTask;
    String _stepName;
    std::int64_t _stepValue;
    String _valueName;
    Object _userValue;
    bool _cancel = false;
    bool _handled = false;
};

} // namespace kelvane
