// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Thumbnail.h>

#include "detail/FileAttributes.h"
#include "detail/JpegEncoder.h"
#include "detail/LoadedMediaModule.h"

namespace kelvane {

Data Thumbnail::jpegOfFile(const String &path, std::int32_t maxWidth, std::int32_t maxHeight)
{
    constexpr int quality = 85;
    const char *file = detail::systemPath(path);
    const detail::MediaModule *module = file ? detail::mediaModule() : nullptr;
    if (!module)
        return nullptr;
    const detail::OwnedMediaPicture picture(module->preview(file, maxWidth, maxHeight));
    return picture ? detail::encodeJpeg(*picture, quality) : Data();
}

} // namespace kelvane
