// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/platform/AudioMetadata.h>

#include <string>
#include <vector>

namespace kelvane::tool {

/// The pictures that go with a file: those in `tags` (may be null) as they stand there; where there are none, a thumbnail
/// of what the file at `path` shows. Sound without a cover has none.
[[nodiscard]] std::vector<Data> artworkOf(const AudioMetadata *tags, const std::string &path);

/// ".png", ".gif" or what else the first bytes of a picture show; ".jpg" where they show nothing.
[[nodiscard]] std::string pictureExtension(const Data &picture);

} // namespace kelvane::tool
