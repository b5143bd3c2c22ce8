// SPDX-License-Identifier: Apache-2.0
#include "FileReplacement.h"

#include "FileAccess.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kelvane::detail {
namespace {

constexpr std::size_t chunkSize = 1 << 20;

std::string resolved(const std::string &path)
{
    const std::unique_ptr<char, void (*)(void *)> real(::realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : path;
}

std::string folderOf(const std::string &path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

/// A name beside `path` that every process finds again. `slot` counts the replacements that run at once.
std::string copyName(const std::string &path, int slot)
{
    std::uint64_t hash = 0xcbf29ce484222325U; // FNV-1a: the file's own name may be too long to add to
    for (const char c : path.substr(folderOf(path) == "./" ? 0 : folderOf(path).size()))
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    char name[40];
    std::snprintf(name, sizeof name, ".kelvane-%016llx-%d", static_cast<unsigned long long>(hash), slot);
    return folderOf(path) + name;
}

/// Whether the descriptor is of the file that the path names.
bool isSameFile(int descriptor, const std::string &path)
{
    struct stat ours = {};
    struct stat named = {};
    return ::fstat(descriptor, &ours) == 0 && ::lstat(path.c_str(), &named) == 0 && ours.st_ino == named.st_ino
        && ours.st_dev == named.st_dev;
}

/// Removes a copy that nobody holds a lock on. False where it is still there.
bool removeLeftCopy(const std::string &name)
{
    const FileDescriptor copy(::open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!copy)
        return errno == ENOENT;
    return ::flock(copy.get(), LOCK_EX | LOCK_NB) == 0
        && (!isSameFile(copy.get(), name) || ::unlink(name.c_str()) == 0);
}

bool copyBytes(int from, int to)
{
    std::vector<std::byte> chunk(chunkSize);
    ssize_t got = 0;
    do {
        got = readAll(from, chunk);
        if (got < 0 || !writeAll(to, std::span(chunk).first(static_cast<std::size_t>(got))))
            return false;
    } while (static_cast<std::size_t>(got) == chunk.size());
    return true;
}

bool copyWithAttributes(int from, int to)
{
    struct stat status = {};
    if (::fstat(from, &status) != 0 || !copyBytes(from, to))
        return false;
    // An owner that may not be given away stays ours. It goes first, because it resets bits of the mode.
    if (::fchown(to, status.st_uid, status.st_gid) != 0 && !isRefusal(errno))
        return false;
    return copyExtendedAttributes(from, to) && ::fchmod(to, status.st_mode & 07777) == 0;
}

} // namespace

FileReplacement::FileReplacement(const std::string &path) : _path(resolved(path)) {}

FileReplacement::~FileReplacement()
{
    if (!_copy.empty())
        ::unlink(_copy.c_str());
}

FileDescriptor FileReplacement::open()
{
    const FileDescriptor source = openRegularFile(_path.c_str());
    if (source && makeCopyFile() && copyWithAttributes(source.get(), _descriptor.get()))
        return duplicate();
    return {};
}

bool FileReplacement::makeCopyFile()
{
    constexpr int maximumSlots = 64; // of one file at once
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    for (int slot = 0; slot < maximumSlots;) {
        std::string name = copyName(_path, slot);
        FileDescriptor file(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly));
        if (!file && errno != EEXIST)
            return false;
        if (!file) {
            slot += removeLeftCopy(name) ? 0 : 1;
            continue;
        }
        // Between making and locking it another one may have taken it for a left one; then it is gone.
        (void)::flock(file.get(), LOCK_EX);
        if (isSameFile(file.get(), name)) {
            _descriptor = std::move(file);
            _copy = std::move(name);
            return true;
        }
    }
    errno = EBUSY;
    return false;
}

FileDescriptor FileReplacement::duplicate() const
{
    return FileDescriptor(::fcntl(_descriptor.get(), F_DUPFD_CLOEXEC, 0));
}

bool FileReplacement::commit()
{
    // First, for want of memory afterwards would make a failure of what is done.
    const std::string folderName = folderOf(_path);
    if (::fsync(_descriptor.get()) != 0 || std::rename(_copy.c_str(), _path.c_str()) != 0)
        return false;
    _copy.clear();
    // The file is whole either way; this makes the new one outlive a power cut, where the file system can.
    if (const FileDescriptor folder(::open(folderName.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)); folder)
        (void)::fsync(folder.get());
    return true;
}

} // namespace kelvane::detail
