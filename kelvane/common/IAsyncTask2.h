// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTask.h>
#include <kelvane/foundation/Exception.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>

namespace kelvane {

/// A task whose outcome can be asked for in detail.
class KELVANE_EXPORT IAsyncTask2 : public IAsyncTask {
public:
    /// Waits as waitDone() does; the result code where that returned true, else nil.
    virtual Value waitResult(std::int32_t timeoutMs) = 0;
    /// What the task produced, by kind of task.
    [[nodiscard]] virtual Value taskResult() const = 0;
    [[nodiscard]] virtual std::int32_t errorCode() const = 0;
    [[nodiscard]] virtual String errorText() const = 0;
    /// The exception that ended the task, null where none did.
    [[nodiscard]] virtual std::shared_ptr<const Exception> error() const = 0;
};

} // namespace kelvane
