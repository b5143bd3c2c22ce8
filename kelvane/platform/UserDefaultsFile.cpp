// SPDX-License-Identifier: Apache-2.0
#include "UserDefaultsFile_p.h"

#include <kelvane/foundation/Data.h>
#include <kelvane/platform/detail/FileAccess.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/PropertyList.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

/// More than any program keeps for its user; a file that claims more is none of ours.
constexpr std::int64_t largest = 64 << 20;
/// How long to wait for another program's change, which takes milliseconds.
constexpr std::chrono::seconds patience{5};
/// Files that are set aside within the same second.
constexpr int mostSetAside = 100;

UserDefaultsFile::Identity identityOf(const struct stat &status) noexcept
{
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

/// The file itself where the path is a symbolic link.
String resolved(const String &path)
{
    std::error_code error;
    const std::filesystem::path target = std::filesystem::weakly_canonical(path.str(), error);
    return path.isNull() || error ? path : String(target.native());
}

/// Makes the name of a file that was renamed there last through a power failure.
void flushFolder(const String &path) noexcept
{
    const detail::FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder)
        (void)::fsync(folder.get());
}

void makeFolders(const String &path)
{
    if (path.isEmpty() || path == String("/") || ::access(path.c_str(), F_OK) == 0)
        return;
    makeFolders(deletingLastPathComponent(path));
    (void)::mkdir(path.c_str(), 0700);
}

} // namespace

UserDefaultsFile::UserDefaultsFile(const String &path) : _path(resolved(path)) {}

UserDefaultsFile::Identity UserDefaultsFile::identity() const noexcept
{
    struct stat status {};
    return _path.isNull() || ::stat(_path.c_str(), &status) != 0 ? Identity() : identityOf(status);
}

UserDefaultsFile::Content UserDefaultsFile::read() const
{
    Content content;
    if (_path.isNull())
        return content;
    const detail::FileDescriptor file = detail::openRegularFile(_path.c_str());
    if (file.get() < 0) {
        content.error = errno;
        content.state = errno == ENOENT || errno == ENOTDIR ? State::Missing : State::Unreadable;
        return content;
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        content.error = errno;
        content.state = State::Unreadable;
        return content;
    }
    content.identity = identityOf(status);
    content.state = State::Damaged;
    if (status.st_size > largest)
        return content;
    std::vector<std::byte> bytes(static_cast<std::size_t>(status.st_size));
    const ssize_t got = detail::readAll(file.get(), bytes);
    if (got < 0) {
        content.error = errno;
        content.state = State::Unreadable;
        return content;
    }
    bytes.resize(static_cast<std::size_t>(got));
    if (Dictionary values = PropertyList::read(Data(bytes.data(), bytes.size())).dictionary(); !values.isNull()) {
        content.state = State::Good;
        content.values = std::move(values);
    }
    return content;
}

int UserDefaultsFile::replace(const Dictionary &values) const
{
    const Data data = PropertyList::toXml(values);
    if (data.isNull())
        return EINVAL;
    // One name for all: only the holder of the lock writes, and what a killed one left is in nobody's way.
    const String beside = _path + ".new";
    const String folder = deletingLastPathComponent(_path); // want of memory for it later would follow what is done
    if (::unlink(beside.c_str()) != 0 && errno != ENOENT)
        return errno;
    const detail::FileDescriptor file(
        ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.get() < 0)
        return errno;
    if (!detail::writeAll(file.get(), data.bytes()) || ::fsync(file.get()) != 0
        || ::rename(beside.c_str(), _path.c_str()) != 0) {
        const int error = errno;
        ::unlink(beside.c_str());
        return error;
    }
    flushFolder(folder);
    return 0;
}

String UserDefaultsFile::setAside() const
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char time[32];
    std::strftime(time, sizeof time, ".damaged-%Y%m%dT%H%M%SZ", &utc);
    for (int number = 1; number <= mostSetAside; ++number) {
        const std::string aside = _path.str() + time + (number > 1 ? '-' + std::to_string(number) : std::string());
        // link() does not replace what has that name already, which rename() would.
        if (::link(_path.c_str(), aside.c_str()) == 0)
            return ::unlink(_path.c_str()) == 0 ? String(aside) : String();
        // Not every file system has links. Nobody else writes here, so that a name that is free stays free.
        if (errno != EEXIST && ::access(aside.c_str(), F_OK) != 0 && errno == ENOENT)
            return ::rename(_path.c_str(), aside.c_str()) == 0 ? String(aside) : String();
    }
    return {};
}

UserDefaultsFile::Lock::Lock(const UserDefaultsFile &file)
{
    if (file._path.isNull()) {
        _error = ENOENT;
        return;
    }
    makeFolders(deletingLastPathComponent(file._path));
    // A file of its own: the one with the values is replaced, and its lock with it.
    const String path = file._path + ".lock";
    _descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (_descriptor < 0) {
        _error = errno;
        return;
    }
    // A program that was stopped while it held the lock must not stop this one.
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (::flock(_descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR && errno != EWOULDBLOCK) {
            _error = errno;
            return;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            _error = EWOULDBLOCK;
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

UserDefaultsFile::Lock::~Lock()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
}

} // namespace kelvane
