// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kelvane {

/// `message` as it may be shown on a terminal: control characters but tab and newline read as \xNN, and so do bytes
/// that are no UTF-8. A backslash stays as it is, because the text is for people and is never read back.
[[nodiscard]] std::string printableText(std::string_view message);

} // namespace kelvane
