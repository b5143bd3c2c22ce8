// SPDX-License-Identifier: Apache-2.0
#include "Module.h"

#include "ExecutablePath.h"

#include <kelvane/platform/ZenLogger.h>

#include <dlfcn.h>
#include <string>
#include <sys/stat.h>

namespace kelvane::detail {
namespace {

std::string folderOf(const String &file)
{
    const std::string_view path = file.view();
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash));
}

bool isOpenToAll(const std::string &folder)
{
    struct stat status = {};
    return ::stat(folder.c_str(), &status) == 0 && (status.st_mode & S_IWOTH);
}

} // namespace

Module::Module(const char *fileName)
{
    const std::string places[] = {folderOf(programPath()), folderOf(libraryPath()) + "/kelvane"};
    for (const std::string &folder : places) {
        // A relative path would be one from the working directory.
        if (_handle || !folder.starts_with('/'))
            continue;
        _handle = ::dlopen((folder + '/' + fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
        if (_handle && isOpenToAll(folder))
            ZenLogger::defaultLogger().ZenLogError(String::concat(
                {"warning: the module ", fileName, " was loaded from ", folder, ", which everybody may write to."}));
    }
}

void *Module::symbol(const char *name) const noexcept
{
    return _handle ? ::dlsym(_handle, name) : nullptr;
}

} // namespace kelvane::detail
