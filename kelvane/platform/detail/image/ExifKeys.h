// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace kelvane::detail {

/// The three lists of facts in an EXIF block.
enum class ExifList { Tiff, Exif, Gps };

/// How a value is given, where its type alone does not say.
enum class ExifForm : std::uint8_t {
    AsStored,
    List, ///< an array of numbers even of one
    Digits, ///< characters of a version as an array of numbers
    Angle, ///< degrees, minutes and seconds as degrees
    Time, ///< hours, minutes and seconds as a text "14:05:00"
    Text, ///< eight bytes that name an encoding, then text
};

struct ExifKey {
    std::uint16_t tag;
    const char *name;
    ExifForm form = ExifForm::AsStored;
};

/// The facts of a list that are known.
[[nodiscard]] std::span<const ExifKey> exifKeys(ExifList list) noexcept;
/// Null for one that is not.
[[nodiscard]] const ExifKey *findExifKey(ExifList list, std::uint32_t tag) noexcept;

} // namespace kelvane::detail
