// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "HevcPlugin.h"

#include <libheif/heif.h>

#include <cstdint>
#include <vector>

namespace kelvane::decoder {

/// Whether libavcodec was built with an HEVC decoder.
[[nodiscard]] bool canDecodeHevc() noexcept;

/// Decodes one picture of HEVC, its units each with a length of four bytes before it, to planes as they are coded. Damage
/// is an error: half a photo is not taken for a whole one.
[[nodiscard]] heif_error decodeHevc(std::vector<std::uint8_t> units, PictureBudget &budget, heif_image **image);

} // namespace kelvane::decoder
