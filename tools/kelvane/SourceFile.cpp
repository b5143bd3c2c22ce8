// SPDX-License-Identifier: Apache-2.0
#include "SourceFile.h"

#include "ExitCode.h"
#include "FileDescriptor.h"
#include "Text.h"

#include <kelvane/platform/AudioMetadata.h>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace kelvane::tool {

const MediaFormat &formatOfFile(const SourceFile &file)
{
    // Not to be held up by a FIFO that took the place of the file that was found.
    const FileDescriptor open(::open(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, formatHeadSize> head{};
    const ssize_t count = open.isOpen() ? ::read(open.get(), head.data(), head.size()) : -1;
    if (count < 0)
        throw ItemError(reasonText(errno));
    if (count == 0)
        throw ItemError("the file is empty");
    const std::string_view bytes(head.data(), static_cast<std::size_t>(count));
    if (const MediaFormat *format = formatOfContent(bytes, file.byExtension))
        return *format;
    // Some formats have no mark at the beginning; whoever reads the tags looks further.
    const bool mayHaveTags = file.byExtension && file.byExtension->kind != MediaKind::Image;
    if (mayHaveTags && AudioMetadata::CreateMetadataForURL(file.path))
        return *file.byExtension;
    throw ItemError("its content is no audio, video or image");
}

void requireReadable(const std::string &path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        throw ItemError(reasonText(errno));
    if (S_ISDIR(status.st_mode))
        throw ItemError("is a folder, not a file");
    if (!S_ISREG(status.st_mode))
        throw ItemError("is not a regular file");
    if (!FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)).isOpen())
        throw ItemError(reasonText(errno));
}

} // namespace kelvane::tool
