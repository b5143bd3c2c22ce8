// SPDX-License-Identifier: Apache-2.0
#include "ReplaceFile.h"

#include "FileAccess.h"
#include "NewFileMode.h"
#include "RandomNumber.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::detail {
namespace {

std::string nameBeside(const std::string &path)
{
    const auto slash = path.rfind('/');
    return path.substr(0, slash == std::string::npos ? 0 : slash + 1) + ".kelvane-" + std::to_string(randomNumber());
}

bool writeParts(int descriptor, std::span<const std::span<const std::byte>> parts, const std::string &replaced)
{
    for (const auto part : parts)
        if (!writeAll(descriptor, part))
            return false;
    struct stat status = {};
    const bool isThere = ::lstat(replaced.c_str(), &status) == 0;
    // Where the old file's mode is not known, the new one might show the content to others.
    if (!isThere && errno != ENOENT)
        return false;
    const mode_t mode = isThere && S_ISREG(status.st_mode) ? status.st_mode & 07777 : newFileMode();
    return ::fchmod(descriptor, mode) == 0 && ::fsync(descriptor) == 0;
}

} // namespace

bool replaceFile(const std::string &path, std::span<const std::span<const std::byte>> parts)
{
    std::string name;
    int descriptor = -1;
    do {
        name = nameBeside(path);
        descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    } while (descriptor < 0 && errno == EEXIST);
    if (descriptor < 0)
        return false;
    const bool isWritten = writeParts(descriptor, parts, path);
    int error = errno;
    const bool isClosed = ::close(descriptor) == 0;
    if (isWritten && !isClosed)
        error = errno;
    if (isWritten && isClosed && std::rename(name.c_str(), path.c_str()) == 0)
        return true;
    if (isWritten && isClosed)
        error = errno;
    ::unlink(name.c_str());
    errno = error;
    return false;
}

} // namespace kelvane::detail
