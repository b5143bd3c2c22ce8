// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ImageSource.h>

#include <kelvane/foundation/Value.h>
#include <kelvane/platform/detail/HeifFile.h>
#include <kelvane/platform/detail/image/ExifDictionary.h>
#include <kelvane/platform/detail/image/ImageHeader.h>
#include <kelvane/platform/detail/image/ProfileName.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

Data dataOf(const std::vector<std::byte> &bytes)
{
    return bytes.empty() ? Data() : Data(std::span(bytes));
}

bool isHeif(const detail::ImageBytes &bytes)
{
    std::byte start[8] = {};
    return bytes.read(0, start) && detail::startsWith(std::span(start).subspan(4), "ftyp");
}

const char *heifTypeIdentifier(const detail::HeifFile &file)
{
    const auto hasBrand = [&](std::string_view brand) {
        return file.majorBrand == brand
            || std::find(file.compatibleBrands.begin(), file.compatibleBrands.end(), brand)
            != file.compatibleBrands.end();
    };
    return hasBrand("avif") ? "public.avif" : hasBrand("heic") || hasBrand("heix") ? "public.heic" : "public.heif";
}

// A film has the same kind of container, but no primary picture.
std::optional<detail::ImageHeader> headerOf(std::optional<detail::HeifFile> file)
{
    if (!file || file->itemType.empty())
        return std::nullopt;
    detail::ImageHeader header{ImageFormat::Heic, heifTypeIdentifier(*file)};
    header.width = file->storedWidth;
    header.height = file->storedHeight;
    header.orientation = file->orientation;
    header.iccProfile = detail::iccProfileOf(*file);
    header.exif = std::move(file->exif);
    return header;
}

} // namespace

struct ImageSource::Private {
    explicit Private(const detail::ImageHeader &header)
        : format(header.format),
          typeIdentifier(header.typeIdentifier),
          width(header.width),
          height(header.height),
          exifBlock(dataOf(header.exif)),
          iccProfile(dataOf(header.iccProfile)),
          exif(detail::readExif(header.exif)),
          orientation(header.orientation != 0 ? header.orientation : detail::exifOrientation(exif.tiff)),
          isOriented(header.format == ImageFormat::Heic || exif.tiff.contains("Orientation"))
    {
    }

    const ImageFormat format;
    const String typeIdentifier;
    const std::uint32_t width;
    const std::uint32_t height;
    const Data exifBlock;
    const Data iccProfile;
    const detail::ExifDictionaries exif;
    const int orientation;
    const bool isOriented;
};

std::unique_ptr<ImageSource> ImageSource::open(const String &path)
{
    const auto bytes = detail::ImageBytes::open(path);
    if (!bytes)
        return nullptr;
    const auto header = isHeif(*bytes) ? headerOf(detail::HeifFile::read(path.str())) : detail::readImageHeader(*bytes);
    return std::unique_ptr<ImageSource>(header ? new ImageSource(std::make_unique<Private>(*header)) : nullptr);
}

std::unique_ptr<ImageSource> ImageSource::fromData(const Data &file)
{
    const detail::ImageBytes bytes(file.bytes());
    const auto header =
        isHeif(bytes) ? headerOf(detail::HeifFile::parse(file.bytes())) : detail::readImageHeader(bytes);
    return std::unique_ptr<ImageSource>(header ? new ImageSource(std::make_unique<Private>(*header)) : nullptr);
}

ImageSource::ImageSource(std::unique_ptr<Private> facts) : d(std::move(facts)) {}

ImageSource::~ImageSource() = default;

ImageFormat ImageSource::format() const noexcept
{
    return d->format;
}

String ImageSource::typeIdentifier() const
{
    return d->typeIdentifier;
}

Size ImageSource::pixelSize() const noexcept
{
    return {static_cast<double>(d->width), static_cast<double>(d->height)};
}

std::int32_t ImageSource::orientation() const noexcept
{
    return d->orientation;
}

const Data &ImageSource::exifBlock() const noexcept
{
    return d->exifBlock;
}

const Data &ImageSource::iccProfile() const noexcept
{
    return d->iccProfile;
}

Dictionary ImageSource::properties() const
{
    Dictionary result = Dictionary::empty();
    if (d->width != 0)
        result.set("PixelWidth", std::int64_t{d->width});
    if (d->height != 0)
        result.set("PixelHeight", std::int64_t{d->height});
    if (d->isOriented)
        result.set("Orientation", d->orientation);
    if (const String name = detail::profileName(d->iccProfile.bytes()); !name.isNull())
        result.set("ProfileName", name);
    if (!d->exif.tiff.isNull())
        result.set("{TIFF}", d->exif.tiff);
    if (!d->exif.exif.isNull())
        result.set("{Exif}", d->exif.exif);
    if (!d->exif.gps.isNull())
        result.set("{GPS}", d->exif.gps);
    return result;
}

} // namespace kelvane
