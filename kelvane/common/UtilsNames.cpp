// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/common/StringExtensions.h>
#include <kelvane/foundation/detail/Utf8.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/TypeIdentifier.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include <openssl/evp.h>

namespace kelvane {

namespace {

constexpr std::string_view audioExtensions[] = {"mp3", "wav", "aac", "aif", "m4r", "aiff", "m4a", "m4b", "m4p"};
constexpr std::string_view videoExtensions[] = {"mp4", "mov", "m4v", "m4a", "3gp"};

// Intended: the kinds of "aac", "3gp" and both "m4b", of which the first counts. Devices show these words.
constexpr std::pair<std::string_view, const char *> mediaKinds[] = {{"mp3", "MPEG Audio"}, {"aac", "MPEG Audio"},
    {"mp4", "MPEG-4 Video"}, {"m4b", "MPEG-4 Video"}, {"m4p", "MPEG-4 Video"}, {"3gp", "MPEG Audio"},
    {"m4v", "MPEG-4 Video"}, {"mov", "Movie"}, {"m4a", "AAC Audio"}, {"m4b", "AAC Audio"}, {"m4r", "Ringtone"},
    {"wav", "Wav Audio"}, {"aif", "Aif Audio"}};

/// In lower case; no extension of the tables has other letters than those of ASCII.
std::string lowerCase(const String &text)
{
    std::string lower = text.str();
    std::ranges::transform(
        lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return lower;
}

/// What `value` contributes to a joined text.
String joinedText(const Value &value)
{
    if (!value.isPresent())
        return {};
    const String text = value.stringValue();
    return text.isNull() ? value.description() : text;
}

} // namespace

bool CharInArray(char character, std::string_view characters) noexcept
{
    return characters.find(character) != std::string_view::npos;
}

String Utils::mimeTypeByExtension(const String &extension)
{
    const String mimeType = TypeIdentifier::mimeType(TypeIdentifier::forExtension(extension));
    return mimeType.isNull() ? String("") : mimeType;
}

bool Utils::isAudio(const String &path)
{
    return std::ranges::find(audioExtensions, lowerCase(pathExtension(path))) != std::end(audioExtensions);
}

bool Utils::isVideo(const String &path)
{
    return std::ranges::find(videoExtensions, lowerCase(pathExtension(path))) != std::end(videoExtensions);
}

String Utils::GetMediaKind(const String &extension)
{
    const std::string wanted = lowerCase(trimStart(extension, "."));
    for (const auto &[known, kind] : mediaKinds) {
        if (known == wanted)
            return kind;
    }
    return "";
}

std::uint32_t Utils::GetExtension(const String &extension) noexcept
{
    return fourCharCode(extension);
}

String Utils::replaceInvalidChars(const String &text, char replacement)
{
    // Intended: byte by byte, so that "é" comes back as two characters. Names on devices in use were made so.
    std::string replaced;
    replaced.reserve(text.size());
    for (const char c : text.view())
        detail::appendUtf8(replaced, static_cast<unsigned char>(CharInArray(c, "/<>:\\ ") ? replacement : c));
    return replaced;
}

String Utils::join(const String &separator, const Array &values)
{
    if (separator.isNull())
        return "";
    std::string joined;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            joined += separator.view();
        joined += joinedText(values[i]).view();
    }
    return joined;
}

String Utils::fileMD5(const Data &data)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    const bool isDone =
        !data.isNull() && EVP_Digest(data.view().data(), data.size(), digest, &size, EVP_md5(), nullptr) == 1;
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    for (unsigned int i = 0; isDone && i < size; ++i) {
        hex.push_back(digits[digest[i] >> 4]);
        hex.push_back(digits[digest[i] & 15]);
    }
    return hex;
}

Value Utils::transformItemIDToNumber(std::int64_t itemId) noexcept
{
    return itemId;
}

} // namespace kelvane
