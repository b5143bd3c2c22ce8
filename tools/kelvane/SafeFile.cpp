// SPDX-License-Identifier: Apache-2.0
#include "SafeFile.h"

#include "ExitCode.h"
#include "FileDescriptor.h"
#include "Text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::tool {
namespace {

mode_t usualMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

void require(bool isGood)
{
    if (!isGood)
        throw ItemError(reasonText(errno));
}

} // namespace

void writeAll(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        require(count > 0);
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void writeFileSafely(const std::string &path, std::string_view content)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        throw ItemError(S_ISDIR(status.st_mode) ? "is a folder" : "is no regular file");
    const std::size_t folderEnd = path.size() - lastComponent(path).size();
    std::string temporary = path.substr(0, folderEnd) + ".kelvane-XXXXXX.part";
    const FileDescriptor file(::mkstemps(temporary.data(), 5));
    require(file.isOpen());
    try {
        writeAll(file.get(), content);
        require(::fchmod(file.get(), usualMode()) == 0 && ::fsync(file.get()) == 0);
        require(::rename(temporary.c_str(), path.c_str()) == 0);
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
}

} // namespace kelvane::tool
