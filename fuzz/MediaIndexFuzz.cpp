// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/FileMetadataIndex.h>
#include <kelvane/platform/Thumbnail.h>

#include <cmath>

namespace kelvane {
namespace {

void checkValue(const Value &value)
{
    if (!value.string().isNull())
        require(value.string().isValidUtf8(), "a text of the index is valid");
    else if (value.isNumber())
        require(std::isfinite(value.doubleValue()), "a number of the index is finite");
    else if (!value.array().isNull())
        for (const Value &element : value.array())
            require(element.string().isValidUtf8(), "a list of the index is one of texts");
    else
        require(!value.date().isNull(), "a value of the index is a number, a text, a list or a date");
}

} // namespace
} // namespace kelvane

// What libkelvane-media.so makes of an audio or video file: its properties, and a frame of it.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    const MemoryFile file(input);
    const Dictionary properties = FileMetadataIndex::propertiesOfFile(file.path(), "");
    require(!properties.isNull(), "every file has the properties that the file system knows");
    for (std::size_t i = 0; i < properties.size(); ++i)
        checkValue(properties.valueAt(i));
    const Data jpeg = Thumbnail::jpegOfFile(file.path(), 16);
    require(jpeg.isNull() || jpeg.view().starts_with("\xff\xd8\xff"), "a thumbnail is a JPEG");
}
