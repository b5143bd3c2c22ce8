// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

/// Turns HEIC photos into JPEG files. The decoder is a module, "libheif.dylib", that lies beside the application's
/// executable (in CMake: kelvane_add_decoder_module()) and is loaded when it is first needed.
///
/// The JPEG shows the same picture: EXIF (date, place, camera) and XMP come along, the orientation is the one that the
/// HEIC file asks for, and its colours keep their ICC profile, or get one where the file only names them.
///
/// Threads: any thread, several conversions at once; a conversion uses all cores. Not beside or after freeDylib().
/// Ownership: the module belongs to the process.
/// Errors: nothing throws but std::bad_alloc; a conversion that fails answers false and writes one line to the log.
/// Damaged and lying files fail in bounded time and memory: 50 megapixels are always believed, more of a file that is as
/// large as that takes.
class KELVANE_EXPORT HeicConverter {
public:
    HeicConverter() = delete;

    /// Whether bytes 8 to 11 of the file are one of the brands "hevc", "hevm", "hevs", "avcs", "heic", "heix", "heim",
    /// "heis" and "avic". False where it cannot be read. @selector isHeic:
    /// Intended: the bytes before are not looked at, and other brands, "mif1" among them, are none, whatever the list of
    /// compatible brands says. Applications choose by this what they convert and what they copy as it is.
    [[nodiscard]] static bool isHeic(const String &path) noexcept;

    /// Writes the photo at `heicPath` as a JPEG file at `dstPath`, with 4:2:0 colour and quality 80. Pixels stay as they
    /// are stored, and a rotation becomes an EXIF orientation; where the photo is mirrored or cropped, too, all of it is
    /// done to the pixels. Transparent places become white.
    /// @selector convertHeicToJPG:dstPath:
    ///
    /// The file is written beside its place and renamed: nobody sees half of it, and one that was there is kept until
    /// the new one is whole.
    /// Intended: true means that there is a file at `dstPath` afterwards, which may be an older one where the new one
    /// could not be written. Callers remove what was there first if they need to know.
    static bool convertHeicToJPG(const String &heicPath, const String &dstPath);

    /// Whether the decoder module is there; it is loaded for that. Without it every conversion fails, for which an
    /// application may give its user the reason.
    [[nodiscard]] static bool hasDecoder();

    /// Closes the decoder module if it was loaded. For the end of the process: once, and after the last conversion.
    /// Intended: the handle is kept as it is, and a conversion afterwards would use a closed module.
    static void freeDylib() noexcept;

    /// The EXIF orientation for pixels that lie at a clockwise angle: 1 for 0 degrees, 8 for 90, 3 for 180, 6 for 270, and
    /// 1 for every other angle. @selector exifOrientationWithAngle:
    [[nodiscard]] static std::int32_t exifOrientationWithAngle(std::int32_t degrees) noexcept;
};

} // namespace kelvane
