// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/common/Guid.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/FileCopy.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <new>
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

/// A hidden name beside `path` that nobody else has.
String stagingBeside(const String &path)
{
    const fs::path place(path.c_str());
    return (place.parent_path() / (".kelvane-" + Guid().UUIDString().str() + ".part")).native();
}

/// Copies to where nothing is. A folder is made under another name: when a disk fails on the way, and cannot even take
/// back what it has got, a part of it does not pass for the whole.
bool copyItem(const String &source, const String &destination)
{
    constexpr std::uint32_t how = COPYFILE_ALL | COPYFILE_RECURSIVE | COPYFILE_NOFOLLOW | COPYFILE_EXCL;
    const String staging = stagingBeside(destination);
    bool isThere = false;
    try {
        isThere = copyfile(source, staging, nullptr, how) == 0 && isFree(destination) && move(staging, destination);
    } catch (const std::bad_alloc &) {
        // A failure as any other: what there is of the copy goes.
    }
    if (!isThere) {
        std::error_code ignored;
        fs::remove_all(staging.c_str(), ignored);
    }
    return isThere;
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
    return detail::systemPath(path) && copyItem(path, dstPath);
}

} // namespace kelvane
