// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

#include <cstddef>
#include <span>

namespace kelvane::detail {

/// What an ICC profile calls itself, "Display P3"; null where it does not say.
[[nodiscard]] String profileName(std::span<const std::byte> profile);

} // namespace kelvane::detail
