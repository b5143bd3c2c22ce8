// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageFormat.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace kelvane {

/// What goes into a picture file beside the pixels.
struct ImageDestinationOptions {
    double quality = 0.8; ///< of JPEG, 0 to 1: below 1 something is lost
    std::int32_t orientation = 0; ///< as EXIF counts, written into the EXIF block; 0 leaves that as it is
    Data exifBlock; ///< from its TIFF header on; null for none
    Data iccProfile; ///< null for the image's own
};

/// Writes a picture to a JPEG or PNG file. The file is written beside its place and renamed: whoever opens the path
/// finds what was there before, or the whole new picture.
///
/// Threads: one at a time.
/// Errors: nothing throws but std::bad_alloc; what cannot be written leaves nothing behind.
class KELVANE_EXPORT ImageDestination {
public:
    /// Null where no file can be made in the folder of `path`, or the format is neither JPEG nor PNG.
    [[nodiscard]] static std::unique_ptr<ImageDestination> create(const String &path, ImageFormat format);

    /// Whether the file was written. A JPEG file shows what is transparent on white.
    bool write(const Image &image, const ImageDestinationOptions &options = {});

private:
    ImageDestination(String path, ImageFormat format) : _path(std::move(path)), _format(format) {}

    const String _path;
    const ImageFormat _format;
};

} // namespace kelvane
