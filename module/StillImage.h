// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Picture.h"

#include <string_view>

namespace kelvane::module {

/// Whether a file that begins so is a JPEG, PNG, GIF, BMP, TIFF or WebP file.
[[nodiscard]] bool isStillImage(std::string_view head);
/// The first picture of such a file as it is stored; one without pixels where it cannot be decoded.
[[nodiscard]] Picture stillImage(std::string_view file, std::int64_t maxPixels);
/// The same, upright and no larger than given.
[[nodiscard]] Picture smallImage(
    std::string_view file, std::int64_t maxPixels, std::int32_t maxWidth, std::int32_t maxHeight);

} // namespace kelvane::module
