// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <string>
#include <vector>

namespace kelvane::tool {

/// What the command line asks of a conversion.
struct HeicToJpegOptions {
    std::string folder; ///< for the JPEG files; empty means beside each photo
    bool overwrites = false;
};

/// kelvane heic2jpg FILE...
ExitCode convertPhotos(const std::vector<std::string> &files, const HeicToJpegOptions &options, bool isJson);

} // namespace kelvane::tool
