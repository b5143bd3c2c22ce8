// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/platform/detail/FileAttributes.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

// What the library does where a name is taken: the names that it tries, and moving files out of the way.

namespace kelvane {

namespace {

namespace fs = std::filesystem;

String numbered(const String &path, std::uint64_t number)
{
    return String::concat({path.view(), "(", String::number(number).view(), ")"});
}

bool move(const String &path, const String &destination) noexcept
{
    return std::rename(path.c_str(), destination.c_str()) == 0;
}

/// Whether nothing is at the path for certain: a disk that does not answer may hold what must not be replaced.
bool isFree(const String &path) noexcept
{
    struct stat status {};
    return ::stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR || errno == ELOOP);
}

/// Gives the copies the modification dates of what they were made from, folders after what is in them.
void copyDates(const fs::path &source, const fs::path &destination)
{
    std::error_code error;
    if (fs::is_directory(fs::symlink_status(source, error))) {
        for (fs::directory_iterator entry(source, error); !error && entry != fs::directory_iterator();
             entry.increment(error))
            copyDates(entry->path(), destination / entry->path().filename());
    }
    if (!fs::is_symlink(fs::symlink_status(source, error))) {
        const auto modified = fs::last_write_time(source, error);
        if (!error)
            fs::last_write_time(destination, modified, error);
    }
}

/// Whether `path` would lie inside the folder `outer`, whose copy would then never end.
bool isInside(const fs::path &path, const fs::path &outer)
{
    std::error_code error;
    const fs::path folder = fs::canonical(outer, error);
    if (error)
        return false;
    for (fs::path parent = fs::weakly_canonical(path, error); !error && parent.has_relative_path();
         parent = parent.parent_path()) {
        if (parent == folder)
            return true;
    }
    return false;
}

bool copyItem(const fs::path &source, const fs::path &destination)
{
    std::error_code error;
    if (isInside(destination, source))
        return false;
    fs::copy(source, destination, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    if (error) {
        std::error_code ignored;
        fs::remove_all(destination, ignored);
        return false;
    }
    copyDates(source, destination);
    return true;
}

} // namespace

String Utils::renameFilePath(const String &path)
{
    if (!fileExsit(path))
        return path;
    for (std::uint64_t number = 1;; ++number) {
        String candidate = numbered(path, number);
        if (!fileExsit(candidate))
            return candidate;
    }
}

String Utils::backupFilePath(const String &path)
{
    if (fileExsit(path))
        return path;
    for (const std::uint64_t number : {1U, 2U}) {
        String candidate = numbered(path, number);
        if (fileExsit(candidate))
            return candidate;
    }
    return numbered(path, 3);
}

bool Utils::moveFile(const String &path)
{
    if (!fileExsit(path))
        return false;
    std::uint64_t number = 1;
    String candidate = numbered(path, number);
    while (fileExsit(candidate)) {
        // Intended: from the second on a candidate is deleted before it is tested, so that a file leaves two old
        // ones behind at the most. Where it cannot be deleted, neither can the file be moved.
        candidate = numbered(path, ++number);
        if (!deleteFile(candidate) && fileExsit(candidate))
            return false;
    }
    return isFree(candidate) && move(path, candidate);
}

bool Utils::backFile(const String &path)
{
    if (!fileExsit(path))
        return false;
    const String origin = path + "(origin)";
    if (!fileExsit(origin))
        return isFree(origin) && move(path, origin);
    const String backup = path + "(bak)";
    if (fileExsit(backup))
        deleteFile(backup);
    return move(path, backup);
}

bool Utils::copyFile(const String &path, const String &dstPath)
{
    if (path.isEmpty() || dstPath.isEmpty())
        return false;
    // Intended: there must be something to replace. A copy that fails leaves it moved aside, where callers look for it.
    if (!moveFile(dstPath))
        return false;
    const char *source = detail::systemPath(path);
    return source && copyItem(source, dstPath.c_str());
}

} // namespace kelvane
