// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

/// What a completion listener is told: a task itself, or an event made for the occasion.
class KELVANE_EXPORT SyncCompletedNotification {
public:
    virtual ~SyncCompletedNotification();

    [[nodiscard]] virtual Object userState() const = 0;
    virtual void setUserState(Object userState) = 0;
    /// The item or object that was worked on.
    [[nodiscard]] virtual Object syncObject() const = 0;
    virtual void setSyncObject(Object syncObject) = 0;
    [[nodiscard]] virtual String errorText() const = 0;
    virtual void setErrorText(String errorText) = 0;
    /// A code of AsyncTaskResultCode.
    [[nodiscard]] virtual std::uint64_t result() const = 0;
    virtual void setResult(std::uint64_t result) = 0;
    [[nodiscard]] virtual std::int32_t errorCode() const = 0;
    virtual void setErrorCode(std::int32_t errorCode) = 0;
    [[nodiscard]] virtual std::int32_t progressPercentage() const = 0;
    virtual void setProgressPercentage(std::int32_t percent) = 0;
};

} // namespace kelvane
