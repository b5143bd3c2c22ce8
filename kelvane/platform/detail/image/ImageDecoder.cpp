// SPDX-License-Identifier: Apache-2.0
#include "ImageDecoder.h"

#include "ImageHeader.h"

#include <kelvane/platform/detail/DecoderModule.h>
#include <kelvane/platform/detail/FileAccess.h>
#include <kelvane/platform/detail/HeifFile.h>
#include <kelvane/platform/detail/LoadedMediaModule.h>
#include <kelvane/platform/detail/Module.h>
#include <kelvane/platform/ImageSource.h>
#include <kelvane/platform/ZenLogger.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

namespace kelvane::detail {
namespace {

// The modules hand over a copy of their own, which is copied once more.
constexpr std::int64_t mostModulePixels = 40'000'000;

void logMissing(std::string_view module, const String &path)
{
    ZenLogger::defaultLogger().ZenLogError(
        String::concat({"Cannot decode ", path.isNull() ? "an image in memory" : path.view(), ": the module ", module,
            " is missing or cannot be loaded."}));
}

// Rows that may have gaps between them, as one block.
Data packed(const std::uint8_t *pixels, std::size_t width, std::size_t height, std::size_t bytesPerRow)
{
    return Data::create(width * height * 4, [&](std::span<std::byte> room) {
        for (std::size_t y = 0; y < height; ++y)
            std::memcpy(room.data() + y * width * 4, pixels + y * bytesPerRow, width * 4);
    });
}

Pixels decodeInMediaModule(std::span<const std::byte> file, const String &path)
{
    const MediaModule *module = mediaModule();
    if (!module) {
        logMissing(mediaModuleFile, path);
        return {};
    }
    const OwnedMediaPicture picture(
        module->decodeImage(reinterpret_cast<const std::uint8_t *>(file.data()), file.size(), mostModulePixels));
    if (!picture || picture->width <= 0 || picture->height <= 0)
        return {};
    const auto width = static_cast<std::size_t>(picture->width);
    const auto height = static_cast<std::size_t>(picture->height);
    if (picture->hasAlpha)
        for (std::size_t y = 0; y < height; ++y)
            multiplyByAlpha(picture->pixels + y * static_cast<std::size_t>(picture->bytesPerRow), width);
    return {packed(picture->pixels, width, height, static_cast<std::size_t>(picture->bytesPerRow)), picture->width,
        picture->height};
}

// A copy of bytes in a file, for those who read files only.
class TemporaryCopy {
public:
    explicit TemporaryCopy(std::span<const std::byte> bytes)
    {
        std::error_code error;
        _path = (std::filesystem::temp_directory_path(error) / "kelvane-image-XXXXXX").string();
        const int descriptor = ::mkstemp(_path.data());
        _isMade = descriptor >= 0;
        if (!_isMade)
            return;
        (void)writeAll(descriptor, bytes); // what is missing makes the decoder fail
        ::close(descriptor);
    }
    ~TemporaryCopy()
    {
        if (_isMade)
            ::unlink(_path.c_str());
    }
    TemporaryCopy(const TemporaryCopy &) = delete;
    TemporaryCopy &operator=(const TemporaryCopy &) = delete;

    [[nodiscard]] const std::string &path() const noexcept { return _path; }

private:
    std::string _path;
    bool _isMade = false;
};

struct HeifDecoder {
    DecodeImageData decode;
    FreeImageData free;
};

const HeifDecoder *heifDecoder()
{
    static const HeifDecoder decoder = [] {
        const Module module(decoderModuleName);
        return HeifDecoder{
            module.function<DecodeImageData>(decodeImageDataName), module.function<FreeImageData>(freeImageDataName)};
    }();
    return decoder.decode && decoder.free ? &decoder : nullptr;
}

// The EXIF orientation of pixels that lie at an angle.
std::int32_t orientationAt(std::int32_t degrees) noexcept
{
    return degrees == 90 ? 8 : degrees == 180 ? 3 : degrees == 270 ? 6 : 1;
}

Image decodeHeif(const Data &file, const String &path)
{
    const HeifDecoder *decoder = heifDecoder();
    if (!decoder) {
        logMissing(decoderModuleName, path);
        return {};
    }
    const auto facts = HeifFile::parse(file.bytes());
    if (!facts || std::uint64_t{facts->storedWidth} * facts->storedHeight > std::uint64_t{Image::mostPixels})
        return {};
    DecodedPicture *decoded = nullptr;
    if (path.isNull())
        decoder->decode(TemporaryCopy(file.bytes()).path().c_str(), decodedBytesPerPixel, &decoded);
    else
        decoder->decode(path.c_str(), decodedBytesPerPixel, &decoded);
    std::unique_ptr<DecodedPicture, FreeImageData> picture(decoded, decoder->free);
    if (!picture || !picture->pixels || picture->width <= 0 || picture->height <= 0
        || picture->bytesPerRow / decodedBytesPerPixel < picture->width)
        return {};
    const auto profile = iccProfileOf(*facts);
    const Image image(packed(picture->pixels, static_cast<std::size_t>(picture->width),
                          static_cast<std::size_t>(picture->height), static_cast<std::size_t>(picture->bytesPerRow)),
        picture->width, picture->height, profile.empty() ? Data() : Data(std::span(profile)),
        orientationAt(picture->rotation));
    picture.reset(); // to turn a picture takes another one of its size
    return image.upright();
}

Pixels decodePixels(const Data &file, const String &path, ImageFormat format, std::int32_t maximumEdge)
{
    switch (format) {
    case ImageFormat::Jpeg:
        return decodeJpeg(file.bytes(), maximumEdge);
    case ImageFormat::Png:
        return decodePng(file.bytes());
    case ImageFormat::Gif:
    case ImageFormat::Bmp:
    case ImageFormat::Tiff:
    case ImageFormat::WebP:
        return decodeInMediaModule(file.bytes(), path);
    default:
        return {};
    }
}

} // namespace

Image decodeImage(const Data &file, const String &path, std::int32_t maximumEdge)
{
    const auto source = ImageSource::fromData(file);
    if (!source)
        return {};
    Image image;
    if (source->format() == ImageFormat::Heic) {
        image = decodeHeif(file, path);
    } else {
        Pixels pixels = decodePixels(file, path, source->format(), maximumEdge);
        image = Image(std::move(pixels.data), pixels.width, pixels.height, source->iccProfile(), source->orientation());
    }
    return maximumEdge > 0 ? image.scaledToFit(maximumEdge) : image;
}

} // namespace kelvane::detail
