// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane {

/// What is being done to an item, as every event of a list says. The numbers are part of the interface: each is a
/// bit, so that several actions make a mask.
enum class DataItemAction : std::uint64_t {
    Delete = 1,
    Change = 2,
    Rollback = 4,
    Commit = 8, ///< also the action of every committed event
    Add = 16,
};

[[nodiscard]] constexpr DataItemAction operator|(DataItemAction a, DataItemAction b) noexcept
{
    return static_cast<DataItemAction>(static_cast<std::uint64_t>(a) | static_cast<std::uint64_t>(b));
}
[[nodiscard]] constexpr DataItemAction operator&(DataItemAction a, DataItemAction b) noexcept
{
    return static_cast<DataItemAction>(static_cast<std::uint64_t>(a) & static_cast<std::uint64_t>(b));
}
/// Whether `action` is one of the actions of `mask`.
[[nodiscard]] constexpr bool isAnyOf(DataItemAction action, DataItemAction mask) noexcept
{
    return (action & mask) != DataItemAction{};
}

} // namespace kelvane
