// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

namespace kelvane {

/// The lock of an object: the thread that is inside may enter again. Used with std::lock_guard.
///
/// Threads: any; entered as often as left, by the same thread.
class Monitor {
public:
    Monitor() = default;
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;

    /// Enters, after waiting until no other thread is inside.
    void lock() { _mutex.lock(); }
    /// Enters if no other thread is inside.
    [[nodiscard]] bool try_lock() { return _mutex.try_lock(); }
    /// Leaves; others may enter when this thread has left as often as it had entered.
    void unlock() { _mutex.unlock(); }

private:
    std::recursive_mutex _mutex;
};

} // namespace kelvane
