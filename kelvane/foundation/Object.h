// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/RefCounted.h>

#include <memory>
#include <type_traits>
#include <typeinfo>

namespace kelvane {

/// A shared reference to an object of any type, with identity and a checked cast back: what a user state, a sync
/// object or an artwork object is. Nullable, one pointer wide.
///
/// Threads: an Object belongs to one thread at a time; the object it refers to is the application's to protect.
/// Ownership: keeps the object alive as the std::shared_ptr that it was made from does.
class Object {
public:
    /// No object.
    constexpr Object() noexcept = default;
    constexpr Object(std::nullptr_t) noexcept {}
    /// Shares `object`; a null pointer gives no object. The cast back asks for this very `T`.
    template <class T>
    Object(std::shared_ptr<T> object)
        : _box(object ? detail::Ref<Box>::adopt(new Box{typeid(T), std::is_const_v<T>, std::move(object)}) : nullptr)
    {
    }
    template <class T, class Deleter>
    Object(std::unique_ptr<T, Deleter> object) : Object(std::shared_ptr<T>(std::move(object)))
    {
    }

    /// A new object that holds `value`, for values that are no shared objects themselves.
    template <class T>
    [[nodiscard]] static Object of(T value)
    {
        return Object(std::make_shared<T>(std::move(value)));
    }

    [[nodiscard]] bool isNull() const noexcept { return !_box; }
    explicit operator bool() const noexcept { return !isNull(); }

    /// The object as it was handed in: null unless it was handed in as a `T`. An object handed in as const comes
    /// back only as a `const T`.
    template <class T>
    [[nodiscard]] std::shared_ptr<T> as() const
    {
        if (!_box || _box->type != typeid(T) || (_box->isConst && !std::is_const_v<T>))
            return nullptr;
        return std::static_pointer_cast<T>(std::const_pointer_cast<void>(_box->object));
    }

    /// Whether both refer to one and the same object (or both to none).
    friend bool isSameObject(const Object &a, const Object &b) noexcept { return a.address() == b.address(); }
    friend bool operator==(const Object &a, const Object &b) noexcept { return isSameObject(a, b); }
    friend bool operator==(const Object &a, std::nullptr_t) noexcept { return a.isNull(); }

    /// Where the object is, for log lines.
    [[nodiscard]] const void *address() const noexcept { return _box ? _box->object.get() : nullptr; }

private:
    struct Box : detail::RefCounted {
        Box(const std::type_info &boxedType, bool boxedConst, std::shared_ptr<const void> boxed) noexcept
            : type(boxedType),
              isConst(boxedConst),
              object(std::move(boxed))
        {
        }
        static void destroy(const Box *box) noexcept { delete box; }

        const std::type_info &type;
        bool isConst;
        std::shared_ptr<const void> object;
    };

    detail::Ref<Box> _box;
};

} // namespace kelvane
