// SPDX-License-Identifier: Apache-2.0
#include "DeviceLock.h"

#include "ExitCode.h"
#include "Text.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::tool {
namespace {

// " (process 1234)", as far as the one who has the lock has written it down.
std::string holder(int file)
{
    std::array<char, 16> text{};
    const ssize_t count = ::pread(file, text.data(), text.size() - 1, 0);
    const long number = count > 0 ? std::strtol(text.data(), nullptr, 10) : 0;
    return number > 0 ? " (process " + std::to_string(number) + ')' : "";
}

} // namespace

DeviceLock::DeviceLock(DeviceFolder &device) : _file(device.makeFile(".kelvane/lock"))
{
    struct stat status {};
    if (::fstat(_file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1)
        throw StopError(ExitCannotStart,
            "cannot use the device " + inQuotes(device.path())
                + ": .kelvane/lock is no file of its own; remove it and try again");
    if (::flock(_file.get(), LOCK_EX | LOCK_NB) == 0) {
        // For the one who is refused. A device that is full has no room for it, and the lock counts all the same.
        const std::string number = std::to_string(::getpid());
        if (::ftruncate(_file.get(), 0) == 0) {
            [[maybe_unused]] const ssize_t ignored = ::pwrite(_file.get(), number.data(), number.size(), 0);
        }
        return;
    }
    const std::string reason = errno == EWOULDBLOCK
        ? "another sync is using it" + holder(_file.get()) + "; try again when it has ended"
        : reasonText(errno);
    throw StopError(ExitCannotStart, "cannot use the device " + inQuotes(device.path()) + ": " + reason);
}

} // namespace kelvane::tool
