// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>
#include <utility>

namespace kelvane::tool {

/// Owns an open file: closed when the object goes.
class FileDescriptor {
public:
    FileDescriptor() noexcept = default;
    explicit FileDescriptor(int number) noexcept : _number(number) {}
    FileDescriptor(FileDescriptor &&other) noexcept : _number(std::exchange(other._number, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(_number, other._number);
        return *this;
    }
    ~FileDescriptor()
    {
        if (_number >= 0)
            ::close(_number);
    }

    [[nodiscard]] bool isOpen() const noexcept { return _number >= 0; }
    [[nodiscard]] int get() const noexcept { return _number; }
    /// Somebody else closes it from now on.
    int release() noexcept { return std::exchange(_number, -1); }

private:
    int _number = -1;
};

} // namespace kelvane::tool
