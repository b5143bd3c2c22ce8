// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/AtomicProperty.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/foundation/String.h>

namespace kelvane {

/// What an external command left behind.
///
/// Threads: any; read it once the task has completed.
class KELVANE_EXPORT AsyncExecuteCompletedArgs {
public:
    /// Standard output, null where there was none.
    [[nodiscard]] String result() const { return _result.get(); }
    void setResult(String result) { _result.set(std::move(result)); }
    /// Standard error, or why the command could not be run; null where there is neither.
    [[nodiscard]] String error() const { return _error.get(); }
    void setError(String error) { _error.set(std::move(error)); }
    /// For the application; the task fills in neither of these.
    [[nodiscard]] Object userState() const { return _userState.get(); }
    void setUserState(Object userState) { _userState.set(std::move(userState)); }
    [[nodiscard]] bool cancelled() const { return _cancelled.get(); }
    void setCancelled(bool cancelled) { _cancelled.set(cancelled); }

private:
    detail::AtomicProperty<String> _result;
    detail::AtomicProperty<String> _error;
    detail::AtomicProperty<Object> _userState;
    detail::AtomicValue<bool> _cancelled;
};

} // namespace kelvane
