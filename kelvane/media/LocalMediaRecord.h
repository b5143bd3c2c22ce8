// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/media/MediaBase.h>
#include <kelvane/media/Mediadata.h>

namespace kelvane {

/// Fills `record` with what `metadata` says of its local file: every field that has a like-named property there, the
/// path with its parts, `isFileExist`, `trackNumber` from `trackNo`, `comments` from `comment`, `episodeShow` from
/// `tvShow`, `audioFormat` 301, and `mediaType` from the tag. The duration is in whole seconds, the bitrate in bits
/// per second. Identifiers, play counts, artwork and the other fields stay as they are.
///
/// Threads: as the two objects. Errors: none; a missing file gives the defaults of Mediadata.
KELVANE_EXPORT void fillLocalMediaRecord(MediaBase &record, const Mediadata &metadata);

/// A new record so filled.
[[nodiscard]] KELVANE_EXPORT std::shared_ptr<MediaBase> localMediaRecord(const Mediadata &metadata);

} // namespace kelvane
