// SPDX-License-Identifier: Apache-2.0
#include "DeviceLock.h"

#include "ExitCode.h"
#include "Text.h"

#include <cerrno>
#include <sys/file.h>

namespace kelvane::tool {

DeviceLock::DeviceLock(DeviceFolder &device) : _file(device.makeFile(".kelvane/lock"))
{
    if (::flock(_file.get(), LOCK_EX | LOCK_NB) == 0)
        return;
    const std::string reason = errno == EWOULDBLOCK ? "another sync is using it" : reasonText(errno);
    throw StopError(ExitCannotStart, "cannot use the device " + inQuotes(device.path()) + ": " + reason);
}

} // namespace kelvane::tool
