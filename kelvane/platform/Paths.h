// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

namespace kelvane {

// Taking path texts apart and putting them together. Nothing here looks at the disk. Paths are any bytes; the
// separator is the slash.
//
// Threads: any.
// Errors: none; a null path gives a null string.

/// The part after the last slash: "c.mp3" of "/a/b/c.mp3", "b" of "/a/b/" (slashes at the end do not count), "/" of
/// "/".
[[nodiscard]] KELVANE_EXPORT String lastPathComponent(const String &path);

/// What follows the last dot of the last component, without the dot: "gz" of "a.tar.gz". Empty where there is none;
/// the dot that begins a hidden file's name begins no extension.
[[nodiscard]] KELVANE_EXPORT String pathExtension(const String &path);

/// The path without its extension, the dot before it and slashes at the end: "a.tar" of "a.tar.gz", ".profile" of
/// ".profile".
[[nodiscard]] KELVANE_EXPORT String deletingPathExtension(const String &path);

/// The folder that the last component lies in: "/a/b" of "/a/b/c.mp3", "/" of "/a", "" of "a".
[[nodiscard]] KELVANE_EXPORT String deletingLastPathComponent(const String &path);

/// The path with one slash and `component` after it. Runs of slashes become one, slashes at the end go. The path
/// itself where `component` is null or empty; an empty path gives the component alone.
[[nodiscard]] KELVANE_EXPORT String appendingPathComponent(const String &path, const String &component);

} // namespace kelvane
