// SPDX-License-Identifier: Apache-2.0
#include "Artwork.h"

#include "MediaFormat.h"

#include <kelvane/platform/Thumbnail.h>

namespace kelvane::tool {

std::vector<Data> artworkOf(const AudioMetadata *tags, const std::string &path)
{
    std::vector<Data> pictures;
    if (tags)
        for (const AttachedPicture &picture : tags->GetAttachedPictures())
            if (!picture.GetData().isEmpty())
                pictures.push_back(picture.GetData());
    if (!pictures.empty())
        return pictures;
    if (const Data thumbnail = Thumbnail::jpegOfFile(path); !thumbnail.isEmpty())
        pictures.push_back(thumbnail);
    return pictures;
}

std::string pictureExtension(const Data &picture)
{
    const MediaFormat *format = formatOfContent(picture.view().substr(0, formatHeadSize), nullptr);
    const bool isImage = format && format->kind == MediaKind::Image;
    return '.' + std::string(isImage ? format->extensions.front() : "jpg");
}

} // namespace kelvane::tool
