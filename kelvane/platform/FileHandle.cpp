// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileHandle.h>

#include <kelvane/platform/detail/FileAccess.h>
#include <kelvane/platform/detail/FileAttributes.h>

#include <fcntl.h>
#include <unistd.h>

namespace kelvane {

namespace {

std::unique_ptr<FileHandle> openFile(const String &path, int flags)
{
    const char *name = detail::systemPath(path);
    detail::FileDescriptor file(name ? ::open(name, flags | O_CLOEXEC) : -1);
    if (!file)
        return nullptr;
    auto handle = std::make_unique<FileHandle>(file.get());
    file.release();
    return handle;
}

} // namespace

std::unique_ptr<FileHandle> FileHandle::forReading(const String &path)
{
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the analyzer does not see who owns the result
    return openFile(path, O_RDONLY);
}

std::unique_ptr<FileHandle> FileHandle::forUpdating(const String &path)
{
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
    return openFile(path, O_RDWR);
}

FileHandle::~FileHandle()
{
    close(_descriptor);
}

bool FileHandle::read(std::span<std::byte> buffer) noexcept
{
    return detail::readAll(_descriptor, buffer) == static_cast<ssize_t>(buffer.size());
}

bool FileHandle::write(std::span<const std::byte> bytes) noexcept
{
    return detail::writeAll(_descriptor, bytes);
}

} // namespace kelvane
