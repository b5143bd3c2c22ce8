// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Picture.h"

#include <string_view>

namespace kelvane::module {

/// The first picture of a GIF, BMP, TIFF or WebP file; one without pixels where it cannot be decoded.
[[nodiscard]] Picture stillImage(std::string_view file, std::int64_t maxPixels);

} // namespace kelvane::module
