// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/RefCounted.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstddef>
#include <initializer_list>
#include <span>

namespace kelvane {

class Value;

/// A list of values: shared, copied on write, nullable, one pointer wide.
///
/// Null (absent) and empty are different. Reading a null array finds no elements; writing to one makes it empty first.
/// Nil is no element: where one is given, the null object takes its place.
///
/// Threads: an Array object belongs to one thread at a time; copies of it may be read and changed on others.
/// Errors: an index must be below size(); nothing throws but std::bad_alloc.
class KELVANE_EXPORT Array {
public:
    /// The null array.
    Array() noexcept;
    Array(std::nullptr_t) noexcept;
    Array(std::initializer_list<Value> values);
    Array(const Array &other) noexcept;
    Array(Array &&other) noexcept;
    Array &operator=(const Array &other) noexcept;
    Array &operator=(Array &&other) noexcept;
    ~Array();

    /// An array without elements that is not null.
    [[nodiscard]] static Array empty();
    /// An array of copies of `values`. No constructor: the question whether an Array is itself a range of values
    /// would be asked before Value is complete.
    [[nodiscard]] static Array of(std::span<const Value> values);

    [[nodiscard]] bool isNull() const noexcept { return !_rep; }
    /// True for the empty and for the null array.
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }
    [[nodiscard]] std::size_t size() const noexcept;
    [[nodiscard]] const Value &operator[](std::size_t index) const noexcept;
    /// Valid until this Array changes.
    [[nodiscard]] const Value *begin() const noexcept;
    [[nodiscard]] const Value *end() const noexcept;
    [[nodiscard]] bool contains(const Value &value) const noexcept;

    void reserve(std::size_t count);
    void append(Value value);
    /// Inserts before the element at `index`, which is at most size().
    void insert(std::size_t index, Value value);
    void set(std::size_t index, Value value);
    void removeAt(std::size_t index);

    /// "(a, b, c)", for log lines.
    [[nodiscard]] String description() const;

    /// Compares elements in order; null equals only null.
    friend KELVANE_EXPORT bool operator==(const Array &a, const Array &b) noexcept;
    /// Whether both share one storage, as a copy does until one of them changes.
    friend bool isSameObject(const Array &a, const Array &b) noexcept { return a._rep.get() == b._rep.get(); }

private:
    struct Rep;
    Rep &writable();

    detail::Ref<Rep> _rep;
};

} // namespace kelvane
