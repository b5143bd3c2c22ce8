// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace kelvane::detail {

/// A lock of one byte for sections of a few instructions, in objects that are made by the thousand. A thread that
/// finds it taken sleeps. Never held while application code runs.
class KELVANE_EXPORT ByteLock {
public:
    ByteLock() noexcept = default;
    ByteLock(const ByteLock &) = delete;
    ByteLock &operator=(const ByteLock &) = delete;

    void lock() noexcept
    {
        // 0 free, 1 taken, 2 taken and somebody sleeps: only then does unlock() have to wake anybody.
        unsigned char expected = 0;
        if (!_state.compare_exchange_strong(expected, 1, std::memory_order_acquire, std::memory_order_relaxed))
            lockTaken();
    }
    void unlock() noexcept
    {
        if (_state.exchange(0, std::memory_order_release) == 2)
            wakeOne();
    }

private:
    // In the library, not inline: libstdc++ keeps the sleepers of an atomic in a table that each shared library has for
    // itself, and its layout changes with the compiler. Who wakes has to look into the table of who sleeps.
    void lockTaken() noexcept;
    void wakeOne() noexcept;

    std::atomic<unsigned char> _state{0};
};

/// A number or flag that is read and written from several threads. What a thread wrote before set() is seen by a
/// thread that get() gave that value.
template <class T>
class AtomicValue {
public:
    AtomicValue() noexcept = default;
    explicit AtomicValue(T value) noexcept : _value(value) {}

    [[nodiscard]] T get() const noexcept { return _value.load(std::memory_order_acquire); }
    void set(T value) noexcept { _value.store(value, std::memory_order_release); }
    T exchange(T value) noexcept { return _value.exchange(value, std::memory_order_acq_rel); }
    /// Sets `desired` if the value is `expected`; whether it was.
    bool replace(T expected, T desired) noexcept
    {
        return _value.compare_exchange_strong(expected, desired, std::memory_order_acq_rel);
    }

private:
    std::atomic<T> _value{};
};

/// A property that may be read and replaced from several threads at once: a reader gets one of the values that were
/// set, whole. Copying the value must be cheap, as it is for the shared types. Values are destroyed outside the lock.
template <class T>
class AtomicProperty {
public:
    AtomicProperty() = default;
    explicit AtomicProperty(T value) : _value(std::move(value)) {}
    AtomicProperty(const AtomicProperty &) = delete;
    AtomicProperty &operator=(const AtomicProperty &) = delete;

    [[nodiscard]] T get() const
    {
        const std::lock_guard guard(_lock);
        return _value;
    }
    void set(T value) { (void)exchange(std::move(value)); }
    /// Sets `value` and returns the one before.
    T exchange(T value)
    {
        const std::lock_guard guard(_lock);
        std::swap(_value, value);
        return value;
    }

private:
    mutable ByteLock _lock;
    T _value{};
};

} // namespace kelvane::detail
