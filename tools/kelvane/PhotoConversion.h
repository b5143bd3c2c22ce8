// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaFormat.h"

#include <string>

namespace kelvane::tool {

/// Whether the file is a photo that devices get as JPEG.
[[nodiscard]] bool isConvertible(const std::string &path, const MediaFormat &format);
/// Whether `target` is what `source` is converted to, going by what they are and not by their content.
[[nodiscard]] bool isConversion(const std::string &source, const std::string &target);

/// Makes a JPEG file of a HEIC photo, at a path at which nothing is. Throws ItemError, with the reason as far as the
/// library tells it, in which the target is called `shownTarget`, if that is given.
void convertPhoto(const std::string &source, const std::string &target, const std::string &shownTarget = {});

} // namespace kelvane::tool
