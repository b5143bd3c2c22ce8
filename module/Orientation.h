// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kelvane::module {

/// How the pixels of a picture lie, as the numbers 1 (upright) to 8 of EXIF say it.
using Orientation = int;

/// By a block of EXIF or the start of a TIFF file; 1 where it does not say.
[[nodiscard]] Orientation orientationOfTiff(std::string_view block);
/// By the EXIF block of a WebP or PNG file, or the header of a TIFF file; 1 where it does not say.
[[nodiscard]] Orientation orientationOfImage(std::string_view file);

} // namespace kelvane::module
