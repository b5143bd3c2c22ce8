// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RgbaPixels.h"

#include <string>

namespace kelvane::decoder {

/// Decodes a file's primary picture by libheif alone: AV1, pictures derived from others, and kinds of HEVC that libavcodec
/// does not know. Everything that the file asks for is done to it; with `isLeftAsStored` nothing of it.
[[nodiscard]] Canvas decodeByStock(const std::string &path, std::uint32_t longestSide, bool isLeftAsStored);

} // namespace kelvane::decoder
