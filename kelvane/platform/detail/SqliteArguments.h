// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Value.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <type_traits>

namespace kelvane::detail {

/// What can be bound to a parameter of a statement: whatever makes a Value, and texts of the C++ library.
template <class T>
concept SqliteArgument = std::constructible_from<Value, const T &> || std::constructible_from<String, const T &>;

/// An Array (or nil in its place) that stands alone is the list of arguments, not one of them.
template <class T>
inline constexpr bool isSingleSqliteArgument = !std::same_as<T, Array> && !std::same_as<T, std::nullptr_t>;

template <SqliteArgument T>
[[nodiscard]] Value sqliteArgument(const T &argument)
{
    if constexpr (std::constructible_from<Value, const T &>)
        return Value(argument);
    else
        return Value(String(argument));
}

template <SqliteArgument... Arguments>
[[nodiscard]] Array sqliteArguments(const Arguments &...arguments)
{
    if constexpr (sizeof...(Arguments) == 0)
        return nullptr;
    else
        return Array::of(std::array{sqliteArgument(arguments)...});
}

} // namespace kelvane::detail
