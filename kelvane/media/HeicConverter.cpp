// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/HeicConverter.h>

#include <kelvane/common/Utils.h>
#include <kelvane/media/detail/DecoderLibrary.h>
#include <kelvane/platform/detail/ExifOrientation.h>
#include <kelvane/platform/detail/FileAttributes.h>
#include <kelvane/platform/detail/FileReplacement.h>
#include <kelvane/platform/detail/HeifFile.h>
#include <kelvane/platform/detail/JpegEncoder.h>
#include <kelvane/platform/detail/ReplaceFile.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

using detail::DecodedPicture;
using detail::DecoderLibrary;
using Picture = std::unique_ptr<DecodedPicture, detail::FreeImageData>;

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

// What a JPEG of the same picture says of itself.
struct Properties {
    std::vector<std::byte> exif;
    std::vector<std::byte> xmp;
    std::vector<std::byte> profile;
};

Properties propertiesOf(const String &heicPath, const DecodedPicture &picture)
{
    constexpr std::size_t mostExifBytes = 65527; // that a JPEG file has room for
    const auto orientation = static_cast<std::uint16_t>(HeicConverter::exifOrientationWithAngle(picture.rotation));
    const detail::NewPictureFacts facts{
        orientation, static_cast<std::uint32_t>(picture.width), static_cast<std::uint32_t>(picture.height)};
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

void writeJpeg(const DecodedPicture &picture, const Properties &properties, const String &path)
{
    detail::JpegPicture jpeg;
    jpeg.pixels = picture.pixels;
    jpeg.width = static_cast<std::uint32_t>(std::max(picture.width, 0));
    jpeg.height = static_cast<std::uint32_t>(std::max(picture.height, 0));
    jpeg.bytesPerRow = static_cast<std::size_t>(std::max(picture.bytesPerRow, 0));
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
    constexpr off_t brandOffset = 8;
    std::array<char, 4> brand = {};
    ssize_t got = 0;
    do {
        got = ::pread(file.get(), brand.data(), brand.size(), brandOffset);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(brand.size())
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
    DecodedPicture *decoded = nullptr;
    if (!functions->decode(heicPath.c_str(), detail::decodedBytesPerPixel, &decoded) || !decoded)
        return fail("convertHeicToJPG DecodeImageData ", heicPath, " failed.");
    const Picture picture(decoded, functions->free);
    if (!detail::systemPath(dstPath)) {
        // Intended: the line names a later step, and goes to the system's log. It always did.
        SystemLog::defaultLog().log("convertHeicToJPG CGImageDestinationCreateWithURL failed");
        return false;
    }
    writeJpeg(*picture, propertiesOf(heicPath, *picture), dstPath);
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
