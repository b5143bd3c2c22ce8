// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <cstdint>
#include <memory>

namespace kelvane {

class IAsyncTaskDelegate;

/// What every kind of task answers.
///
/// Threads: any, any operation.
class KELVANE_EXPORT IAsyncTask {
public:
    virtual ~IAsyncTask();

    /// Asks the task to end early. How and when it ends is the task kind's business.
    virtual void cancel() = 0;
    /// Blocks until the task ends. Returns the outcome, true for success.
    virtual bool waitDone() = 0;
    /// The same, for at most `timeoutMs` milliseconds. False when the time is up, exactly as for a failed task.
    virtual bool waitDone(std::int32_t timeoutMs) = 0;
    [[nodiscard]] virtual bool isCompleted() const = 0;
    /// The delegate added last, null where there is none.
    [[nodiscard]] virtual std::shared_ptr<IAsyncTaskDelegate> delegate() const = 0;
    virtual void setDelegate(std::shared_ptr<IAsyncTaskDelegate> delegate) = 0;

protected:
    IAsyncTask() = default;
    IAsyncTask(const IAsyncTask &) = default;
    IAsyncTask &operator=(const IAsyncTask &) = default;
};

} // namespace kelvane
