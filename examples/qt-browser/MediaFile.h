// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/TypedDataItem.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace browser {

/// One row of the window: the record of a data item.
struct MediaFile {
    kelvane::String path{};
    kelvane::String title{};
    kelvane::String artist{};
    kelvane::String album{};
    int seconds = 0; ///< 0 where the file does not say
    std::int64_t mediaType = 0; ///< as of MimeTypes: 1 audio, 2 video, 4 image
    bool hasTags = false; ///< whether a title can be written into it
};

using MediaItem = kelvane::TypedDataItem<MediaFile>;

} // namespace browser
