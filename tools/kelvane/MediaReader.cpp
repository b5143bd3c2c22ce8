// SPDX-License-Identifier: Apache-2.0
#include "MediaReader.h"

#include <kelvane/media/LocalMediaRecord.h>
#include <kelvane/media/Mediadata.h>
#include <kelvane/platform/AudioMetadata.h>

namespace kelvane::tool {

std::shared_ptr<MediaBase> readMedia(const std::string &path, const MediaFormat &format, const std::string &copy)
{
    const std::string &file = copy.empty() ? path : copy;
    const bool mayHaveTags = format.kind != MediaKind::Image;
    Mediadata metadata(mayHaveTags ? AudioMetadata::CreateMetadataForURL(file) : nullptr);
    metadata.setFilePath(path);
    metadata.loadMediaData();
    std::shared_ptr<MediaBase> media = localMediaRecord(metadata);
    media->setMediaKind(static_cast<std::uint64_t>(format.kind));
    return media;
}

} // namespace kelvane::tool
