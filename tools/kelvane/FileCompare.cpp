// SPDX-License-Identifier: Apache-2.0
#include "FileCompare.h"

#include "ExitCode.h"
#include "PhotoConversion.h"

#include "ExitCode.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <unistd.h>
#include <vector>

namespace kelvane::tool {
namespace {

// Fills the block unless the file ends; nothing where reading fails.
std::optional<std::size_t> readBlock(int file, std::vector<char> &block)
{
    std::size_t count = 0;
    while (count < block.size()) {
        const ssize_t part = ::read(file, block.data() + count, block.size() - count);
        if (part < 0 && errno == EINTR)
            continue;
        if (part < 0)
            return std::nullopt;
        if (part == 0)
            break;
        count += static_cast<std::size_t>(part);
    }
    return count;
}

} // namespace

bool isSameContent(
    const std::string &path, DeviceFolder &device, const std::string &devicePath, const std::function<bool()> &goesOn)
{
    constexpr std::size_t blockSize = 1 << 20;
    const FileDescriptor original(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!original.isOpen())
        return false;
    const FileDescriptor copy = device.openFile(devicePath);
    ::posix_fadvise(copy.get(), 0, 0, POSIX_FADV_DONTNEED);
    std::vector<char> first(blockSize);
    std::vector<char> second(blockSize);
    while (!goesOn || goesOn()) {
        const std::optional<std::size_t> count = readBlock(original.get(), first);
        if (!count || readBlock(copy.get(), second) != count
            || !std::equal(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(*count), second.begin()))
            return false;
        if (*count < blockSize)
            return true;
    }
    return false;
}

bool isSameConversion(
    const std::string &path, DeviceFolder &device, const std::string &devicePath, const std::string &scratchPath)
{
    bool isSame = false;
    try {
        const std::string scratch = device.pinnedPath(scratchPath);
        convertPhoto(path, scratch);
        isSame = isSameContent(scratch, device, devicePath);
    } catch (const ItemError &) {
        // What cannot be converted now is not what is there.
    }
    device.removeFile(scratchPath);
    return isSame;
}

} // namespace kelvane::tool
