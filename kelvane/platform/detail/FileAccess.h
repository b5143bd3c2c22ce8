// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileDescriptor.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::detail {

/// What `call` of the system answers, called again as long as a signal interrupts it.
template <class Call>
auto uninterrupted(Call &&call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// Opens `path` for reading if it is a regular file: never waits for a FIFO or wakes a device. None with errno set
/// (EINVAL for what is no regular file).
[[nodiscard]] inline FileDescriptor openRegularFile(const char *path) noexcept
{
    FileDescriptor file(uninterrupted([&] { return ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY); }));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return {};
    if (S_ISREG(status.st_mode))
        return file;
    file.close();
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return {};
}

/// Reads as many bytes unless the file ends: how many, or -1 with errno set.
[[nodiscard]] inline ssize_t readAll(int file, std::span<std::byte> bytes) noexcept
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = uninterrupted([&] { return ::read(file, bytes.data() + done, bytes.size() - done); });
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<ssize_t>(done);
}

/// Reads as many bytes from `offset` on, fewer where the file ends or reading fails: how many.
[[nodiscard]] inline std::size_t readAt(int file, std::span<std::byte> bytes, std::uint64_t offset) noexcept
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = uninterrupted(
            [&] { return ::pread(file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done)); });
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

/// False, with errno set, where not all could be written.
[[nodiscard]] inline bool writeAll(int file, std::span<const std::byte> bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t written = uninterrupted([&] { return ::write(file, bytes.data(), bytes.size()); });
        if (written == 0)
            errno = EIO; // no system does that; who asks why it failed must not find that it did not
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace kelvane::detail
