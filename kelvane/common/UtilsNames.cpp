// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <kelvane/platform/detail/RandomNumber.h>
#include <kelvane/platform/Paths.h>

#include <algorithm>
#include <cassert>
#include <iterator>
#include <string_view>

#include <uuid/uuid.h>

namespace kelvane {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view audioExtensions[] = {"mp3", "wav", "aac", "aif", "m4r", "aiff", "m4a", "m4b", "m4p"};
constexpr std::string_view videoExtensions[] = {"mp4", "mov", "m4v", "m4a", "3gp"};

/// No extension of the tables has other letters than those of ASCII.
std::string lowerCaseExtension(const String &path)
{
    std::string extension = pathExtension(path).str();
    std::ranges::transform(
        extension, extension.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return extension;
}

} // namespace

bool Utils::isAudio(const String &path)
{
    return std::ranges::find(audioExtensions, lowerCaseExtension(path)) != std::end(audioExtensions);
}

bool Utils::isVideo(const String &path)
{
    return std::ranges::find(videoExtensions, lowerCaseExtension(path)) != std::end(videoExtensions);
}

String Utils::getRandomMusicName(std::uint32_t count)
{
    assert(count > 0);
    const std::uint32_t folder = count == 0 ? 0 : detail::randomNumber(count);
    const String number = String::number(std::uint64_t{folder});
    return String::concat({folder < 10 ? "F0"sv : "F"sv, number.view()});
}

String Utils::getRandomFolderName()
{
    return getRandomMusicName(100);
}

String Utils::getRandomFileName()
{
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    char name[4];
    // Intended: the index is below 25, so that there is no "Z". Names on devices in use were drawn so.
    for (char &letter : name)
        letter = letters[detail::randomNumber(25)];
    return std::string_view(name, std::size(name));
}

String Utils::genUUIDString()
{
    uuid_t bytes;
    char text[UUID_STR_LEN];
    uuid_generate_random(bytes);
    uuid_unparse_upper(bytes, text);
    return text;
}

} // namespace kelvane
