// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/Utils.h>
#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/ImageSource.h>

#include <cmath>

namespace kelvane {
namespace {

void checkValue(const Value &value)
{
    if (value.isNumber()) {
        require(std::isfinite(value.doubleValue()), "a number of a picture is finite");
    } else if (!value.string().isNull()) {
        require(value.string().isValidUtf8(), "a text of a picture is valid");
    } else if (!value.array().isNull()) {
        for (const Value &element : value.array())
            require(
                element.isNumber() && std::isfinite(element.doubleValue()), "a list of a picture is one of numbers");
    } else {
        require(!value.data().isNull(), "a value of a picture is a number, a text, a list or data");
    }
}

void checkProperties(const Dictionary &properties)
{
    for (const char *name : {"{TIFF}", "{Exif}", "{GPS}"}) {
        const Dictionary list = properties[name].dictionary();
        require(list.isNull() == !properties.contains(name), "lists of facts are dictionaries");
        for (std::size_t i = 0; i < list.size(); ++i)
            checkValue(list.valueAt(i));
    }
}

// A block of EXIF is a small TIFF file, and says the same as one.
void checkBlock(const ImageSource &source)
{
    const auto block = ImageSource::fromData(source.exifBlock());
    if (!block || block->format() != ImageFormat::Tiff)
        return;
    const Dictionary inside = block->properties();
    const Dictionary outside = source.properties();
    for (const char *name : {"{TIFF}", "{Exif}", "{GPS}"})
        require(inside[name] == outside[name], "a block of EXIF says the same whatever it is in");
}

} // namespace
} // namespace kelvane

// What a picture of any format says of itself, read in memory, from a file, and by the operations for applications.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    const MemoryFile file(input);
    const String path = file.path();
    const auto source = ImageSource::fromData(Data(input.data(), input.size()));
    const auto opened = ImageSource::open(path);
    require(!source == !opened, "a file is the same in memory and on a disk");
    if (!source) {
        require(Utils::getExifInfo(path).isNull(), "what is no picture has no EXIF");
        return;
    }
    const Dictionary properties = source->properties();
    require(properties == opened->properties(), "a file says the same in memory and on a disk");
    require(source->orientation() >= 1 && source->orientation() <= 8, "a picture lies in one of eight ways");
    require(source->pixelSize() == Utils::getImageSizeFromPath(path), "the size is that of the headers");
    checkProperties(properties);
    checkBlock(*source);

    const Dictionary exif = Utils::getExifInfo(path);
    require(exif.isNull() || Value(exif) == properties["{Exif}"], "EXIF is that of the properties");
    const Date date = Utils::photoExifCreateDate(path);
    require(exif.isNull() || date.isNull() || exif.contains("DateTimeOriginal") || exif.contains("DateTimeDigitized"),
        "the date of a photo with EXIF is in its EXIF");
}
