// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <id3v2framefactory.h>
#include <id3v2tag.h>

namespace kelvane::detail {

/// Makes the frames of a tag such that a save loses none: the library's own maker drops old ones, and misreads the
/// podcast's address where it is bare. A tag that was read with it goes through restorePodcastAddress() next.
[[nodiscard]] TagLib::ID3v2::FrameFactory *keepingFrameFactory();

/// Puts the frames of a podcast's address, which keepingFrameFactory() hides, in the form that their bytes have: a text
/// frame, as the makers of the frame write it, or a bare address, as every other "W" frame has one.
void restorePodcastAddress(TagLib::ID3v2::Tag &tag);

/// Reads a tag once more, with keepingFrameFactory(), for kinds of files that do not let it be named.
void rereadFrames(TagLib::ID3v2::Tag &tag, TagLib::File &file, long offset);

} // namespace kelvane::detail
