// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>

#include <string_view>

namespace kelvane::detail {

/// The date of a text of the form "%Y-%m-%dT%H:%M:%SZ", UTC; null for any other text and for days that do not exist.
[[nodiscard]] Date calendarDate(std::string_view text);

} // namespace kelvane::detail
