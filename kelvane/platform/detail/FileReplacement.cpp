// SPDX-License-Identifier: Apache-2.0
#include "FileReplacement.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kelvane::detail {
namespace {

constexpr std::size_t chunkSize = 1 << 20;

std::string resolved(std::string path)
{
    if (char *real = ::realpath(path.c_str(), nullptr)) {
        path = real;
        std::free(real);
    }
    return path;
}

std::string folderOf(const std::string &path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

bool copyBytes(int from, int to)
{
    std::vector<char> chunk(chunkSize);
    for (;;) {
        const ssize_t got = ::read(from, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        for (ssize_t done = 0; done < got;) {
            const ssize_t part = ::write(to, chunk.data() + done, static_cast<std::size_t>(got - done));
            if (part < 0 && errno == EINTR)
                continue;
            if (part <= 0)
                return false;
            done += part;
        }
    }
}

bool copyWithAttributes(int from, int to)
{
    struct stat status = {};
    if (::fstat(from, &status) != 0 || !copyBytes(from, to))
        return false;
    // An owner that may not be given away stays ours. It goes first, because it resets bits of the mode.
    const bool isGiven = ::fchown(to, status.st_uid, status.st_gid) == 0;
    (void)isGiven;
    copyExtendedAttributes(from, to);
    return ::fchmod(to, status.st_mode & 07777) == 0;
}

void closeKeepingErrno(int descriptor)
{
    const int error = errno;
    ::close(descriptor);
    errno = error;
}

} // namespace

int openRegularFile(const std::string &path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0)
        return -1;
    struct stat status = {};
    if (::fstat(descriptor, &status) == 0) {
        if (S_ISREG(status.st_mode))
            return descriptor;
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    closeKeepingErrno(descriptor);
    return -1;
}

FileReplacement::FileReplacement(std::string path) : _path(resolved(std::move(path))) {}

FileReplacement::~FileReplacement()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
    if (!_copy.empty())
        ::unlink(_copy.c_str());
}

int FileReplacement::open()
{
    const int source = openRegularFile(_path);
    if (source < 0)
        return -1;
    std::string name = folderOf(_path) + ".kelvane-XXXXXX";
    _descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (_descriptor >= 0)
        _copy = name;
    const bool isCopied = _descriptor >= 0 && copyWithAttributes(source, _descriptor);
    closeKeepingErrno(source);
    return isCopied ? duplicate() : -1;
}

int FileReplacement::duplicate() const
{
    return ::fcntl(_descriptor, F_DUPFD_CLOEXEC, 0);
}

bool FileReplacement::commit()
{
    if (::fsync(_descriptor) != 0 || std::rename(_copy.c_str(), _path.c_str()) != 0)
        return false;
    _copy.clear();
    // The file is whole either way; this makes the new one outlive a power cut, where the file system can.
    const int folder = ::open(folderOf(_path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        (void)::fsync(folder);
        ::close(folder);
    }
    return true;
}

} // namespace kelvane::detail
