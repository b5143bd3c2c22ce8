// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/media/HeicConverter.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageSource.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

// Sanitizers make decoding slow; that large photos take bounded time is tested elsewhere.
constexpr double mostPixels = 65536;

bool hasBrandOfHeic(std::string_view file)
{
    constexpr std::array brands{"hevc", "hevm", "hevs", "avcs", "heic", "heix", "heim", "heis", "avic"};
    return file.size() >= 12 && std::find(brands.begin(), brands.end(), file.substr(8, 4)) != brands.end();
}

bool isSmall(std::string_view file)
{
    const auto source = ImageSource::fromData(Data(file.data(), file.size()));
    const Size size = source ? source->pixelSize() : Size();
    return size.width * size.height <= mostPixels;
}

} // namespace
} // namespace kelvane

// A photo in the decoder module, and the JPEG that is made of it.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    require(HeicConverter::hasDecoder(), "the decoder lies beside the program");
    const MemoryFile file(input);
    require(HeicConverter::isHeic(file.path()) == hasBrandOfHeic(input), "the brand tells HEIC");
    if (!isSmall(input))
        return;
    const fs::path folder = fs::path(scratchFolder()) / "photos";
    fs::remove_all(folder);
    fs::create_directory(folder);
    const fs::path jpeg = folder / "photo.jpg";
    const bool isConverted = HeicConverter::convertHeicToJPG(file.path(), jpeg.native());
    const auto count = std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    require(count == (isConverted ? 1 : 0), "a conversion leaves its photo, or nothing");
    if (!isConverted)
        return;
    const auto made = ImageSource::open(jpeg.native());
    require(made && made->format() == ImageFormat::Jpeg, "a photo becomes a JPEG");
    require(!Image::fromFile(jpeg.native()).isNull(), "the JPEG can be shown");
}
