// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/DecoderModule.h>
#include <kelvane/platform/detail/HeifContainer.h>
#include <kelvane/platform/detail/HeifFile.h>

#include "HevcPicture.h"
#include "PixelLimit.h"
#include "StockPicture.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <vector>

namespace kelvane::decoder {
namespace {

using detail::DecodedPicture;
using detail::DecodedPlanes;
using detail::HeifContainer;
using detail::HeifFile;

bool isDerived(const HeifFile &file)
{
    return file.itemType == "iden" || file.itemType == "iovl";
}

// The bytes that the picture is coded in. A tile that stands in several places counts once.
std::uint64_t codedBytes(const HeifContainer &container, const HeifFile &file)
{
    const detail::HeifItems &items = container.items();
    if (isDerived(file))
        return container.fileSize();
    if (!file.grid)
        return items.contentSizeOf(items.primary());
    std::vector<std::uint32_t> tiles = items.referencesOf(items.primary(), detail::fourCharacters("dimg"));
    std::sort(tiles.begin(), tiles.end());
    tiles.erase(std::unique(tiles.begin(), tiles.end()), tiles.end());
    std::uint64_t bytes = 0;
    for (const std::uint32_t tile : tiles)
        bytes += items.contentSizeOf(tile);
    return std::min(bytes, container.fileSize());
}

// Whether the file holds enough for what it says it has in it.
bool isBelievable(const HeifContainer &container, const HeifFile &file)
{
    const std::int64_t limit = pixelLimit(codedBytes(container, file));
    std::int64_t width = file.grid ? file.grid->width : file.storedWidth;
    std::int64_t height = file.grid ? file.grid->height : file.storedHeight;
    // What others are put together to has a size of its own, of which libheif looks at the longer side only.
    if (isDerived(file))
        width = height = std::max(width, height);
    return width > 0 && height > 0 && width <= limit && height <= limit && width * height <= limit;
}

DecodedPicture *pictureOf(Canvas canvas, int rotation)
{
    if (!canvas.pixels)
        return nullptr;
    auto picture = std::make_unique<DecodedPicture>();
    picture->width = canvas.width;
    picture->height = canvas.height;
    picture->bytesPerRow = static_cast<std::int32_t>(canvas.rowBytes());
    picture->rotation = rotation;
    picture->pixels = canvas.pixels.release();
    return picture.release();
}

DecodedPlanes *planesOf(JpegPlanes planes, int rotation)
{
    auto result = std::make_unique<DecodedPlanes>();
    result->width = planes.width;
    result->height = planes.height;
    result->rotation = rotation;
    for (std::size_t i = 0; i < planes.planes.size(); ++i) {
        result->bytesPerRow[i] = static_cast<std::int32_t>(planes.bytesPerRow[i]);
        result->planes[i] = planes.planes[i];
    }
    (void)planes.memory.release(); // the first plane is where it begins
    return result.release();
}

// Points `*planes` to them where the photo has them and they are asked for; else the picture is the answer.
DecodedPicture *decode(const char *path, DecodedPlanes **planes)
{
    const auto container = detail::HeifContainer::open(std::string(path));
    const auto file = container ? HeifFile::describe(*container) : std::nullopt;
    if (!file || !isBelievable(*container, *file))
        return nullptr;
    // A rotation is left to whoever shows the picture, if it is all that is to be done.
    const bool isLeftAsStored = file->isOnlyTurned() && !isDerived(*file);
    const int rotation = isLeftAsStored ? file->rotation : 0;
    HevcPicture hevc(*container, *file);
    if (Photo photo = hevc.decode(planes && isLeftAsStored)) {
        if (photo.planes.memory) {
            *planes = planesOf(std::move(photo.planes), rotation);
            return nullptr;
        }
        return pictureOf(
            isLeftAsStored ? std::move(photo.pixels) : transformed(std::move(photo.pixels), file->transforms),
            rotation);
    }
    // Twice the picture for what it is derived from, and once for its alpha.
    const std::int64_t mostPixels = 3 * pixelLimit(container->fileSize());
    if (!hevc.isUnsupported() || !isBounded(container->items(), container->items().primary(), mostPixels)
        || (file->hasAlpha && !isBounded(container->items(), file->alphaItem, mostPixels)))
        return nullptr;
    const std::uint32_t longest = std::max(file->storedWidth, file->storedHeight);
    return pictureOf(decodeByStock(path, longest, isLeftAsStored), rotation);
}

} // namespace
} // namespace kelvane::decoder

extern "C" __attribute__((visibility("default"))) bool DecodeImageData(
    const char *path, std::int32_t bytesPerPixel, kelvane::detail::DecodedPicture **picture)
{
    if (!picture)
        return false;
    *picture = nullptr;
    if (!path || bytesPerPixel != kelvane::detail::decodedBytesPerPixel)
        return false;
    try {
        *picture = kelvane::decoder::decode(path, nullptr);
    } catch (const std::exception &) {
        // Memory or threads have ended: no picture.
    }
    return *picture != nullptr;
}

extern "C" __attribute__((visibility("default"))) bool DecodePhoto(
    const char *path, kelvane::detail::DecodedPicture **picture, kelvane::detail::DecodedPlanes **planes)
{
    if (!picture || !planes)
        return false;
    *picture = nullptr;
    *planes = nullptr;
    if (!path)
        return false;
    try {
        *picture = kelvane::decoder::decode(path, planes);
    } catch (const std::exception &) {
        // As above.
    }
    return *picture || *planes;
}

extern "C" __attribute__((visibility("default"))) void FreeImageData(kelvane::detail::DecodedPicture *picture)
{
    if (picture)
        std::free(picture->pixels);
    delete picture;
}

extern "C" __attribute__((visibility("default"))) void FreePlanes(kelvane::detail::DecodedPlanes *planes)
{
    if (planes)
        std::free(planes->planes[0]);
    delete planes;
}
