// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace kelvane::detail {

/// How long a mark is: four bytes, as the names of frames and atoms are.
inline constexpr std::size_t markSize = 4;

/// Whether `mark` (four bytes) is somewhere in `bytes`: at the speed of memory, with the widest vectors that the
/// processor has.
[[nodiscard]] bool containsMark(std::string_view bytes, std::string_view mark) noexcept;

} // namespace kelvane::detail
