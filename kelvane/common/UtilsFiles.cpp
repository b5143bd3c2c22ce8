// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/foundation/detail/Numbers.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/Paths.h>

#include <filesystem>
#include <system_error>

#include <sys/statvfs.h>

namespace kelvane {

bool Utils::fileExsit(const String &path) noexcept
{
    return detail::fileAttributes(path).has_value();
}

bool Utils::createDirectory(const String &path)
{
    // Intended: also for a file. Callers ask for a place that is taken, and find out about the file when they use it.
    if (fileExsit(path))
        return true;
    const char *name = detail::systemPath(path);
    if (!name)
        return false;
    std::error_code error;
    std::filesystem::create_directories(name, error);
    return !error;
}

bool Utils::deleteFile(const String &path)
{
    const char *name = detail::systemPath(path);
    if (!name)
        return false;
    std::error_code error;
    return std::filesystem::remove_all(name, error) > 0 && !error;
}

std::uint64_t Utils::getSizeFromPath(const String &path) noexcept
{
    const auto attributes = detail::fileAttributes(path);
    return attributes ? attributes->size : 0;
}

std::int64_t Utils::fileSize(const String &path) noexcept
{
    return detail::saturate<std::int64_t>(getSizeFromPath(path));
}

Date Utils::createTime(const String &path) noexcept
{
    const auto attributes = detail::fileAttributes(path);
    if (!attributes)
        return {};
    return attributes->created.isNull() ? attributes->modified : attributes->created;
}

Date Utils::ModifyTime(const String &path) noexcept
{
    const auto attributes = detail::fileAttributes(path);
    return attributes ? attributes->modified : Date();
}

std::int64_t Utils::getFreeSpaceInVolume(const String &path) noexcept
{
    const char *name = detail::systemPath(path);
    struct statvfs status = {};
    if (!name || statvfs(name, &status) != 0)
        return 0;
    return static_cast<std::int64_t>(status.f_bavail * status.f_frsize);
}

String Utils::getFileName(const String &path)
{
    return path.isNull() ? String("") : deletingPathExtension(lastPathComponent(path));
}

String Utils::changeExtension(const String &path, const String &newExtension)
{
    if (path.isNull() || newExtension.isNull())
        return path;
    return String::concat({deletingPathExtension(path).view(), ".", newExtension.view()});
}

} // namespace kelvane
