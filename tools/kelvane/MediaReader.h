// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaFormat.h"

#include <kelvane/foundation/Data.h>
#include <kelvane/media/MediaBase.h>

#include <memory>
#include <string>

namespace kelvane::tool {

/// What is read of a file: its record, and the picture that stands for it (see artworkOf()), null for none.
struct MediaContent {
    std::shared_ptr<MediaBase> media;
    Data artwork;
};

/// Reads the tags of a file into a record, whose mediaKind is that of `format`. A file without tags gets the defaults
/// that records of local files have. `copy`, if given, is a copy of the file at `path`, whose tags are read instead.
[[nodiscard]] MediaContent readMedia(const std::string &path, const MediaFormat &format, const std::string &copy = {});

/// The picture alone.
[[nodiscard]] Data readArtwork(const std::string &path);

} // namespace kelvane::tool
