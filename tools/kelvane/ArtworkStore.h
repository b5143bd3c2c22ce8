// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceLibrary.h"

#include <kelvane/foundation/Data.h>

#include <atomic>
#include <string>

namespace kelvane::tool {

/// The pictures of the items on a device. Each is a file named after its content, so that all songs of an album share
/// one. A picture is whole and on the disk before a row names it; what no row names is removed by the next repair.
///
/// Threads: put() on any thread; settle() while nobody else works on the device.
class ArtworkStore {
public:
    static constexpr const char *folder = ".kelvane/artwork";

    ArtworkStore(DeviceFolder &device, DeviceLibrary &library) : _device(device), _library(library) {}

    /// The path on the device of the file with these bytes, which is made where it is missing; "" for no picture.
    std::string put(const Data &picture);
    /// Finds the pictures of items that have none: those of a library from before there were any, and those whose
    /// file is gone. Then removes the files that belong to no item.
    void settle();

private:
    void write(const Data &picture, const std::string &staged);
    [[nodiscard]] Data pictureOf(const std::string &devicePath);

    DeviceFolder &_device;
    DeviceLibrary &_library;
    static std::atomic<std::uint64_t> s_stagedCount;
};

} // namespace kelvane::tool
