// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceFolder.h"

#include <functional>
#include <string>

namespace kelvane::tool {

/// Whether a file and its copy on the device hold the same bytes; the copy is read from the device, not from memory.
/// A file that cannot be read is not the same. `goesOn` (may be empty) is asked now and then; false ends the
/// comparison, as different.
[[nodiscard]] bool isSameContent(const std::string &path, DeviceFolder &device, const std::string &devicePath,
    const std::function<bool()> &goesOn = {});

/// Whether a photo on the device is what its source is converted to: it is converted once more, to `scratchPath` on the
/// device, which is removed again.
[[nodiscard]] bool isSameConversion(
    const std::string &path, DeviceFolder &device, const std::string &devicePath, const std::string &scratchPath);

} // namespace kelvane::tool
