// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/foundation/Value.h>

#include <concepts>
#include <memory>
#include <tuple>
#include <type_traits>

namespace kelvane::detail {

/// Whether `Pointer` points to a field that `Class` itself declares and that can hold an object.
template <class Class, class Pointer>
inline constexpr bool isObjectField = false;
template <class Class>
inline constexpr bool isObjectField<Class, Dictionary Class::*> = true;
template <class Class>
inline constexpr bool isObjectField<Class, Value Class::*> = true;
template <class Class>
inline constexpr bool isObjectField<Class, Object Class::*> = true;

template <class Class, class Fields>
inline constexpr bool areObjectFields = false;
template <class Class, class... Pointers>
inline constexpr bool areObjectFields<Class, std::tuple<Pointers...>> = (isObjectField<Class, Pointers> && ...);

inline void setField(Dictionary &field, const Dictionary &row)
{
    field = row;
}
inline void setField(Value &field, const Dictionary &row)
{
    field = row;
}
inline void setField(Object &field, const Dictionary &row)
{
    field = Object::of(row);
}

} // namespace kelvane::detail

namespace kelvane {

/// A type whose objects SqliteHelper::executeDataList() can make from rows. It says which class is its superclass, and
/// the superclass says which fields it declares itself; each of them gets the whole row.
///
///     struct Row {
///         Dictionary row;
///         static constexpr auto instanceVariables() { return std::tuple(&Row::row); }
///     };
///     struct Song : Row {
///         using superclass = Row;
///         String title() const { return row["title"].string(); }
///     };
///
/// Fields are of type Dictionary, Value or Object (which then holds a Dictionary) and may be private. Every class of a
/// deeper family names its own superclass.
template <class T>
concept RowObject =
    std::default_initializable<T> && std::derived_from<T, typename T::superclass> && !std::same_as<T,
        typename T::
            superclass> && detail::areObjectFields<typename T::superclass, std::remove_cvref_t<decltype(T::superclass::instanceVariables())>>;

namespace detail {

template <RowObject T>
[[nodiscard]] std::shared_ptr<T> rowObject(const Dictionary &row)
{
    auto object = std::make_shared<T>();
    typename T::superclass &base = *object;
    std::apply([&](auto... fields) { (setField(base.*fields, row), ...); }, T::superclass::instanceVariables());
    return object;
}

} // namespace detail

} // namespace kelvane
