// SPDX-License-Identifier: Apache-2.0
#include "MediaReader.h"

#include "Artwork.h"

#include <kelvane/media/LocalMediaRecord.h>
#include <kelvane/media/Mediadata.h>
#include <kelvane/platform/AudioMetadata.h>

namespace kelvane::tool {

namespace {

Data firstArtwork(const AudioMetadata *tags, const std::string &path)
{
    const std::vector<Data> pictures = artworkOf(tags, path);
    return pictures.empty() ? Data() : pictures.front();
}

} // namespace

MediaContent readMedia(const std::string &path, const MediaFormat &format, const std::string &copy)
{
    const std::string &file = copy.empty() ? path : copy;
    const bool mayHaveTags = format.kind != MediaKind::Image;
    Mediadata metadata(mayHaveTags ? AudioMetadata::CreateMetadataForURL(file) : nullptr);
    metadata.setFilePath(path);
    metadata.loadMediaData();
    MediaContent content{localMediaRecord(metadata), firstArtwork(metadata.audioMetadata(), file)};
    content.media->setMediaKind(static_cast<std::uint64_t>(format.kind));
    return content;
}

Data readArtwork(const std::string &path)
{
    return firstArtwork(AudioMetadata::CreateMetadataForURL(path).get(), path);
}

} // namespace kelvane::tool
