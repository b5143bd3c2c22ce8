// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/DecoderModule.h>
#include <kelvane/platform/detail/HeifFile.h>

#include "HevcPlugin.h"
#include "PixelLimit.h"
#include "RgbaPixels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <utility>

namespace kelvane::decoder {
namespace {

using detail::DecodedPicture;
using detail::HeifFile;

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
using Colours = std::unique_ptr<heif_color_profile_nclx, Release<heif_nclx_color_profile_free>>;

bool isGood(const heif_error &error)
{
    return error.code == heif_error_Ok;
}

std::int64_t sizeOf(const char *path)
{
    struct stat status = {};
    return ::stat(path, &status) == 0 ? status.st_size : 0;
}

bool isCoded(const HeifFile &file)
{
    return file.itemType == "hvc1" || file.itemType == "av01" || file.itemType == "grid";
}

// The number of pixels that the file says it has, as far as memory is concerned; nothing where it lies.
std::optional<std::int64_t> claimedPixels(const HeifFile &file, std::uint64_t bytes)
{
    std::int64_t width = file.storedWidth;
    std::int64_t height = file.storedHeight;
    if (file.grid) {
        width = std::max<std::int64_t>(width, file.grid->width);
        height = std::max<std::int64_t>(height, file.grid->height);
    }
    // What an overlay puts together has a size of its own, which libheif holds to the longer side only.
    if (!isCoded(file))
        width = height = std::max(width, height);
    if (width <= 0 || height <= 0 || width > pixelLimit(bytes) || width * height > pixelLimit(bytes))
        return std::nullopt;
    return width * height;
}

// One picture on its way from the file to the pixels.
class Decoding {
public:
    Decoding(const char *filePath, HeifFile described) : path(filePath), file(std::move(described)) {}

    DecodedPicture *run()
    {
        const auto pixels = claimedPixels(file, static_cast<std::uint64_t>(sizeOf(path)));
        if (!pixels || !open())
            return nullptr;
        // Alpha is decoded beside the picture, and the tiles of a grid may reach over its edges.
        const HevcPlugin plugin(3 * *pixels + (1 << 22));
        Image image = decode(plugin.name());
        if (!image && plugin.isUnsupported())
            image = decode(nullptr);
        return image ? pictureOf(image.get(), *pixels) : nullptr;
    }

private:
    // The file's own rotation is left to whoever shows the picture, if nothing else is to be done to it.
    [[nodiscard]] bool isLeftAsStored() const { return isCoded(file) && file.isOnlyTurned(); }

    bool open()
    {
        context.reset(heif_context_alloc());
        if (!context)
            return false;
        const std::uint32_t longest = std::max(
            {file.storedWidth, file.storedHeight, file.grid ? file.grid->width : 0, file.grid ? file.grid->height : 0});
        constexpr std::uint32_t roomForTiles = 8192;
        heif_context_set_maximum_image_size_limit(context.get(), static_cast<int>(longest + roomForTiles));
        heif_context_set_max_decoding_threads(
            context.get(), static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 16U)));
        heif_image_handle *found = nullptr;
        if (!isGood(heif_context_read_from_file(context.get(), path, nullptr))
            || !isGood(heif_context_get_primary_image_handle(context.get(), &found)))
            return false;
        handle.reset(found);
        return true;
    }

    // Asks for the planes as they are coded: left to itself, libheif converts them, slowly and on one core. Where it is
    // not known how they are coded, that is what it shall do.
    [[nodiscard]] std::pair<heif_colorspace, heif_chroma> format() const
    {
        if (!file.chromaFormat)
            return {heif_colorspace_RGB, heif_chroma_interleaved_RGBA};
        if (*file.chromaFormat == 0)
            return {heif_colorspace_monochrome, heif_chroma_monochrome};
        return {heif_colorspace_YCbCr, static_cast<heif_chroma>(*file.chromaFormat)};
    }

    Image decode(const char *decoder) const
    {
        const auto [colorspace, chroma] = format();
        const Options options(heif_decoding_options_alloc());
        heif_image *decoded = nullptr;
        if (!options)
            return nullptr;
        options->ignore_transformations = isLeftAsStored();
        options->decoder_id = decoder;
        options->convert_hdr_to_8bit = colorspace == heif_colorspace_RGB;
        if (!isGood(heif_decode_image(handle.get(), &decoded, colorspace, chroma, options.get())))
            return nullptr;
        return Image(decoded);
    }

    DecodedPicture *pictureOf(const heif_image *image, std::int64_t claimed)
    {
        const std::int64_t width = heif_image_get_primary_width(image);
        const std::int64_t height = heif_image_get_primary_height(image);
        if (width <= 0 || height <= 0 || width * height > claimed + claimed / 2 + (1 << 16))
            return nullptr;
        const auto size = static_cast<std::size_t>(width * height * 4);
        std::unique_ptr<std::uint8_t, Release<std::free>> pixels(static_cast<std::uint8_t *>(std::malloc(size)));
        auto picture = std::make_unique<DecodedPicture>();
        if (!pixels || !fill(image, pixels.get(), width, height))
            return nullptr;
        picture->width = static_cast<std::int32_t>(width);
        picture->height = static_cast<std::int32_t>(height);
        picture->bytesPerRow = static_cast<std::int32_t>(width * 4);
        picture->rotation = isLeftAsStored() ? file.rotation : 0;
        picture->pixels = pixels.release();
        return picture.release();
    }

    bool fill(const heif_image *image, std::uint8_t *pixels, std::int64_t width, std::int64_t height) const
    {
        const bool isPremultiplied = heif_image_handle_is_premultiplied_alpha(handle.get());
        if (hasKnownPlanes(image)) {
            heif_color_profile_nclx *found = nullptr;
            const bool isKnown = isGood(heif_image_get_nclx_color_profile(image, &found));
            const Colours colours(isKnown ? found : nullptr);
            toRgba(image, colours.get(), isPremultiplied, pixels);
            return true;
        }
        return copyRows(image, isPremultiplied, pixels, width, height);
    }

    static bool copyRows(
        const heif_image *image, bool isPremultiplied, std::uint8_t *pixels, std::int64_t width, std::int64_t height)
    {
        int stride = 0;
        const std::uint8_t *from = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
        if (!from || heif_image_get_bits_per_pixel(image, heif_channel_interleaved) != 32)
            return false;
        for (std::int64_t y = 0; y < height; ++y) {
            std::uint8_t *to = pixels + y * width * 4;
            std::memcpy(to, from + y * stride, static_cast<std::size_t>(width * 4));
            for (std::int64_t x = 0; x < width && !isPremultiplied; ++x, to += 4)
                for (int i = 0; i < 3; ++i)
                    to[i] = static_cast<std::uint8_t>((to[i] * to[3] + 127) / 255);
        }
        return true;
    }

    const char *const path;
    const HeifFile file;
    Context context;
    Handle handle;
};

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
        auto file = kelvane::detail::HeifFile::read(path);
        if (file)
            *picture = kelvane::decoder::Decoding(path, std::move(*file)).run();
    } catch (const std::bad_alloc &) {
        // No memory, no picture.
    } catch (const std::exception &) {
        // libheif's threads may not be had.
    }
    return *picture != nullptr;
}

extern "C" __attribute__((visibility("default"))) void FreeImageData(kelvane::detail::DecodedPicture *picture)
{
    if (picture)
        std::free(picture->pixels);
    delete picture;
}
