// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TagStream.h"

#include <tbytevector.h>

namespace kelvane::detail {

/// Where an MP4 file keeps its tags, and what the tag library does not look at.
struct Mp4Layout {
    /// False for a file whose atoms are nested deeper, or are more, than the tag library stands: it goes down one
    /// call, and allocates, for each.
    bool isSane = true;
    /// False for a file with a table that names more offsets than it holds: the tag library would move all of them when
    /// it writes, and so overwrite what lies behind the table, up to 16 GiB of it.
    bool hasTrueOffsets = true;
    /// Offset of the body of moov/udta/meta/ilst and its size; 0 where there is none.
    long itemsOffset = 0;
    long itemsSize = 0;
    long itemsAtom = 0; ///< where its header begins
    /// Channels of the first AAC track as its decoder sees them, 0 where unknown: the number beside it in the track
    /// says 2 whatever the sound is.
    int channels = 0;
};

[[nodiscard]] Mp4Layout scanMp4(TagStream &stream);

/// Channels that the AAC configuration inside an "mp4a" atom names, 0 where there is none.
[[nodiscard]] int aacChannels(const TagLib::ByteVector &mp4a);

/// The big-endian 32-bit number at `offset`, 0 where it is not whole.
[[nodiscard]] std::uint32_t bigEndian32(const TagLib::ByteVector &bytes, unsigned int offset);

} // namespace kelvane::detail
