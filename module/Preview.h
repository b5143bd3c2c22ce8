// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Budget.h"
#include "Picture.h"

namespace kelvane::module {

/// The picture of an image file, or a frame of a film, upright and no larger than given; one without pixels where the
/// file at `path` shows nothing.
[[nodiscard]] Picture preview(const char *path, std::int32_t maxWidth, std::int32_t maxHeight, Budget &budget);

} // namespace kelvane::module
