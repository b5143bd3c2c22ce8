// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Thumbnail.h>

#include <kelvane/platform/Image.h>

#include "detail/FileAttributes.h"
#include "detail/JpegEncoder.h"
#include "detail/LoadedMediaModule.h"

#include <algorithm>
#include <new>
#include <vector>

namespace kelvane {
namespace {

// The bytes of the parts, one behind the other.
Data joined(const std::vector<std::vector<std::byte>> &parts)
{
    std::size_t size = 0;
    for (const auto &part : parts)
        size += part.size();
    if (size == 0)
        return nullptr;
    return Data::create(size, [&](std::span<std::byte> all) {
        for (const auto &part : parts) {
            std::copy(part.begin(), part.end(), all.begin());
            all = all.subspan(part.size());
        }
    });
}

Data jpegOf(const std::uint8_t *pixels, std::int32_t width, std::int32_t height, std::size_t bytesPerRow,
    std::span<const std::byte> iccProfile)
{
    detail::JpegPicture picture;
    picture.pixels = {pixels, bytesPerRow};
    picture.width = static_cast<std::uint32_t>(width);
    picture.height = static_cast<std::uint32_t>(height);
    picture.quality = 85;
    picture.iccProfile = iccProfile;
    return joined(detail::encodeJpeg(picture));
}

// Films are opaque: nothing is to be multiplied by alpha.
Data jpegOfFilm(const char *path, std::int32_t maximumEdge)
{
    const detail::MediaModule *module = detail::mediaModule();
    const detail::OwnedMediaPicture frame(module ? module->videoFrame(path, maximumEdge, maximumEdge) : nullptr);
    if (!frame)
        return nullptr;
    return jpegOf(frame->pixels, frame->width, frame->height, static_cast<std::size_t>(frame->bytesPerRow), {});
}

} // namespace

Data Thumbnail::jpegOfFile(const String &path, std::int32_t maximumEdge)
{
    const char *file = detail::systemPath(path);
    if (!file || maximumEdge <= 0)
        return nullptr;
    try {
        const Image image = Image::fromFile(path, maximumEdge).upright();
        if (image.isNull())
            return jpegOfFilm(file, maximumEdge);
        return jpegOf(reinterpret_cast<const std::uint8_t *>(image.pixels().bytes().data()), image.width(),
            image.height(), image.bytesPerRow(), image.iccProfile().bytes());
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

} // namespace kelvane
