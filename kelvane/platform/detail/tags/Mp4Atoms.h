// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TagStream.h"

#include <tbytevector.h>

namespace kelvane::detail {

/// Where an MP4 file keeps its tags.
struct Mp4Layout {
    /// False for a file whose atoms are nested deeper, or are more, than the tag library stands: it goes down one
    /// call, and allocates, for each.
    bool isSane = true;
    /// Offset of the body of moov/udta/meta/ilst and its size; 0 where there is none.
    long itemsOffset = 0;
    long itemsSize = 0;
};

[[nodiscard]] Mp4Layout scanMp4(TagStream &stream);

/// The big-endian 32-bit number at `offset`, 0 where it is not whole.
[[nodiscard]] std::uint32_t bigEndian32(const TagLib::ByteVector &bytes, unsigned int offset);

} // namespace kelvane::detail
