// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaModule.h"

#include <kelvane/foundation/Data.h>

namespace kelvane::detail {

/// A picture as JPEG, on white where it can be looked through; null data where that fails. `quality`: 1 to 100.
[[nodiscard]] Data encodeJpeg(const MediaPicture &picture, int quality);

} // namespace kelvane::detail
