// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>

#include <memory>

namespace kelvane {

/// A one-way channel between two processes. Neither end is inherited by programs that are started, unless given to
/// one as a stream.
///
/// Threads: one thread at a time. Ownership: closes both ends when it goes.
class KELVANE_EXPORT Pipe {
public:
    /// A new pipe, null where the system has none to give (too many open descriptors).
    [[nodiscard]] static std::shared_ptr<Pipe> pipe();
    ~Pipe();
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    /// Everything that the pipe holds at this moment, empty where it holds nothing. Never blocks, other than the
    /// platform call that it stands for: a grandchild that keeps the writing end open must not hang its reader.
    [[nodiscard]] Data availableData();
    /// Waits up to `timeoutMs` milliseconds (-1: for ever) until there is something to read or the writing end is
    /// closed everywhere. False when the time is up.
    bool waitForData(int timeoutMs);
    /// Whether the writing end is closed everywhere and all was read.
    [[nodiscard]] bool isAtEnd();

    /// The descriptors, for the process that gets them as streams; -1 once closed.
    [[nodiscard]] int readingEnd() const noexcept { return _readingEnd; }
    [[nodiscard]] int writingEnd() const noexcept { return _writingEnd; }
    void closeWritingEnd() noexcept;

private:
    Pipe() = default;

    int _readingEnd = -1;
    int _writingEnd = -1;
};

} // namespace kelvane
