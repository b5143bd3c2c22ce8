// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kelvane::tool {

/// `text` as it may stand in a page, between tags and in quoted attributes. What steers a terminal steers a page no more
/// than that: see printable().
[[nodiscard]] std::string html(std::string_view text);

} // namespace kelvane::tool
