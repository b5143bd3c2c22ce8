// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileStamp.h"
#include "MediaFormat.h"

#include <string>

namespace kelvane::tool {

/// A file that was found in the sources.
struct SourceFile {
    std::string path; // absolute, without links
    FileStamp stamp;
    /// By the extension; null for a file that was named itself and has none of media.
    const MediaFormat *byExtension = nullptr;
};

/// What is in the file by its first bytes: its format as it is, whatever the extension says. Throws ItemError where
/// the file cannot be read, is empty, or holds no media.
[[nodiscard]] const MediaFormat &formatOfFile(const SourceFile &file);

/// Throws ItemError where the file cannot be read. A FIFO or a device is none: it could keep a reader for ever.
void requireReadable(const std::string &path);

} // namespace kelvane::tool
