// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>

#include <functional>
#include <memory>

namespace kelvane {

/// What the user has chosen, kept from one run of a program to the next: values by key, in a property list file under
/// the user's configuration folder.
///
/// Several processes may share a file. A change is read, made and written under a lock that all of them take, and the
/// file is replaced whole: whoever reads it, and whatever is killed, finds it as it was before a change or after it, and
/// two that write at once lose nothing. A read takes no lock, and opens the file only if it is another than last time.
///
/// A file that is no property list is never overwritten: the first change sets it aside beside itself, with ".damaged"
/// and the time in its name, and says so in the log. Files and folders are made for the user alone.
///
/// Threads: any thread, any operation.
/// Ownership: objects share nothing but their file.
/// Errors: a file that is missing or cannot be read has no values; writing answers false, also where another program has kept
/// the lock for five seconds. An error line says why.
class KELVANE_EXPORT UserDefaults {
public:
    /// The defaults of the running program: "defaults.plist" in a folder named after the program in $XDG_CONFIG_HOME,
    /// or in ~/.config where that is not set. Both are looked at when this is first called.
    [[nodiscard]] static UserDefaults &standardUserDefaults();

    /// The defaults in the file at `path`, which need not exist; a symbolic link stands for the file it leads to.
    explicit UserDefaults(const String &path);
    ~UserDefaults();
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;

    [[nodiscard]] const String &path() const noexcept;

    /// The value of `key`, nil where there is none. @selector objectForKey:
    [[nodiscard]] Value objectForKey(const String &key) const;
    /// The dictionary under `key`, null where there is none or something else. @selector dictionaryForKey:
    [[nodiscard]] Dictionary dictionaryForKey(const String &key) const;
    /// Everything.
    [[nodiscard]] Dictionary dictionaryRepresentation() const;

    /// Stores `value` under `key`; nil removes it. What no property list can hold is refused. @selector setObject:forKey:
    bool setObject(const Value &value, const String &key);
    /// @selector removeObjectForKey:
    bool removeObjectForKey(const String &key);
    /// Replaces the value of `key` by what `change` makes of it, with no change of anybody else's in between.
    ///
    /// Intended: the lock on the file is held while `change` runs, which must therefore be short and must not write
    /// these defaults itself. What it throws reaches the caller, and nothing is changed.
    bool update(const String &key, const std::function<Value(const Value &before)> &change);

private:
    struct Private;
    const std::unique_ptr<Private> d;
};

} // namespace kelvane
