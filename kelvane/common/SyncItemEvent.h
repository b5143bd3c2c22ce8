// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/SyncItemCompletedNotification.h>

namespace kelvane {

/// The record that completion listeners get: plain fields, filled by the task that sends it.
///
/// Threads: belongs to the thread that it is sent on; a listener may keep it.
class KELVANE_EXPORT SyncItemEvent : public SyncItemCompletedNotification {
public:
    [[nodiscard]] std::uint64_t action() const override { return _action; }
    void setAction(std::uint64_t action) override { _action = action; }
    [[nodiscard]] Object userState() const override { return _userState; }
    void setUserState(Object userState) override { _userState = std::move(userState); }
    [[nodiscard]] Object syncObject() const override { return _syncObject; }
    void setSyncObject(Object syncObject) override { _syncObject = std::move(syncObject); }
    [[nodiscard]] String errorText() const override { return _errorText; }
    void setErrorText(String errorText) override { _errorText = std::move(errorText); }
    [[nodiscard]] std::uint64_t result() const override { return _result; }
    void setResult(std::uint64_t result) override { _result = result; }
    [[nodiscard]] std::int32_t errorCode() const override { return _errorCode; }
    void setErrorCode(std::int32_t errorCode) override { _errorCode = errorCode; }
    /// Not filled by the tasks of this library.
    [[nodiscard]] std::int32_t progressPercentage() const override { return _progressPercentage; }
    void setProgressPercentage(std::int32_t percent) override { _progressPercentage = percent; }

private:
    std::uint64_t _action = 0;
    Object _userState;
    Object _syncObject;
    String _errorText;
    std::uint64_t _result = 0;
    std::int32_t _errorCode = 0;
    std::int32_t _progressPercentage = 0;
};

} // namespace kelvane
