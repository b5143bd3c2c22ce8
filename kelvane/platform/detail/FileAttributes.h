// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/String.h>

#include <cstdint>
#include <optional>

namespace kelvane::detail {

/// What the file system knows of the file that a path leads to, symbolic links followed.
struct FileAttributes {
    std::uint64_t size; ///< bytes
    bool isFolder;
    bool isRegular;
    Date created; ///< null where the file system keeps no such date
    Date modified;
};

/// Nothing where the path is null, holds a NUL (it would be cut there and name another file) or leads to no file
/// whose status can be read.
[[nodiscard]] std::optional<FileAttributes> fileAttributes(const String &path) noexcept;

/// The path for system calls, or a null pointer where it is null, empty or holds a NUL.
[[nodiscard]] inline const char *systemPath(const String &path) noexcept
{
    const bool isUsable = !path.isEmpty() && path.view().find('\0') == std::string_view::npos;
    return isUsable ? path.c_str() : nullptr;
}

} // namespace kelvane::detail
