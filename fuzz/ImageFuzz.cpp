// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageDestination.h>
#include <kelvane/platform/ImageSource.h>

#include <algorithm>

namespace kelvane {
namespace {

// Sanitizers make decoding slow; that large pictures take bounded time is tested elsewhere.
constexpr double mostPixels = 65536;

void checkPixels(const Image &image)
{
    const auto bytes = image.pixels().bytes();
    require(bytes.size() == image.bytesPerRow() * static_cast<std::size_t>(image.height()), "a picture has no gaps");
    for (std::size_t i = 0; i < bytes.size(); i += 4)
        require(std::max({bytes[i], bytes[i + 1], bytes[i + 2]}) <= bytes[i + 3], "colours are multiplied by alpha");
}

void checkWriting(const Image &image)
{
    const String path = scratchFolder() + "/picture.png";
    const auto destination = ImageDestination::create(path, ImageFormat::Png);
    require(destination && destination->write(image), "what was read can be written");
    const Image again = Image::fromFile(path);
    require(again.pixels() == image.pixels() && again.width() == image.width(), "PNG loses nothing");
}

} // namespace
} // namespace kelvane

// Pictures of all formats, decoded here and in the modules, and written again.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    const Data data(input.data(), input.size());
    const auto source = ImageSource::fromData(data);
    const Size size = source ? source->pixelSize() : Size();
    if (size.width * size.height > mostPixels)
        return;
    const Image image = Image::fromData(data);
    require(source || image.isNull(), "what is no picture is not decoded");
    if (image.isNull() || image.width() * double{1} * image.height() > mostPixels)
        return;
    checkPixels(image);
    if (source->format() == ImageFormat::Jpeg || source->format() == ImageFormat::Png)
        require(size == Size() || size == Size{double{1} * image.width(), double{1} * image.height()},
            "a picture is as large as it says");

    const Image upright = image.upright();
    require(upright.orientation() == 1 && upright.pixels().size() == image.pixels().size(), "turning loses nothing");
    const Image small = image.scaledToFit(7);
    require(std::max(small.width(), small.height()) <= 7 && std::min(small.width(), small.height()) >= 1,
        "a picture that is scaled down fits");
    const MemoryFile file(input);
    const Image opened = Image::fromFile(file.path(), 7);
    require(!opened.isNull() && std::max(opened.width(), opened.height()) <= 7, "a file is decoded as memory is");
    checkWriting(image);
}
