// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTask.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/foundation/String.h>

#include <optional>

namespace kelvane {

/// The news that a task entered a named step. AsyncTaskStepEvent is the ready implementation.
///
/// Threads: the thread that reports the step, for the length of the notification.
class KELVANE_EXPORT IAsyncTaskStepEvent {
public:
    virtual ~IAsyncTaskStepEvent();

    /// The task that raised the event.
    [[nodiscard]] virtual std::shared_ptr<IAsyncTask> parentTask() const = 0;
    [[nodiscard]] virtual String name() const = 0;
    /// A number that goes with the step, for example an index.
    [[nodiscard]] virtual std::int64_t value() const = 0;
    [[nodiscard]] virtual String valueName() const = 0;
    /// A free slot for listeners.
    [[nodiscard]] virtual Object userValue() const = 0;
    virtual void setUserValue(Object userValue) = 0;
    /// Set by a listener to stop the task.
    [[nodiscard]] virtual bool cancel() const = 0;
    virtual void setCancel(bool cancel) = 0;
    /// Set by a listener that handled the step; carried for other listeners.
    [[nodiscard]] virtual bool handled() const = 0;
    virtual void setHandled(bool handled) = 0;

    /// Whether `other` (the last step, null before the first) is the same step. A kind of event that cannot tell does
    /// not override this: the empty answer keeps its events from the delegates.
    [[nodiscard]] virtual std::optional<bool> isSameStep(const IAsyncTaskStepEvent *other) const;
    /// The same step without the reference to its task, for the task to remember: an event that keeps its task would
    /// keep it for ever there. Null where the kind of event keeps no task; the event itself is remembered then.
    [[nodiscard]] virtual std::shared_ptr<IAsyncTaskStepEvent> withoutTask() const;
};

} // namespace kelvane
