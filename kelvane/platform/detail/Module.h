// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

#include <array>

namespace kelvane::detail {

/// Where a module is looked for: in the folder of the program, then in the folder "kelvane" beside this library; never in
/// the working directory or where the environment points, where strangers could put one. Null for a folder that the
/// system does not tell.
[[nodiscard]] std::array<String, 2> modulePaths(const char *fileName);

/// Logs a warning where others than the user and the system could have put what was loaded from `path` there: the file or
/// its folder may be written to by everybody.
void warnIfOpenToAll(const String &path);

/// A shared object that is loaded while the program runs, from one of its modulePaths(), and stays loaded.
///
/// Threads: any.
/// Errors: a module that is missing or cannot be loaded has no symbols.
class Module {
public:
    explicit Module(const char *fileName);

    [[nodiscard]] bool isLoaded() const noexcept { return _handle != nullptr; }
    /// The function that the module exports under a name, null where it exports none such.
    template <class Function>
    [[nodiscard]] Function function(const char *name) const noexcept
    {
        return reinterpret_cast<Function>(symbol(name));
    }

private:
    [[nodiscard]] void *symbol(const char *name) const noexcept;

    void *_handle = nullptr;
};

} // namespace kelvane::detail
