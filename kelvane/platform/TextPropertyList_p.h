// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Value.h>

#include <string_view>

namespace kelvane::detail {

/// The value that `text`, valid UTF-8, consists of: a dictionary in braces, an array in parentheses or data in angle
/// brackets; or the pairs of a strings file. Nil where it has another form. A text alone is no property list here,
/// because then every word would be one.
[[nodiscard]] Value readTextPropertyList(std::string_view text);

/// See PropertyList::readStringsFile().
[[nodiscard]] Dictionary readStringsFile(std::string_view text);

} // namespace kelvane::detail
