// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/foundation/detail/Numbers.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/Paths.h>

#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

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

bool Utils::isSameFile(const String &path, const String &dstPath) noexcept
{
    const auto first = detail::fileAttributes(path);
    const auto second = detail::fileAttributes(dstPath);
    return first && second && first->size == second->size && first->modified == second->modified;
}

void Utils::waitFileExsit(const String &path, std::int32_t seconds)
{
    // Intended: what is counted is the sleeps, and the first comes before the first look. Callers have just asked
    // somebody else to make the file.
    constexpr std::int64_t step = 10'000; // microseconds
    for (std::int64_t elapsed = 0;;) {
        std::this_thread::sleep_for(std::chrono::microseconds(step));
        elapsed += step;
        if (elapsed >= std::int64_t{seconds} * 1'000'000 || fileExsit(path))
            return;
    }
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
