// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ImageDestination.h>

#include <kelvane/platform/detail/ExifOrientation.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/detail/image/ImageDecoder.h>
#include <kelvane/platform/detail/JpegEncoder.h>
#include <kelvane/platform/detail/ReplaceFile.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

using Parts = std::vector<std::vector<std::byte>>;

std::vector<std::byte> exifBlockFor(const Image &image, const ImageDestinationOptions &options)
{
    std::vector<std::byte> block(options.exifBlock.bytes().begin(), options.exifBlock.bytes().end());
    if (options.orientation < 1 || options.orientation > 8)
        return block;
    const detail::NewPictureFacts facts{static_cast<std::uint16_t>(options.orientation),
        static_cast<std::uint32_t>(image.width()), static_cast<std::uint32_t>(image.height())};
    return detail::exifWith(facts, std::move(block));
}

Parts jpegOf(const Image &image, std::span<const std::byte> exif, std::span<const std::byte> profile, double quality)
{
    detail::JpegPicture picture;
    picture.pixels = {reinterpret_cast<const std::uint8_t *>(image.pixels().bytes().data()), image.bytesPerRow()};
    picture.width = static_cast<std::uint32_t>(image.width());
    picture.height = static_cast<std::uint32_t>(image.height());
    picture.quality = static_cast<int>(std::lround(std::clamp(quality, 0.01, 1.0) * 100));
    picture.exif = exif;
    picture.iccProfile = profile;
    return detail::encodeJpeg(picture);
}

Parts pngOf(const Image &image, std::span<const std::byte> exif, std::span<const std::byte> profile)
{
    Parts parts;
    if (auto file = detail::encodePng(image, exif, profile); !file.empty())
        parts.push_back(std::move(file));
    return parts;
}

} // namespace

std::unique_ptr<ImageDestination> ImageDestination::create(const String &path, ImageFormat format)
{
    const char *text = detail::systemPath(path);
    if (!text || (format != ImageFormat::Jpeg && format != ImageFormat::Png))
        return nullptr;
    const std::string name(text);
    const auto slash = name.rfind('/');
    // With the dot it has to be a folder.
    const std::string folder = slash == std::string::npos ? "." : name.substr(0, slash + 1) + '.';
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return nullptr;
    return std::unique_ptr<ImageDestination>(new ImageDestination(path, format));
}

bool ImageDestination::write(const Image &image, const ImageDestinationOptions &options)
{
    if (image.isNull())
        return false;
    const std::vector<std::byte> exif = exifBlockFor(image, options);
    const Data &profile = options.iccProfile.isNull() ? image.iccProfile() : options.iccProfile;
    const Parts parts = _format == ImageFormat::Jpeg ? jpegOf(image, exif, profile.bytes(), options.quality)
                                                     : pngOf(image, exif, profile.bytes());
    const std::vector<std::span<const std::byte>> views(parts.begin(), parts.end());
    return !views.empty() && detail::replaceFile(_path.str(), views);
}

} // namespace kelvane
