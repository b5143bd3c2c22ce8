// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AdtsStream.h"
#include "TagStore.h"
#include "TagStream.h"

#include <functional>
#include <memory>
#include <string_view>
#include <tfile.h>
#include <vector>

namespace kelvane::detail {

enum class TagFormat {
    Unknown,
    Mpeg,
    Adts,
    Flac,
    OggVorbis,
    OggOpus,
    OggSpeex,
    OggFlac,
    Mp4,
    Asf,
    Aiff,
    Wav,
    Ape,
    WavPack,
    Musepack,
    TrueAudio
};

/// What the file is, by its first bytes; by `extension` (lower case) only where MPEG audio may begin further inside.
[[nodiscard]] TagFormat detectTagFormat(TagStream &stream, std::string_view extension);

/// An open media file: its blocks of tags, the one that counts most first, and the library's objects behind them.
/// Made by openTaggedFile().
struct TaggedFile {
    std::unique_ptr<TagStream> stream;
    std::unique_ptr<TagLib::File> file;
    std::vector<std::unique_ptr<TagStore>> stores;
    /// Writes the stores' tags into the file. False on failure; what the stream knows of it comes on top.
    std::function<bool()> save;
    /// Pictures that the kind keeps beside its tags (FLAC); they come before those of the stores.
    std::vector<TagLib::ByteVector> pictures;
    /// Bits per second that the stream announces, 0 where it does not or the library's own figure is that.
    int nominalBitrate = 0;
    /// Channels, where the library's own figure is not to be trusted; else 0.
    int channels = 0;
    /// The sound of a raw AAC stream, of which the library knows nothing.
    AdtsStream adts;
};

/// Reads the tags of `stream`. With `forWriting` the kind's main block of tags is there even if the file has none.
/// Without a `file` where it is of no known kind, or damaged beyond use.
[[nodiscard]] TaggedFile openTaggedFile(std::unique_ptr<TagStream> stream, std::string_view extension, bool forWriting);

} // namespace kelvane::detail
