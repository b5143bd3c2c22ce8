// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Budget.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::module {

/// A regular file, open for reading; a FIFO or a device is never waited for. What is read is counted.
class SourceFile {
public:
    SourceFile(const char *path, Budget &budget)
        : _descriptor(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)),
          _budget(budget)
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
        if (_size < 0 || at < 0 || _budget.isSpent())
            return 0;
        const ssize_t taken = ::pread(_descriptor, bytes, count, at);
        if (taken <= 0)
            return 0;
        _budget.read(taken);
        return static_cast<std::size_t>(taken);
    }

private:
    const int _descriptor;
    Budget &_budget;
    std::int64_t _size = -1;
};

} // namespace kelvane::module
