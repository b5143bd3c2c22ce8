// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/platform/Bundle.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/Paths.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace kelvane {

namespace {

String homeFolder()
{
    if (const char *home = std::getenv("HOME"); home && *home != '\0')
        return home;
    std::vector<char> buffer(16384);
    passwd entry = {};
    passwd *found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return "";
    return found->pw_dir;
}

} // namespace

std::int64_t Utils::directorySize(const String &path)
{
    namespace fs = std::filesystem;
    const char *name = detail::systemPath(path);
    if (!name)
        return 0;
    std::int64_t size = 0;
    std::error_code error;
    fs::recursive_directory_iterator entry(name, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const String entryPath = entry->path().native();
        // Intended: only the first character of the path from the folder on counts.
        if (entry.depth() == 0 && lastPathComponent(entryPath).view().starts_with('.')) {
            entry.disable_recursion_pending();
            continue;
        }
        const auto attributes = detail::fileAttributes(entryPath);
        if (attributes && !attributes->isFolder)
            size += static_cast<std::int64_t>(attributes->size);
    }
    return size;
}

Array Utils::getFiles(const String &path)
{
    return getFilesOrDirectories(path, false);
}

Array Utils::getDirectories(const String &path)
{
    return getFilesOrDirectories(path, true);
}

Array Utils::getFilesOrDirectories(const String &path, bool isDir)
{
    namespace fs = std::filesystem;
    Array found = Array::empty();
    const char *name = detail::systemPath(path);
    if (!name)
        return found;
    std::error_code error;
    for (fs::directory_iterator entry(name, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        String entryPath = entry->path().native();
        const auto attributes = detail::fileAttributes(entryPath);
        if (attributes && attributes->isFolder == isDir)
            found.append(std::move(entryPath));
    }
    return found;
}

String Utils::localTempPath()
{
    String name = Bundle::mainBundle().objectForInfoDictionaryKey("CFBundleDisplayName").string();
    if (name.isEmpty())
        name = "Kelvane Dravvik";
    String folder = String::concat({homeFolder().view(), "/Library/Application Support/", name.view()});
    createDirectory(folder);
    return folder;
}

Bundle &Utils::SelfMainBundle()
{
    return Bundle::libraryBundle();
}

} // namespace kelvane
