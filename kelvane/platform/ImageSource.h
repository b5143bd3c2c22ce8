// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Size.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageFormat.h>

#include <memory>

namespace kelvane {

/// What a picture file says of its first picture: read from its headers, without decoding and without any module.
///
/// Files may hold anything: what does not fit is left out, what is read is bounded (EXIF and profile 16 MiB each),
/// whatever the file claims.
///
/// Threads: any thread, any operation.
/// Ownership: the file is closed again when open() returns.
/// Errors: nothing throws but std::bad_alloc.
class KELVANE_EXPORT ImageSource {
public:
    /// Null where there is no regular file that can be read, or it is no picture file of a known format. Never waits for a FIFO
    /// or wakes a device.
    [[nodiscard]] static std::unique_ptr<ImageSource> open(const String &path);
    /// The same of a whole file in memory.
    [[nodiscard]] static std::unique_ptr<ImageSource> fromData(const Data &file);

    ~ImageSource();
    ImageSource(const ImageSource &) = delete;
    ImageSource &operator=(const ImageSource &) = delete;

    [[nodiscard]] ImageFormat format() const noexcept;
    /// The format's type identifier, "public.jpeg".
    [[nodiscard]] String typeIdentifier() const;
    /// Size in pixels as stored, before any turning; each 0 where the file does not say.
    [[nodiscard]] Size pixelSize() const noexcept;
    /// As EXIF counts, 1 to 8; 1 where the file does not say. That of HEIC photos follows from their own rules, to which
    /// EXIF is information only.
    [[nodiscard]] std::int32_t orientation() const noexcept;
    /// The EXIF block from its TIFF header on, null where there is none. Of a TIFF file: its EXIF put together anew,
    /// without the picture.
    [[nodiscard]] const Data &exifBlock() const noexcept;
    /// The embedded ICC profile, null where there is none.
    [[nodiscard]] const Data &iccProfile() const noexcept;

    /// All of it, each where the file has it: numbers "PixelWidth", "PixelHeight" and "Orientation", the text
    /// "ProfileName", and dictionaries "{TIFF}", "{Exif}" and "{GPS}" of EXIF values by their names ("DateTimeOriginal",
    /// "ExposureTime", "Latitude"): texts, numbers (fractions as decimals, angles as degrees), arrays of numbers where a
    /// value has several, and data. Notes of camera makers are left out.
    [[nodiscard]] Dictionary properties() const;

private:
    struct Private;
    explicit ImageSource(std::unique_ptr<Private> facts);

    const std::unique_ptr<Private> d;
};

} // namespace kelvane
