// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <utility>

namespace kelvane::detail {

/// A property that may be read and replaced from several threads at once: a reader gets one of the values that were
/// set, whole. Copying the value must be cheap, as it is for the shared types. The lock is one byte and is held for
/// that copy alone; values are destroyed outside of it.
template <class T>
class AtomicProperty {
public:
    AtomicProperty() = default;
    explicit AtomicProperty(T value) : _value(std::move(value)) {}
    AtomicProperty(const AtomicProperty &) = delete;
    AtomicProperty &operator=(const AtomicProperty &) = delete;

    [[nodiscard]] T get() const
    {
        const Guard guard(_lock);
        return _value;
    }
    void set(T value) { (void)exchange(std::move(value)); }
    /// Sets `value` and returns the one before.
    T exchange(T value)
    {
        const Guard guard(_lock);
        std::swap(_value, value);
        return value;
    }

private:
    class Guard {
    public:
        explicit Guard(std::atomic_flag &lock) noexcept : _lock(lock)
        {
            while (_lock.test_and_set(std::memory_order_acquire))
                _lock.wait(true, std::memory_order_relaxed);
        }
        ~Guard()
        {
            _lock.clear(std::memory_order_release);
            _lock.notify_one();
        }
        Guard(const Guard &) = delete;
        Guard &operator=(const Guard &) = delete;

    private:
        std::atomic_flag &_lock;
    };

    mutable std::atomic_flag _lock;
    T _value{};
};

} // namespace kelvane::detail
