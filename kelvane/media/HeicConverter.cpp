// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/HeicConverter.h>

#include <kelvane/common/Utils.h>
#include <kelvane/media/detail/DecoderLibrary.h>
#include <kelvane/platform/detail/ExifOrientation.h>
#include <kelvane/platform/detail/FileAccess.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/detail/HeifFile.h>
#include <kelvane/platform/detail/JpegEncoder.h>
#include <kelvane/platform/detail/ReplaceFile.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

using detail::DecodedPicture;
using detail::DecodedPlanes;
using detail::DecoderLibrary;

// What a decoder gave: one of the two, or neither.
struct Photo {
    std::unique_ptr<DecodedPicture, detail::FreeImageData> picture;
    std::unique_ptr<DecodedPlanes, detail::FreePlanes> planes;

    [[nodiscard]] explicit operator bool() const noexcept { return picture || planes; }
    [[nodiscard]] std::uint32_t width() const noexcept { return sizeOf(planes ? planes->width : picture->width); }
    [[nodiscard]] std::uint32_t height() const noexcept { return sizeOf(planes ? planes->height : picture->height); }
    [[nodiscard]] std::int32_t rotation() const noexcept { return planes ? planes->rotation : picture->rotation; }

private:
    static std::uint32_t sizeOf(std::int32_t pixels) noexcept
    {
        return static_cast<std::uint32_t>(std::max(pixels, 0));
    }
};

constexpr std::array<std::string_view, 9> brands = {
    "hevc", "hevm", "hevs", "avcs", "heic", "heix", "heim", "heis", "avic"};

// Writes a line about a path to the log; answers false, as its callers do.
bool fail(std::string_view before, const String &path, std::string_view after)
{
    const std::string_view shown = path.isNull() ? std::string_view("(null)") : path.view();
    ZenLogger::defaultLogger().ZenLogError(String::concat({before, shown, after}));
    return false;
}

bool fail(std::string_view line)
{
    ZenLogger::defaultLogger().ZenLogError(String(line));
    return false;
}

Photo decode(const DecoderLibrary::Functions &functions, const String &path)
{
    DecodedPicture *picture = nullptr;
    DecodedPlanes *planes = nullptr;
    const bool isDecoded = functions.decodePhoto
        ? functions.decodePhoto(path.c_str(), &picture, &planes)
        : functions.decode(path.c_str(), detail::decodedBytesPerPixel, &picture);
    return isDecoded ? Photo{{picture, functions.free}, {planes, functions.freePlanes}}
                     : Photo{{nullptr, functions.free}, {nullptr, functions.freePlanes}};
}

// What a JPEG of the same picture says of itself.
struct Properties {
    std::vector<std::byte> exif;
    std::vector<std::byte> xmp;
    std::vector<std::byte> profile;
};

Properties propertiesOf(const String &heicPath, const Photo &photo)
{
    constexpr std::size_t mostExifBytes = 65527; // that a JPEG file has room for
    const auto orientation = static_cast<std::uint16_t>(HeicConverter::exifOrientationWithAngle(photo.rotation()));
    const detail::NewPictureFacts facts{orientation, photo.width(), photo.height()};
    // A decoder that somebody put in our module's place may read files of which we know nothing more.
    auto file = detail::HeifFile::read(heicPath.str()).value_or(detail::HeifFile());
    Properties properties;
    properties.profile = detail::iccProfileOf(file);
    properties.exif = detail::exifWith(facts, std::move(file.exif));
    if (properties.exif.size() > mostExifBytes)
        properties.exif = detail::exifWith(facts, {});
    properties.xmp = detail::xmpWithOrientation(orientation, std::move(file.xmp));
    return properties;
}

void writeJpeg(const Photo &photo, const Properties &properties, const String &path)
{
    detail::JpegPicture jpeg;
    jpeg.width = photo.width();
    jpeg.height = photo.height();
    if (photo.planes)
        for (std::size_t i = 0; i < jpeg.planes.size(); ++i)
            jpeg.planes[i] = {photo.planes->planes[i], static_cast<std::size_t>(photo.planes->bytesPerRow[i])};
    else
        jpeg.pixels = {photo.picture->pixels, static_cast<std::size_t>(std::max(photo.picture->bytesPerRow, 0))};
    jpeg.exif = properties.exif;
    jpeg.xmp = properties.xmp;
    jpeg.iccProfile = properties.profile;
    const std::vector<std::vector<std::byte>> parts = detail::encodeJpeg(jpeg);
    const std::vector<std::span<const std::byte>> views(parts.begin(), parts.end());
    // Intended: what becomes of it is not asked; whether there is a file afterwards is what counts.
    if (!views.empty())
        (void)detail::replaceFile(path.str(), views);
}

} // namespace

bool HeicConverter::isHeic(const String &path) noexcept
{
    const char *systemPath = detail::systemPath(path);
    const detail::FileDescriptor file = systemPath ? detail::openRegularFile(systemPath) : detail::FileDescriptor();
    if (!file)
        return false;
    constexpr std::uint64_t brandOffset = 8;
    std::array<char, 4> brand = {};
    return detail::readAt(file.get(), std::as_writable_bytes(std::span(brand)), brandOffset) == brand.size()
        && std::find(brands.begin(), brands.end(), std::string_view(brand.data(), brand.size())) != brands.end();
}

bool HeicConverter::convertHeicToJPG(const String &heicPath, const String &dstPath)
{
    if (!Utils::fileExsit(heicPath))
        return fail("convertHeicToJPG heicPath:", heicPath, " not exsit.");
    if (!isHeic(heicPath))
        return fail("convertHeicToJPG is not Heic jpg.");
    DecoderLibrary &library = DecoderLibrary::shared();
    // Intended: these two lines name the photo, not the module. Those who read logs search them by the photo.
    switch (library.load()) {
    case DecoderLibrary::State::missing:
        return fail("dylib :", heicPath, " not exsit.");
    case DecoderLibrary::State::notLoadable:
        return fail("dylib :", heicPath, " load failed.");
    case DecoderLibrary::State::loaded:
        break;
    }
    const auto functions = library.functions();
    if (!functions)
        return fail("dylib get Function failed.");
    const Photo photo = decode(*functions, heicPath);
    if (!photo)
        return fail("convertHeicToJPG DecodeImageData ", heicPath, " failed.");
    if (!detail::systemPath(dstPath)) {
        // Intended: the line names a later step, and goes to the system's log. It always did.
        SystemLog::defaultLog().log("convertHeicToJPG CGImageDestinationCreateWithURL failed");
        return false;
    }
    writeJpeg(photo, propertiesOf(heicPath, photo), dstPath);
    return Utils::fileExsit(dstPath);
}

bool HeicConverter::hasDecoder()
{
    DecoderLibrary &library = DecoderLibrary::shared();
    return library.load() == DecoderLibrary::State::loaded && library.functions();
}

void HeicConverter::freeDylib() noexcept
{
    DecoderLibrary::shared().close();
}

std::int32_t HeicConverter::exifOrientationWithAngle(std::int32_t degrees) noexcept
{
    switch (degrees) {
    case 90:
        return 8;
    case 180:
        return 3;
    case 270:
        return 6;
    default:
        return 1;
    }
}

} // namespace kelvane
