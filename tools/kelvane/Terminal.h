// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace kelvane::tool {

/// The terminal on standard output.
namespace Terminal {

[[nodiscard]] bool isPresent();
/// A terminal that shows colours, for a user who has not switched them off (NO_COLOR).
[[nodiscard]] bool hasColours();
/// Its width at this moment; $COLUMNS, or else 80, where there is none.
[[nodiscard]] std::size_t columns();
/// Its height at this moment, at least 2; 24 where there is none.
[[nodiscard]] std::size_t rows();

} // namespace Terminal
} // namespace kelvane::tool
