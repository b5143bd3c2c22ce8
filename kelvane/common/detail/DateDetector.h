// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>

#include <string_view>

namespace kelvane::detail {

/// The last date that is written in `text`, null where there is none: see dateValue(), which this is the work of.
[[nodiscard]] Date lastDateIn(std::string_view text) noexcept;

} // namespace kelvane::detail
