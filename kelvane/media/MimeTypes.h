// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>
#include <string_view>

namespace kelvane {

// MIME types by the names that programs know them by.
inline constexpr std::string_view PlainText = "text/plain";
inline constexpr std::string_view MP4Video = "video/mp4";
inline constexpr std::string_view MP3Audio = "audio/mpeg";
inline constexpr std::string_view JPEGImage = "image/jpeg";
inline constexpr std::string_view PNGImage = "image/png";
inline constexpr std::string_view vCardText = "text/vcard";
inline constexpr std::string_view ePubBook = "application/epub+zip";
inline constexpr std::string_view ZipArchive = "application/zip";
inline constexpr std::string_view iPhoneApp = "application/iphone";
inline constexpr std::string_view SmilText = "application/smil";
/// No media type at all: all bits set.
inline constexpr std::int32_t UNDEFINED = -1;

// Media types are the kinds of things that can be moved between computer and device, one bit each: 0 unknown, 1 audio,
// 2 video, 4 image, 8 application, 16 plain text or SMIL, 32 document or book, 128 ZIP archive, 256 contact card,
// 512 other text.

/// The first MIME type that the fixed table has for a media type: "application/ogg" for 1, "application/iphone" for 8,
/// "application/pdf" for 32, "application/zip" for 128, "application/smil" for 16, "text/vcard" for 256. Null for
/// every other code. Thread: any.
[[nodiscard]] KELVANE_EXPORT String GetMimeTypeFromDics(std::int64_t mediaType);

/// The media type that the fixed table has for a MIME type, 0 where it has none. Case counts here, unlike in
/// MimeTypes::mediaTypeByMimeType(). Thread: any.
[[nodiscard]] KELVANE_EXPORT std::int64_t GetMediaTypeFromDics(const String &mimeType) noexcept;

/// From file names and extensions to MIME types, from there to media types and type identifiers (see TypeIdentifier).
///
/// Threads: any thread, any operation.
/// Errors: nothing throws but std::bad_alloc; what is not known gives the empty string, or 0.
class KELVANE_EXPORT MimeTypes {
public:
    MimeTypes() = delete;

    /// The MIME type that the extension's type prefers; "" where it has none. Given without the dot.
    /// @selector mimeTypeByExtension:
    [[nodiscard]] static String mimeTypeByExtension(const String &extension);
    /// The same for the extension of a file name or path. @selector mimeTypeByFileName:
    [[nodiscard]] static String mimeTypeByFileName(const String &fileName);
    /// The media type of a MIME type, whatever its case: by the fixed table, else by its first part.
    /// Intended: what begins with "application" and is not in the table is an app (8); "text" that is neither plain
    /// nor a contact card is other text (512). @selector mediaTypeByMimeType:
    [[nodiscard]] static std::int64_t mediaTypeByMimeType(const String &mimeType);
    /// The type identifier of a MIME type, a dynamic one where no type declares it; "" for null.
    /// @selector UTIByMimeType:
    [[nodiscard]] static String UTIByMimeType(const String &mimeType);
    /// The type identifier of an extension, given with or without its dot, a dynamic one where no type declares it; ""
    /// for null. @selector UTIByExtension:
    [[nodiscard]] static String UTIByExtension(const String &extension);
};

} // namespace kelvane
