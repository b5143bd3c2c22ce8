// SPDX-License-Identifier: Apache-2.0
#include "ImageBytes.h"

#include <kelvane/platform/detail/FileAccess.h>
#include <kelvane/platform/detail/FileAttributes.h>

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kelvane::detail {

std::optional<ImageBytes> ImageBytes::open(const String &path)
{
    const char *text = systemPath(path);
    FileDescriptor file = text ? openRegularFile(text) : FileDescriptor();
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return std::nullopt;
    return ImageBytes(std::move(file), static_cast<std::uint64_t>(std::max<off_t>(status.st_size, 0)));
}

bool ImageBytes::read(std::uint64_t offset, std::span<std::byte> buffer) const noexcept
{
    if (offset > _size || buffer.size() > _size - offset)
        return false;
    if (!_file) {
        std::copy_n(_memory.begin() + static_cast<std::ptrdiff_t>(offset), buffer.size(), buffer.begin());
        return true;
    }
    return readAt(_file.get(), buffer, offset) == buffer.size();
}

std::vector<std::byte> ImageBytes::take(std::uint64_t offset, std::uint64_t count, std::size_t most) const
{
    if (count > most || offset > _size || count > _size - offset)
        return {};
    std::vector<std::byte> bytes(static_cast<std::size_t>(count));
    return read(offset, bytes) ? bytes : std::vector<std::byte>();
}

Data ImageBytes::all(std::uint64_t most) const
{
    if (_size > most)
        return {};
    bool isRead = true; // an empty file is
    Data data =
        Data::create(static_cast<std::size_t>(_size), [&](std::span<std::byte> buffer) { isRead = read(0, buffer); });
    return isRead ? data : Data();
}

} // namespace kelvane::detail
