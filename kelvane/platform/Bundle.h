// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>

#include <mutex>

namespace kelvane {

/// A folder with a program or a library in it, and the facts about it that a property list "Info.plist" beside it
/// holds.
///
/// Threads: any thread, any operation.
/// Ownership: bundles live as long as the process.
/// Errors: nothing throws but std::bad_alloc; a list that is missing or cannot be read is empty.
class KELVANE_EXPORT Bundle {
public:
    /// The bundle of the running program.
    [[nodiscard]] static Bundle &mainBundle();
    /// The bundle that this library lies in; the program's where it is linked in.
    [[nodiscard]] static Bundle &libraryBundle();

    Bundle(const Bundle &) = delete;
    Bundle &operator=(const Bundle &) = delete;

    /// The program or library file; null where the system does not tell.
    [[nodiscard]] const String &executablePath() const noexcept { return _executablePath; }
    /// The folder that it lies in.
    [[nodiscard]] const String &bundlePath() const noexcept { return _bundlePath; }
    /// What the property list says, read on first use.
    [[nodiscard]] Dictionary infoDictionary();
    /// Replaces what the property list says, for programs that have none: "CFBundleDisplayName" is the name of
    /// their folder among the user's application data.
    void setInfoDictionary(Dictionary info);
    /// The value of one key, nil where there is none. @selector objectForInfoDictionaryKey:
    [[nodiscard]] Value objectForInfoDictionaryKey(const String &key);

private:
    explicit Bundle(String executablePath);
    ~Bundle();

    const String _executablePath;
    const String _bundlePath;
    std::mutex _mutex;
    Dictionary _info; // guarded by _mutex; null as long as it was neither read nor set
};

} // namespace kelvane
