// SPDX-License-Identifier: Apache-2.0
#include "DeviceFolder.h"

#include "ExitCode.h"
#include "Text.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace kelvane::tool {
namespace {

// The library of a strange device may hold any path.
void checkName(std::string_view name, const std::string &relative)
{
    if (name.empty() || name == "." || name == "..")
        throw ItemError("path " + inQuotes(relative) + " leads out of the device");
}

[[noreturn]] void failFolder(const std::string &relative, int errorNumber)
{
    const bool isNoFolder = errorNumber == ELOOP || errorNumber == ENOTDIR;
    throw ItemError("folder " + inQuotes(relative)
        + (isNoFolder ? " of the device is a link or a file; it is not followed"
                      : " of the device: " + reasonText(errorNumber)));
}

// The system keeps a door to each open folder and file; no name on the way to it is looked up again.
std::string doorTo(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

bool hasDoors()
{
    static const bool has = ::access("/proc/self/fd", X_OK) == 0;
    return has;
}

[[noreturn]] void failFile(const std::string &relative)
{
    throw ItemError("cannot look at " + inQuotes(relative) + " of the device: " + reasonText(errno));
}

// A device that does not answer must not pass for one that lacks the file: its note would be dropped, and its name be
// given to another. A name that the file system cannot hold is that of no file.
bool isAbsent(int errorNumber)
{
    return errorNumber == ENOENT || errorNumber == ENOTDIR || errorNumber == ENAMETOOLONG || errorNumber == EINVAL;
}

// Not every file system can flush a folder; those that cannot write names at once.
bool flushFolder(int folder)
{
    return ::fsync(folder) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EBADF;
}

struct statvfs spaceOf(int root)
{
    struct statvfs status {};
    if (::fstatvfs(root, &status) != 0)
        throw ItemError("the device does not answer: " + reasonText(errno));
    return status;
}

} // namespace

DeviceFolder::DeviceFolder(const std::string &path)
{
    const std::unique_ptr<char, void (*)(void *)> resolved(::realpath(path.c_str(), nullptr), std::free);
    if (resolved)
        _root = FileDescriptor(::open(resolved.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!_root.isOpen())
        throw StopError(ExitCannotStart, "cannot open the device " + inQuotes(path) + ": " + reasonText(errno));
    _path = resolved.get();
}

int DeviceFolder::openFolder(const std::string &relative)
{
    if (relative.empty())
        return _root.get();
    if (const auto known = _folders.find(relative); known != _folders.end())
        return known->second.get();
    const std::string name(lastComponent(relative));
    checkName(name, relative);
    const int parent = openFolder(parentOf(relative));
    if (parent < 0)
        return -1;
    FileDescriptor opened(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened.isOpen()) {
        if (errno == ENOENT)
            return -1;
        failFolder(relative, errno);
    }
    return _folders.emplace(relative, std::move(opened)).first->second.get();
}

DeviceFolder::Place DeviceFolder::placeOf(const std::string &relative)
{
    std::string name(lastComponent(relative));
    checkName(name, relative);
    const std::lock_guard guard(_mutex);
    return {openFolder(parentOf(relative)), std::move(name)};
}

int DeviceFolder::folderAt(const std::string &relative)
{
    const std::lock_guard guard(_mutex);
    return openFolder(relative);
}

std::string DeviceFolder::pinnedPath(const std::string &relative)
{
    const Place place = placeOf(relative);
    if (place.folder < 0)
        failFolder(relative, ENOENT);
    return hasDoors() ? doorTo(place.folder) + '/' + place.name : absolutePath(relative);
}

std::string DeviceFolder::pinnedPath(const FileDescriptor &file, const std::string &relative) const
{
    return hasDoors() ? doorTo(file.get()) : absolutePath(relative);
}

std::uint64_t DeviceFolder::capacity() const
{
    const struct statvfs status = spaceOf(_root.get());
    return std::uint64_t{status.f_blocks} * status.f_frsize;
}

std::uint64_t DeviceFolder::freeSpace() const
{
    const struct statvfs status = spaceOf(_root.get());
    return std::uint64_t{status.f_bavail} * status.f_frsize;
}

void DeviceFolder::checkFolder(const std::string &relative)
{
    static_cast<void>(folderAt(relative));
}

void DeviceFolder::makeFolder(const std::string &relative)
{
    const std::lock_guard guard(_making);
    makeCertain(relative);
}

// A file whose folder a power cut takes away is gone, too. One that is there may come from a run that was killed before it
// had brought the name to the device.
void DeviceFolder::makeCertain(const std::string &relative)
{
    if (relative.empty() || _certain.contains(relative))
        return;
    makeCertain(parentOf(relative));
    const Place place = placeOf(relative);
    if (::mkdirat(place.folder, place.name.c_str(), 0777) != 0 && errno != EEXIST)
        failFolder(relative, errno);
    if (!flushFolder(place.folder))
        failFolder(relative, errno);
    if (folderAt(relative) < 0)
        failFolder(relative, ENOENT);
    _certain.insert(relative);
}

std::optional<FileStamp> DeviceFolder::stampOf(const std::string &relative)
{
    const Place place = placeOf(relative);
    struct stat status {};
    if (place.folder < 0)
        return std::nullopt;
    if (::fstatat(place.folder, place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (!isAbsent(errno))
            failFile(relative);
        return std::nullopt;
    }
    return S_ISREG(status.st_mode) ? std::optional(FileStamp::of(status)) : std::nullopt;
}

bool DeviceFolder::isTaken(const std::string &relative)
{
    const Place place = placeOf(relative);
    struct stat status {};
    if (place.folder < 0)
        return false;
    const bool isThere = ::fstatat(place.folder, place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (!isThere && !isAbsent(errno))
        failFile(relative);
    return isThere;
}

bool DeviceFolder::publish(const std::string &from, const std::string &to)
{
    makeFolder(parentOf(to));
    const Place source = placeOf(from);
    const Place target = placeOf(to);
    // A link refuses a name that is taken, which a rename does not.
    if (::linkat(source.folder, source.name.c_str(), target.folder, target.name.c_str(), 0) == 0) {
        ::unlinkat(source.folder, source.name.c_str(), 0);
    } else {
        // The file systems of many devices know no links. There a look must do; the device is ours alone meanwhile.
        if (errno == EEXIST || isTaken(to))
            return false;
        if (::renameat(source.folder, source.name.c_str(), target.folder, target.name.c_str()) != 0)
            throw ItemError(reasonText(errno));
    }
    if (!flushFolder(target.folder))
        throw ItemError(reasonText(errno));
    return true;
}

void DeviceFolder::synchroniseFolder(const std::string &relative)
{
    if (const int folder = folderAt(relative); folder >= 0 && !flushFolder(folder))
        failFolder(relative, errno);
}

void DeviceFolder::removeFile(const std::string &relative)
{
    const Place place = placeOf(relative);
    if (place.folder >= 0 && ::unlinkat(place.folder, place.name.c_str(), 0) != 0 && errno != ENOENT)
        throw ItemError("cannot remove " + inQuotes(relative) + " of the device: " + reasonText(errno));
}

std::vector<std::string> DeviceFolder::namesIn(const std::string &relative)
{
    const int folder = folderAt(relative);
    if (folder < 0)
        return {};
    // Reading a folder moves the position in it, so that the number kept for paths is not used for that.
    FileDescriptor reader(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, int (*)(DIR *)> open(reader.isOpen() ? ::fdopendir(reader.get()) : nullptr, ::closedir);
    if (!open)
        failFolder(relative, errno);
    reader.release();
    std::vector<std::string> names;
    errno = 0;
    while (const dirent *entry = ::readdir(open.get())) {
        if (const std::string name = entry->d_name; name != "." && name != "..")
            names.push_back(name);
        errno = 0;
    }
    if (errno != 0)
        failFolder(relative, errno);
    return names;
}

std::vector<std::string> DeviceFolder::filesIn(const std::string &relative)
{
    std::vector<std::string> names = namesIn(relative);
    std::erase_if(names, [&](const std::string &name) { return !stampOf(relative + '/' + name); });
    return names;
}

void DeviceFolder::emptyFolder(const std::string &relative)
{
    const std::string folder = relative + '/';
    for (const std::string &name : namesIn(relative)) {
        const Place place = placeOf(folder + name);
        ::unlinkat(place.folder, place.name.c_str(), 0);
    }
}

FileDescriptor DeviceFolder::open(const std::string &relative, int flags, mode_t mode, const char *what)
{
    const Place place = placeOf(relative);
    errno = ENOENT;
    FileDescriptor opened(
        place.folder < 0 ? -1 : ::openat(place.folder, place.name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode));
    if (!opened.isOpen())
        throw ItemError(
            std::string("cannot ") + what + ' ' + inQuotes(relative) + " of the device: " + reasonText(errno));
    return opened;
}

FileDescriptor DeviceFolder::openFile(const std::string &relative)
{
    return open(relative, O_RDONLY | O_NONBLOCK, 0, "read");
}

FileDescriptor DeviceFolder::openForWriting(const std::string &relative)
{
    return open(relative, O_WRONLY | O_NONBLOCK, 0, "write");
}

FileDescriptor DeviceFolder::makeFile(const std::string &relative)
{
    return open(relative, O_RDWR | O_CREAT | O_NONBLOCK, 0666, "make");
}

FileDescriptor DeviceFolder::makeNewFile(const std::string &relative)
{
    return open(relative, O_RDWR | O_CREAT | O_EXCL, 0600, "make");
}

} // namespace kelvane::tool
