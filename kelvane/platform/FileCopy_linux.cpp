// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopy.h>

#include <kelvane/platform/FileCopySession_p.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/xattr.h>

namespace kelvane {

namespace {

// A destination as the folder that will hold it and the name there.
struct Destination {
    FileDescriptor folder;
    std::string folderPath;
    std::string name;
};

bool isPath(const String &path)
{
    return !path.isEmpty() && path.view().find('\0') == std::string_view::npos;
}

// 0, or errno.
int openDestination(FileCopySession &session, Destination &destination)
{
    std::string path = session.to;
    if (!session.has(COPYFILE_EXCL) && !session.has(COPYFILE_NOFOLLOW_DST)) {
        const std::unique_ptr<char, void (*)(void *)> real(realpath(path.c_str(), nullptr), std::free);
        if (real)
            path = real.get();
    }
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const std::size_t slash = path.rfind('/');
    destination.name = slash == std::string::npos ? path : path.substr(slash + 1);
    destination.folderPath = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    if (destination.name.empty() || destination.name == "." || destination.name == "..")
        return EEXIST;
    destination.folder = FileDescriptor(open(destination.folderPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return destination.folder ? 0 : errno;
}

// Whether `folder` is the one of `info` or lies somewhere below it, whatever links and mounts lead there.
bool isInside(int folder, const struct stat &info)
{
    FileDescriptor at(openat(folder, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat here {};
    while (at && fstat(at.get(), &here) == 0) {
        if (here.st_dev == info.st_dev && here.st_ino == info.st_ino)
            return true;
        FileDescriptor above(openat(at.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        struct stat next {};
        if (!above || fstat(above.get(), &next) != 0 || (next.st_dev == here.st_dev && next.st_ino == here.st_ino))
            return false; // the root is its own ".."
        at = std::move(above);
    }
    return false;
}

// 0 if the copy may begin, or errno.
int checkDestination(const FileCopySession &session, const Destination &destination, const struct stat &source)
{
    struct stat existing {};
    if (fstatat(destination.folder.get(), destination.name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0) {
        if (session.has(COPYFILE_EXCL))
            return EEXIST;
        if (existing.st_dev == source.st_dev && existing.st_ino == source.st_ino)
            return EINVAL;
        if (S_ISDIR(existing.st_mode) != S_ISDIR(source.st_mode))
            return S_ISDIR(existing.st_mode) ? EISDIR : ENOTDIR;
    } else if (errno != ENOENT)
        return errno;
    return S_ISDIR(source.st_mode) && isInside(destination.folder.get(), source) ? EINVAL : 0;
}

CopyStep copyRoot(FileCopySession &session, const CopyPlace &place, mode_t type)
{
    if (S_ISDIR(type))
        return copyTree(session, place);
    const bool tree = session.has(COPYFILE_RECURSIVE);
    CopyStep step = tree ? session.tell(COPYFILE_RECURSE_FILE, COPYFILE_START) : CopyStep::Done;
    if (step != CopyStep::Done)
        return step;
    if (S_ISREG(type))
        step = copyFile(session, place, -1, 0);
    else if (S_ISLNK(type))
        step = copyLink(session, place, -1, 0);
    else
        step = session.fail(ENOTSUP);
    if (tree)
        return session.finishEntry(COPYFILE_RECURSE_FILE, step);
    if (step == CopyStep::Failed)
        session.countFailure(COPYFILE_COPY_DATA, session.error);
    // Nothing was opened, so nobody has been told yet.
    if (step == CopyStep::Failed && !S_ISREG(type) && !S_ISLNK(type)
        && session.tellError(COPYFILE_COPY_DATA, ENOTSUP) == CopyStep::Done)
        return session.fail(ENOTSUP);
    return step;
}

CopyStep runCopy(FileCopySession &session)
{
    if (!session.has(COPYFILE_DATA))
        return session.fail(ENOTSUP);
    struct stat source {};
    const int follow = session.has(COPYFILE_NOFOLLOW_SRC) ? AT_SYMLINK_NOFOLLOW : 0;
    if (fstatat(AT_FDCWD, session.from.c_str(), &source, follow) != 0)
        return session.fail(errno);
    Destination destination;
    if (const int reason = openDestination(session, destination); reason != 0)
        return session.fail(reason);
    if (const int reason = checkDestination(session, destination, source); reason != 0)
        return session.fail(reason);
    session.dropInheritedAcl = !session.has(COPYFILE_EXCL)
        || getxattr(destination.folderPath.c_str(), "system.posix_acl_default", nullptr, 0) > 0;

    const CopyPlace place{AT_FDCWD, session.from.c_str(), destination.folder.get(), destination.name.c_str()};
    const CopyStep step = copyRoot(session, place, source.st_mode);
    if (step == CopyStep::Done && session.synchronise()) {
        const FileDescriptor folder(openat(destination.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder && fsync(folder.get()) != 0)
            return session.fail(errno);
    }
    return step;
}

} // namespace

int copyfile(const String &from, const String &to, FileCopyState *state, std::uint32_t flags)
{
    if (!isPath(from) || !isPath(to)) {
        errno = EINVAL;
        return -1;
    }
    FileCopySession session(from, to, state, flags);
    const CopyStep step = runCopy(session);
    if (step == CopyStep::Done || step == CopyStep::Skipped)
        return 0;
    errno = session.error;
    return -1;
}

} // namespace kelvane
