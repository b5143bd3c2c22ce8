// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/String.h>

#include <cstdint>
#include <string>

namespace kelvane {

/// The file of user defaults: read whole, replaced whole, and locked by who changes it.
///
/// Threads: any; replace() and setAside() only by the holder of the lock.
class UserDefaultsFile {
public:
    /// Tells one content of the file from another without reading it: a change makes a new file.
    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = -1; // no file
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        friend bool operator==(const Identity &, const Identity &) = default;
    };
    enum class State { Missing, Good, Damaged, Unreadable };
    struct Content {
        State state = State::Missing;
        Dictionary values = Dictionary::empty();
        Identity identity = {};
        int error = 0; // errno of an unreadable file
    };
    /// Held by one thread of one process at a time. A process that dies leaves it.
    class Lock {
    public:
        explicit Lock(const UserDefaultsFile &file);
        ~Lock();
        Lock(const Lock &) = delete;
        Lock &operator=(const Lock &) = delete;
        [[nodiscard]] bool isHeld() const noexcept { return _error == 0; }
        /// errno where it is not held.
        [[nodiscard]] int error() const noexcept { return _error; }

    private:
        int _descriptor = -1;
        int _error = 0;
    };

    explicit UserDefaultsFile(const String &path);

    [[nodiscard]] const String &path() const noexcept { return _path; }
    [[nodiscard]] Identity identity() const noexcept;
    [[nodiscard]] Content read() const;
    /// 0, or errno; EINVAL for values that no property list can hold. The file is as it was then.
    [[nodiscard]] int replace(const Dictionary &values) const;
    /// Renames the file so that it says when that was; null where that cannot be done.
    [[nodiscard]] String setAside() const;

private:
    const String _path;
};

} // namespace kelvane
