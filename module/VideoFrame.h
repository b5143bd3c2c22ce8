// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaInput.h"
#include "Picture.h"

namespace kelvane::module {

/// A frame of the film that is not black, upright, in the shape that players show it, and no larger than given; one
/// without pixels where there is no film or none of it can be decoded. Of a film that is black throughout, the
/// brightest frame that was seen.
[[nodiscard]] Picture videoFrame(MediaInput &input, std::int32_t maxWidth, std::int32_t maxHeight);

} // namespace kelvane::module
