// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/ExecutablePath.h>

#include <filesystem>
#include <system_error>

#include <dlfcn.h>

namespace kelvane::detail {

String programPath()
{
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? String() : String(path.native());
}

String libraryPath()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void *>(&libraryPath), &info) == 0 || !info.dli_fname)
        return programPath();
    std::error_code error;
    const auto path = std::filesystem::canonical(info.dli_fname, error);
    // A program that was found through the search path knows itself by its bare name.
    return error ? programPath() : String(path.native());
}

} // namespace kelvane::detail
