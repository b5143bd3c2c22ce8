// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>

#include <cstddef>
#include <span>

namespace kelvane::detail {

/// The facts of an EXIF block by their names, one dictionary a list; null where the block has none of that list.
struct ExifDictionaries {
    Dictionary tiff;
    Dictionary exif;
    Dictionary gps;
};

[[nodiscard]] ExifDictionaries readExif(std::span<const std::byte> block);

/// The orientation that an EXIF block names, 1 to 8; 1 where it names none.
[[nodiscard]] int exifOrientation(const Dictionary &tiff);

} // namespace kelvane::detail
