// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceLibrary.h"

namespace kelvane::tool {

/// Settles what a run left unfinished, whatever ended it: a kill, a cable pulled out, an error. Afterwards the library
/// knows every file that is ours, and no transfer or removal is open. Run before a sync and after it.
class DeviceRepair {
public:
    /// Where files are while they are copied: all that is in there after a run is rubbish.
    static constexpr const char *incomingFolder = ".kelvane/incoming";

    DeviceRepair(DeviceFolder &device, DeviceLibrary &library) : _device(device), _library(library) {}

    void settle();
    /// Removes a file that the library has given up, for certain (see DeviceLibrary::makeDurable()): otherwise a power
    /// cut could bring back the row, which has no file then. Not if somebody has put another one in its place.
    void removeFile(const DeviceLibrary::Removal &removal);
    /// Forgets files that are removed, when the device itself is sure to have done so: a file that came back after a
    /// power cut, and that nobody knows of any more, would stay for ever.
    void forget(const std::vector<DeviceLibrary::Removal> &removals);

private:
    void adopt(const DeviceLibrary::Transfer &transfer, const FileStamp &stamp);

    DeviceFolder &_device;
    DeviceLibrary &_library;
};

} // namespace kelvane::tool
