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
    return std::string(file.view().substr(0, file.view().rfind('/')));
}

String pathIn(const std::string &folder, const char *fileName)
{
    // A relative path would be one from the working directory.
    return folder.starts_with('/') ? String::concat({folder, "/", fileName}) : String();
}

bool isOpenToAll(const std::string &path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && (status.st_mode & S_IWOTH);
}

} // namespace

std::array<String, 2> modulePaths(const char *fileName)
{
    return {pathIn(folderOf(programPath()), fileName), pathIn(folderOf(libraryPath()) + "/kelvane", fileName)};
}

// The module stays loaded: a program that runs from a shared folder is a program that everybody may replace, too.
void warnIfOpenToAll(const String &path)
{
    const std::string folder = folderOf(path);
    const std::string file = path.str();
    if (isOpenToAll(folder))
        ZenLogger::defaultLogger().ZenLogError(String::concat({"warning: the module ", file.substr(folder.size() + 1),
            " was loaded from ", folder, ", which everybody may write to."}));
    else if (isOpenToAll(file))
        ZenLogger::defaultLogger().ZenLogError(
            String::concat({"warning: the module ", file, " was loaded, which everybody may write to."}));
}

Module::Module(const char *fileName)
{
    for (const String &path : modulePaths(fileName)) {
        if (_handle || path.isNull())
            continue;
        _handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (_handle)
            warnIfOpenToAll(path);
    }
}

void *Module::symbol(const char *name) const noexcept
{
    return _handle ? ::dlsym(_handle, name) : nullptr;
}

} // namespace kelvane::detail
