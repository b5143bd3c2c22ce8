// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <memory>
#include <span>

namespace kelvane {

/// An open file, read and written at its current position.
///
/// Threads: one at a time.
/// Ownership: closes the file when it goes.
/// Errors: nothing throws; opening answers a null pointer, the rest false.
class KELVANE_EXPORT FileHandle {
public:
    /// Null where the file cannot be opened. @selector fileHandleForReadingAtPath:
    [[nodiscard]] static std::unique_ptr<FileHandle> forReading(const String &path);
    /// Opens an existing file to read and write, position at its start. @selector fileHandleForUpdatingAtPath:
    [[nodiscard]] static std::unique_ptr<FileHandle> forUpdating(const String &path);
    /// Takes over an open descriptor, a pipe's end too.
    explicit FileHandle(int descriptor) noexcept : _descriptor(descriptor) {}

    ~FileHandle();
    FileHandle(const FileHandle &) = delete;
    FileHandle &operator=(const FileHandle &) = delete;

    /// Fills `buffer`; false where the file ends before it is full, with the position behind what was read.
    [[nodiscard]] bool read(std::span<std::byte> buffer) noexcept;
    /// Writes all of `bytes`, or answers false.
    [[nodiscard]] bool write(std::span<const std::byte> bytes) noexcept;

private:
    const int _descriptor;
};

} // namespace kelvane
