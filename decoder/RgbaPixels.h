// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libheif/heif.h>

#include <cstddef>
#include <cstdint>

namespace kelvane::decoder {

/// Whether toRgba() knows the image's planes; libheif's own conversion is for the others.
[[nodiscard]] bool hasKnownPlanes(const heif_image *image);

/// Writes the planes of an image as RGBA, 8 bits each, alpha premultiplied, rows of width * 4 bytes, on all cores.
/// `colours` says what the numbers mean, null what is usual: BT.601, full range.
///
/// Colour that is coded at half the size is repeated, not smoothed: a JPEG with the usual subsampling then gets back
/// exactly what the photo has.
void toRgba(
    const heif_image *image, const heif_color_profile_nclx *colours, bool isPremultiplied, std::uint8_t *pixels);

} // namespace kelvane::decoder
