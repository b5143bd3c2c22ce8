// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaFormat.h"

#include <kelvane/media/MediaBase.h>

#include <memory>
#include <string>

namespace kelvane::tool {

/// Reads the tags of a file into a record, whose mediaKind is that of `format`. A file without tags gets the defaults
/// that records of local files have. `copy`, if given, is a copy of the file at `path`, whose tags are read instead.
[[nodiscard]] std::shared_ptr<MediaBase> readMedia(
    const std::string &path, const MediaFormat &format, const std::string &copy = {});

} // namespace kelvane::tool
