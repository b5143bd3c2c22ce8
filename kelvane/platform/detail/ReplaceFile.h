// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace kelvane::detail {

/// Writes a file of these parts, one behind the other, beside `path` and renames it there: whatever happens in between,
/// the path names what it named before, or the whole new file, which is safe on the disk before it gets the name. Until
/// then it is for its owner alone; then it has the mode of the file that was there, or that of the user's new files. A
/// symbolic link is replaced itself. False with errno set.
[[nodiscard]] bool replaceFile(const std::string &path, std::span<const std::span<const std::byte>> parts);

} // namespace kelvane::detail
