// SPDX-License-Identifier: Apache-2.0
#include "StockPicture.h"

#include "HevcStream.h"
#include "Parallel.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

namespace kelvane::decoder {
namespace {

template <auto release>
struct Release {
    template <class T>
    void operator()(T *object) const
    {
        release(object);
    }
};
using Context = std::unique_ptr<heif_context, Release<heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Release<heif_image_handle_release>>;
using Image = std::unique_ptr<heif_image, Release<heif_image_release>>;
using Options = std::unique_ptr<heif_decoding_options, Release<heif_decoding_options_free>>;

bool isGood(const heif_error &error)
{
    return error.code == heif_error_Ok;
}

Handle primaryOf(heif_context *context, const std::string &path)
{
    heif_image_handle *handle = nullptr;
    if (!isGood(heif_context_read_from_file(context, path.c_str(), nullptr))
        || !isGood(heif_context_get_primary_image_handle(context, &handle)))
        return nullptr;
    return Handle(handle);
}

Image decode(const heif_image_handle *handle, bool isLeftAsStored)
{
    const Options options(heif_decoding_options_alloc());
    heif_image *image = nullptr;
    if (!options)
        return nullptr;
    options->ignore_transformations = isLeftAsStored;
    options->convert_hdr_to_8bit = true;
    if (!isGood(heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, options.get())))
        return nullptr;
    return Image(image);
}

Canvas copyOf(const heif_image *image, bool isPremultiplied)
{
    int stride = 0;
    const std::uint8_t *from = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    Canvas canvas(heif_image_get_primary_width(image), heif_image_get_primary_height(image), 4);
    if (!from || !canvas.pixels || canvas.rowBytes() > static_cast<std::size_t>(stride))
        return {};
    for (int y = 0; y < canvas.height; ++y) {
        std::uint8_t *pixel = canvas.row(y);
        std::memcpy(pixel, from + std::ptrdiff_t{y} * stride, canvas.rowBytes());
        for (int x = 0; x < canvas.width && !isPremultiplied; ++x, pixel += 4)
            for (int i = 0; i < 3; ++i)
                pixel[i] = static_cast<std::uint8_t>((pixel[i] * pixel[3] + 127) / 255);
    }
    return canvas;
}

// Takes the pixels of the item, and of those that it is derived from, off what may still be decoded.
bool spend(const detail::HeifItems &items, std::uint32_t item, int deepest, std::int64_t &pixels)
{
    constexpr std::int64_t fewest = 4096; // counted for each, so that many of no size end as well
    const ItemSize size = sizeOf(items, item);
    pixels -= std::max(
        fewest, static_cast<std::int64_t>(std::min<std::uint64_t>(std::uint64_t{size.width} * size.height, INT32_MAX)));
    const std::uint32_t type = items.typeOf(item);
    const bool isDerived = type == detail::fourCharacters("grid") || type == detail::fourCharacters("iden")
        || type == detail::fourCharacters("iovl");
    if (!isDerived || pixels < 0)
        return pixels >= 0;
    if (deepest == 0)
        return false;
    for (const std::uint32_t source : items.referencesOf(item, detail::fourCharacters("dimg")))
        if (!spend(items, source, deepest - 1, pixels))
            return false;
    return true;
}

} // namespace

bool isBounded(const detail::HeifItems &items, std::uint32_t item, std::int64_t mostPixels)
{
    constexpr int deepest = 4;
    return spend(items, item, deepest, mostPixels);
}

Canvas decodeByStock(const std::string &path, std::uint32_t longestSide, bool isLeftAsStored)
{
    const Context context(heif_context_alloc());
    if (!context)
        return {};
    heif_context_set_maximum_image_size_limit(context.get(), static_cast<int>(longestSide));
    heif_context_set_max_decoding_threads(context.get(), coreCount());
    const Handle handle = primaryOf(context.get(), path);
    if (!handle)
        return {};
    const Image image = decode(handle.get(), isLeftAsStored);
    return image ? copyOf(image.get(), heif_image_handle_is_premultiplied_alpha(handle.get())) : Canvas();
}

} // namespace kelvane::decoder
