// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "JsonText.h"

#include <memory>
#include <string>

namespace kelvane {
class ImageSource;
}

namespace kelvane::tool {

/// What the headers of the picture at `path` say; null where it is no picture.
[[nodiscard]] std::unique_ptr<ImageSource> openPhoto(const std::string &path);

/// Its type, size in pixels, capture date (see Utils::photoExifCreateDate()) and properties: an object, or a listing for
/// people.
[[nodiscard]] Json photoJson(const std::string &path, const ImageSource &photo);
[[nodiscard]] std::string photoListing(const std::string &path, const ImageSource &photo);

} // namespace kelvane::tool
