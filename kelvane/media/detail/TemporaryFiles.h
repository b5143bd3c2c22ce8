// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/String.h>

namespace kelvane::detail {

/// The path of a file in the temporary folder that does not exist: a new UUID with `suffix` behind it.
[[nodiscard]] String temporaryPath(std::string_view suffix);

/// Writes a new file that only this user may read. False if it could not be written whole.
[[nodiscard]] bool writeFile(const String &path, const Data &data);

} // namespace kelvane::detail
