// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceFolder.h"
#include "SourceFile.h"

#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace kelvane::tool {

/// Gives files their places on the device: songs and videos a random one in Music/F00 to Music/F99, which keeps the
/// folders small on slow file systems; pictures their own name in Photos, because people look for it there.
///
/// No name is given twice, nor one that differs from another only in case: many devices do not tell them apart.
///
/// Threads: any thread.
class TargetNames {
public:
    explicit TargetNames(DeviceFolder &device) : _device(device) {}

    /// Keeps a name from being given.
    void take(const std::string &devicePath);
    /// A free place for a file, relative to the device. Nothing is made there.
    [[nodiscard]] std::string nameFor(const std::string &sourcePath, const MediaFormat &format);

private:
    [[nodiscard]] bool tryTake(const std::string &devicePath);
    [[nodiscard]] std::string pictureName(const std::string &sourcePath, const std::string &extension);

    DeviceFolder &_device;
    std::mutex _mutex;
    std::unordered_set<std::string> _taken; // in lower case; guarded by _mutex, as the next is
    std::unordered_map<std::string, int> _lastNumbers; // of pictures with one name; in lower case
};

} // namespace kelvane::tool
