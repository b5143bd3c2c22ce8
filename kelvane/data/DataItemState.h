// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane {

/// What has happened to an item since its last commit. The numbers are part of the interface: each is a bit, so that
/// several states make a mask.
enum class DataItemState : std::uint64_t {
    Detached = 1, ///< in no list, or without any record
    Unchanged = 2, ///< the record is the committed one
    Added = 4, ///< there is no committed record yet
    Deleted = 8, ///< there is only the committed record left
    Modified = 16, ///< the record is another object than the committed one
};

[[nodiscard]] constexpr DataItemState operator|(DataItemState a, DataItemState b) noexcept
{
    return static_cast<DataItemState>(static_cast<std::uint64_t>(a) | static_cast<std::uint64_t>(b));
}
[[nodiscard]] constexpr DataItemState operator&(DataItemState a, DataItemState b) noexcept
{
    return static_cast<DataItemState>(static_cast<std::uint64_t>(a) & static_cast<std::uint64_t>(b));
}
/// Whether `state` is one of the states of `mask`.
[[nodiscard]] constexpr bool isAnyOf(DataItemState state, DataItemState mask) noexcept
{
    return (state & mask) != DataItemState{};
}

/// The states of an item that has something to commit (28).
inline constexpr DataItemState pendingChangeStates =
    DataItemState::Added | DataItemState::Deleted | DataItemState::Modified;

} // namespace kelvane
