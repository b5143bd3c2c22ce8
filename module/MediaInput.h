// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Handles.h"
#include "SourceFile.h"

namespace kelvane::module {

/// An audio or video file opened by the demuxer that its first bytes ask for. Nothing but this one file is ever
/// opened, and no more is read than the budget allows.
///
/// Threads: one at a time.
class MediaInput {
public:
    MediaInput(const char *path, Budget &budget);
    MediaInput(const MediaInput &) = delete;
    MediaInput &operator=(const MediaInput &) = delete;

    /// False where the file is of no known kind, or too broken to be read.
    [[nodiscard]] bool isOpen() const { return _format != nullptr; }
    [[nodiscard]] AVFormatContext &format() const { return *_format; }
    [[nodiscard]] SourceFile &file() { return _file; }
    /// Finds out by reading on what the header did not tell.
    void analyse();

private:
    static int read(void *self, std::uint8_t *bytes, int count);
    static std::int64_t seek(void *self, std::int64_t offset, int whence);
    static int interrupt(void *budget);

    SourceFile _file;
    std::int64_t _position = 0;
    Handle<AVIOContext> _io; // outlives _format
    Handle<AVFormatContext> _format;
};

} // namespace kelvane::module
