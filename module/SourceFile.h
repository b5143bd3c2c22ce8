// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Budget.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::module {

/// A regular file, open for reading; a FIFO or a device is never waited for. What is read is counted. Few bytes are
/// served from a window of the file, because headers are read in pieces of a few bytes, one behind the other.
class SourceFile {
public:
    SourceFile(const char *path, Budget &budget) : _descriptor(openFile(path)), _budget(budget)
    {
        struct stat status {};
        if (_descriptor >= 0 && ::fstat(_descriptor, &status) == 0 && S_ISREG(status.st_mode))
            _size = status.st_size;
    }
    ~SourceFile()
    {
        if (_descriptor >= 0)
            ::close(_descriptor);
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
    static int openFile(const char *path)
    {
        int descriptor = -1;
        do {
            descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        } while (descriptor < 0 && errno == EINTR);
        return descriptor;
    }
    std::size_t readFile(std::int64_t at, void *bytes, std::size_t count) const
    {
        ssize_t taken = 0;
        do {
            taken = ::pread(_descriptor, bytes, count, at);
        } while (taken < 0 && errno == EINTR);
        return taken > 0 ? static_cast<std::size_t>(taken) : 0;
    }
    std::size_t counted(std::size_t taken)
    {
        _budget.read(static_cast<std::int64_t>(taken));
        return taken;
    }

    const int _descriptor;
    Budget &_budget;
    std::int64_t _size = -1;
    std::array<std::byte, 16384> _window;
    std::int64_t _windowStart = 0;
    std::int64_t _windowSize = 0;
};

} // namespace kelvane::module
