// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceFolder.h"

namespace kelvane::tool {

/// Keeps other syncs away from a device as long as it lives; the system takes it back from a process that dies.
class DeviceLock {
public:
    /// Throws StopError where another process has it. The library's folder is there.
    explicit DeviceLock(DeviceFolder &device);

private:
    FileDescriptor _file;
};

} // namespace kelvane::tool
