// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceFolder.h"
#include "WorkProgress.h"

#include <string>
#include <vector>

namespace kelvane::tool {

/// Scales pictures of a device down to what a list shows of them, several at once: JPEG files in Base64, in the order of
/// `paths`. "" for one that is missing, damaged or not to be had; the others are there all the same.
[[nodiscard]] std::vector<std::string> smallPictures(
    DeviceFolder &device, const std::vector<std::string> &paths, int jobs, WorkProgress &progress);

} // namespace kelvane::tool
