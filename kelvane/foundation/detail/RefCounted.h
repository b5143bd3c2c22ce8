// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace kelvane::detail {

/// Base of the shared representations behind String, Data, Array, Dictionary, Object and Block.
///
/// Threads: the count may be changed from any thread. Content may be written only by a thread that finds
/// isUnique() true; the acquire there pairs with the release of the other owners, so that their last reads
/// happen before that write.
class RefCounted {
public:
    struct Immortal {};

    RefCounted() noexcept = default;
    /// A representation with static storage: never counted, so that threads do not fight over it, never destroyed.
    constexpr explicit RefCounted(Immortal) noexcept : _refs(immortalMark) {}
    RefCounted(const RefCounted &) = delete;
    RefCounted &operator=(const RefCounted &) = delete;

    void retain() const noexcept
    {
        if (_refs.load(std::memory_order_relaxed) < immortalMark)
            _refs.fetch_add(1, std::memory_order_relaxed);
    }
    /// True when the caller gave up the last reference and must destroy the object.
    [[nodiscard]] bool release() const noexcept
    {
        if (_refs.load(std::memory_order_relaxed) >= immortalMark)
            return false;
        return _refs.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }
    [[nodiscard]] bool isUnique() const noexcept { return _refs.load(std::memory_order_acquire) == 1; }

protected:
    ~RefCounted() = default;

private:
    static constexpr std::uint32_t immortalMark = 0x80000000U;
    mutable std::atomic<std::uint32_t> _refs{1};
};

/// Owning pointer to a RefCounted object, one pointer wide. `T` has a static `destroy(const T *)`.
template <class T>
class Ref {
public:
    constexpr Ref() noexcept = default;
    constexpr Ref(std::nullptr_t) noexcept {}
    /// Takes over one reference that the caller holds.
    static Ref adopt(T *object) noexcept
    {
        Ref ref;
        ref._object = object;
        return ref;
    }
    Ref(const Ref &other) noexcept : _object(other._object)
    {
        if (_object)
            _object->retain(); // NOLINT(clang-analyzer-cplusplus.NewDelete): as in the destructor
    }
    Ref(Ref &&other) noexcept : _object(std::exchange(other._object, nullptr)) {}
    Ref &operator=(Ref other) noexcept
    {
        std::swap(_object, other._object);
        return *this;
    }
    ~Ref()
    {
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): the analyzer does not follow the count
        if (_object && _object->release())
            T::destroy(_object);
    }

    [[nodiscard]] T *get() const noexcept { return _object; }
    T *operator->() const noexcept { return _object; }
    T &operator*() const noexcept { return *_object; }
    explicit operator bool() const noexcept { return _object != nullptr; }

private:
    T *_object = nullptr;
};

} // namespace kelvane::detail
