// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceLock.h"
#include "DeviceRepair.h"
#include "ExitCode.h"

#include <memory>

namespace kelvane::tool {

/// A device while its content is changed: its folders are looked at, others kept away, the library is open for writing,
/// and what an earlier run left unfinished is settled.
///
/// Errors: StopError, and what its parts throw, where the device cannot be used.
class DeviceSession {
public:
    /// Makes the library where there is none.
    explicit DeviceSession(DeviceFolder &device);
    DeviceSession(const DeviceSession &) = delete;
    DeviceSession &operator=(const DeviceSession &) = delete;
    ~DeviceSession() = default;

    [[nodiscard]] DeviceLibrary &library() { return *_library; }
    [[nodiscard]] DeviceRepair &repair() { return *_repair; }

    /// Leaves the device tidy. Throws what its parts throw: what is done is done then, and the next session settles the
    /// rest.
    void end();

private:
    std::unique_ptr<DeviceLock> _lock;
    std::unique_ptr<DeviceLibrary> _library;
    std::unique_ptr<DeviceRepair> _repair;
};

/// Ends the command with a line that names the device.
[[noreturn]] void refuseDevice(const DeviceFolder &device, const std::exception &reason);

/// Does `work` on a device; where its library or its files make that impossible, the command ends with such a line.
template <class Work>
auto usingDevice(const DeviceFolder &device, Work work)
{
    try {
        return work();
    } catch (const DeviceLibrary::LibraryError &error) {
        refuseDevice(device, error);
    } catch (const ItemError &error) {
        refuseDevice(device, error);
    }
}

} // namespace kelvane::tool
