// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace kelvane::detail {

/// A file descriptor that closes itself; -1 is none. To close leaves errno alone, which tells why somebody gives up.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int number) noexcept : _number(number) {}
    FileDescriptor(FileDescriptor &&other) noexcept : _number(std::exchange(other._number, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(_number, other._number);
        return *this;
    }
    ~FileDescriptor() { close(); }

    [[nodiscard]] explicit operator bool() const noexcept { return _number >= 0; }
    [[nodiscard]] int get() const noexcept { return _number; }
    /// Somebody else closes it from now on.
    int release() noexcept { return std::exchange(_number, -1); }
    void close() noexcept
    {
        if (_number < 0)
            return;
        const int error = errno;
        ::close(std::exchange(_number, -1));
        errno = error;
    }

private:
    int _number = -1;
};

} // namespace kelvane::detail
