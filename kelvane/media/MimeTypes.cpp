// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/MimeTypes.h>

#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/Utils.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/TypeIdentifier.h>

#include <string>

namespace kelvane {
namespace {

struct Row {
    std::string_view mimeType;
    std::int64_t mediaType;
};

constexpr Row table[] = {{"application/ogg", 1}, {"application/iphone", 8},
    {"application/vnd.android.package-archive", 8}, {"application/pdf", 32}, {"application/epub+zip", 32},
    {"application/zip", 128}, {"application/smil", 16}, {"application/smi", 16}, {"text/vcard", 256},
    {"text/x-vcard", 256}};

struct FirstPart {
    std::string_view part;
    std::int64_t mediaType;
};

constexpr FirstPart firstParts[] = {{"image", 4}, {"video", 2}, {"audio", 1}, {"vcard", 256}, {"application", 8}};

/// In lower case; MIME types have no other letters than those of ASCII.
String lowerCase(const String &text)
{
    std::string lower = text.str();
    for (char &c : lower)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    return lower;
}

String orEmpty(const String &text)
{
    return text.isNull() ? String("") : text;
}

} // namespace

String GetMimeTypeFromDics(std::int64_t mediaType)
{
    for (const Row &row : table) {
        if (row.mediaType == mediaType)
            return row.mimeType;
    }
    return nullptr;
}

std::int64_t GetMediaTypeFromDics(const String &mimeType) noexcept
{
    const std::string_view wanted = mimeType.c_str(); // up to a NUL
    for (const Row &row : table) {
        if (row.mimeType == wanted)
            return row.mediaType;
    }
    return 0;
}

String MimeTypes::mimeTypeByExtension(const String &extension)
{
    return Utils::mimeTypeByExtension(extension);
}

String MimeTypes::mimeTypeByFileName(const String &fileName)
{
    return fileName.isEmpty() ? String("") : mimeTypeByExtension(pathExtension(fileName));
}

std::int64_t MimeTypes::mediaTypeByMimeType(const String &mimeType)
{
    const String lower = lowerCase(mimeType);
    if (const std::int64_t known = GetMediaTypeFromDics(lower); known != 0)
        return known;
    const String part = split(lower, "/")[0].string();
    for (const auto &[name, mediaType] : firstParts) {
        if (part == name)
            return mediaType;
    }
    if (part == "text")
        return lower == PlainText ? 16 : lower == vCardText ? 256 : 512;
    return 0;
}

String MimeTypes::UTIByMimeType(const String &mimeType)
{
    return orEmpty(mimeType.isNull() ? String() : TypeIdentifier::forMimeType(lowerCase(mimeType)));
}

String MimeTypes::UTIByExtension(const String &extension)
{
    return orEmpty(TypeIdentifier::forExtension(trimStart(extension, ".")));
}

} // namespace kelvane
