// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RgbaPixels.h"

#include <kelvane/platform/detail/HeifBoxes.h>

#include <string>

namespace kelvane::decoder {

/// Whether libheif may be given an item: what it is derived from ends after few steps, and is no more than `mostPixels`
/// altogether. libheif follows a picture that is derived from itself until its stack ends.
[[nodiscard]] bool isBounded(const detail::HeifItems &items, std::uint32_t item, std::int64_t mostPixels);

/// Decodes a file's primary picture by libheif alone: AV1, pictures derived from others, and kinds of HEVC that libavcodec
/// does not know. Everything that the file asks for is done to it; with `isLeftAsStored` nothing of it.
[[nodiscard]] Canvas decodeByStock(const std::string &path, std::uint32_t longestSide, bool isLeftAsStored);

} // namespace kelvane::decoder
