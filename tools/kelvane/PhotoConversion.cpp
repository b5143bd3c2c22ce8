// SPDX-License-Identifier: Apache-2.0
#include "PhotoConversion.h"

#include "ExitCode.h"
#include "Text.h"

#include <kelvane/media/HeicConverter.h>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::tool {
namespace {

std::string folderOf(const std::string &path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// The converter tells by its log alone what went wrong; these are the reasons that can be seen without it.
std::string reasonFor(const std::string &source, const std::string &target, const std::string &shownTarget)
{
    if (::access(source.c_str(), R_OK) != 0)
        return reasonText(errno);
    if (!HeicConverter::isHeic(source))
        return "it is no HEIC photo";
    if (::access(folderOf(target).c_str(), W_OK) != 0)
        return "cannot write to " + inQuotes(folderOf(shownTarget)) + ": " + reasonText(errno);
    if (!HeicConverter::hasDecoder())
        return "the decoder module libheif.dylib is missing or cannot be loaded: install it (sync --keep-heic copies "
               "such photos as they are)";
    return "it is damaged";
}

} // namespace

bool isConvertible(const std::string &path, const MediaFormat &format)
{
    return format.family == "heif" && HeicConverter::isHeic(path);
}

bool isConversion(const std::string &source, const std::string &target)
{
    return lowerExtension(target) == "jpg" && HeicConverter::isHeic(source);
}

void convertPhoto(const std::string &source, const std::string &target, const std::string &shownTarget)
{
    if (!HeicConverter::convertHeicToJPG(source, target))
        throw ItemError(
            "it cannot be converted to JPEG: " + reasonFor(source, target, shownTarget.empty() ? target : shownTarget));
}

} // namespace kelvane::tool
