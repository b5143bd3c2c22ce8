// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>

namespace kelvane::detail {

/// Says that all of `memory`, which is new, is about to be written: megabytes of it are then given by the system in large
/// pages where it has them, instead of in small ones that each cost an interruption. A hint, without effect on content.
void preferLargePages(std::span<std::byte> memory) noexcept;

} // namespace kelvane::detail
