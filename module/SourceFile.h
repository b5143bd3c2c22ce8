// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Budget.h"

#include <kelvane/platform/detail/FileAccess.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::module {

/// A regular file, open for reading; a FIFO or a device is never waited for. What is read is counted. Few bytes are
/// served from a window of the file, because headers are read in pieces of a few bytes, one behind the other.
class SourceFile {
public:
    SourceFile(const char *path, Budget &budget) : _file(detail::openRegularFile(path)), _budget(budget)
    {
        struct stat status {};
        if (_file && ::fstat(_file.get(), &status) == 0)
            _size = status.st_size;
    }
    SourceFile(const SourceFile &) = delete;
    SourceFile &operator=(const SourceFile &) = delete;

    /// Negative where the file is not ours to read.
    [[nodiscard]] std::int64_t size() const { return _size; }
    [[nodiscard]] Budget &budget() { return _budget; }

    /// The number of bytes read, 0 at the end of the file and where the budget is spent.
    std::size_t read(std::int64_t at, void *bytes, std::size_t count)
    {
        if (_size < 0 || at < 0 || _budget.hasReadTooMuch())
            return 0;
        if (count >= _window.size() / 4)
            return _budget.isSpent() ? 0 : counted(readFile(at, bytes, count));
        if (at < _windowStart || at - _windowStart > _windowSize - static_cast<std::int64_t>(count)) {
            if (_budget.isSpent())
                return 0;
            _windowStart = at;
            _windowSize = static_cast<std::int64_t>(readFile(at, _window.data(), _window.size()));
        }
        const std::int64_t skipped = at - _windowStart;
        const auto taken = std::min(count, static_cast<std::size_t>(_windowSize - skipped));
        std::memcpy(bytes, _window.data() + skipped, taken);
        return counted(taken);
    }

private:
    std::size_t readFile(std::int64_t at, void *bytes, std::size_t count) const
    {
        const ssize_t taken = detail::uninterrupted([&] { return ::pread(_file.get(), bytes, count, at); });
        return taken > 0 ? static_cast<std::size_t>(taken) : 0;
    }
    std::size_t counted(std::size_t taken)
    {
        _budget.read(static_cast<std::int64_t>(taken));
        return taken;
    }

    const detail::FileDescriptor _file;
    Budget &_budget;
    std::int64_t _size = -1;
    std::array<std::byte, 16384> _window;
    std::int64_t _windowStart = 0;
    std::int64_t _windowSize = 0;
};

} // namespace kelvane::module
