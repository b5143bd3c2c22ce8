// SPDX-License-Identifier: Apache-2.0
#include "DeviceSession.h"

#include "ArtworkStore.h"
#include "ExitCode.h"
#include "Text.h"

namespace kelvane::tool {

DeviceSession::DeviceSession(DeviceFolder &device)
{
    // All of the folders are checked before anything is made: a link among them is refused.
    for (const char *folder : {"Music", "Photos", DeviceRepair::incomingFolder, ArtworkStore::folder})
        device.checkFolder(folder);
    device.makeFolder(DeviceRepair::incomingFolder);
    _lock = std::make_unique<DeviceLock>(device);
    DeviceLibrary::create(device);
    _library = std::make_unique<DeviceLibrary>(device);
    _library->beginWriting();
    _repair = std::make_unique<DeviceRepair>(device, *_library);
    _repair->settle();
}

void refuseDevice(const DeviceFolder &device, const std::exception &reason)
{
    throw StopError(ExitCannotStart, "cannot use the device " + inQuotes(device.path()) + ": " + reason.what());
}

void DeviceSession::end()
{
    _repair->settle();
    _library->endWriting();
}

} // namespace kelvane::tool
