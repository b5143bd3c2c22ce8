// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopyAttributes_p.h>
#include <kelvane/platform/FileCopyStaging_p.h>

#include <cerrno>
#include <climits>
#include <fcntl.h>

namespace kelvane {

namespace {

bool sameTime(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// One more name for an entry that is already there. False if it is not, or cannot have another name: then it is copied.
bool linkToFirst(FileCopySession &session, const CopyPlace &place, int linkRoot, const struct stat &info)
{
    if (linkRoot < 0 || info.st_nlink < 2)
        return false;
    const auto first = session.hardLinks.find({info.st_dev, info.st_ino});
    return first != session.hardLinks.end()
        && linkat(linkRoot, first->second.c_str(), place.toFolder, place.toName, 0) == 0;
}

void rememberFirst(FileCopySession &session, int linkRoot, std::size_t linkBase, const struct stat &info)
{
    if (linkRoot >= 0 && info.st_nlink > 1)
        session.hardLinks.insert_or_assign({info.st_dev, info.st_ino}, session.to.substr(linkBase));
}

CopyStep fillStaged(FileCopySession &session, int in, StagedFile &out, const struct stat &info)
{
    FileCopyAttributes attributes(session, in, out.file());
    CopyStep step = attributes.copyXattrs();
    if (step == CopyStep::Done)
        step = copyFileData(session, in, out.file(), info);
    if (step == CopyStep::Done)
        step = attributes.copyStat(info);
    if (step != CopyStep::Done)
        return step;
    // A copy of a file that somebody wrote to meanwhile holds some of the old and some of the new.
    struct stat now {};
    if (fstat(in, &now) != 0)
        return session.fail(errno);
    if (now.st_size != info.st_size || !sameTime(now.st_mtim, info.st_mtim))
        return session.fail(EBUSY);
    if (!session.synchronise())
        return CopyStep::Done;
    if (fsync(out.file()) != 0)
        return session.fail(errno);
    // What is safe on the disk needs no memory. The next file takes its pages, which are at hand and warm; without that, a
    // large run takes new ones for everything it copies, and drives what other programs keep there out.
    (void)posix_fadvise(out.file(), 0, 0, POSIX_FADV_DONTNEED);
    return CopyStep::Done;
}

// Makes the link under a hidden name first where an existing entry is to be replaced.
int makeLink(FileCopySession &session, const CopyPlace &place, const char *target, std::string &name)
{
    name = session.has(COPYFILE_EXCL) ? std::string(place.toName) : hiddenCopyName();
    return symlinkat(target, place.toFolder, name.c_str()) == 0 ? 0 : errno;
}

} // namespace

CopyStep copyFile(FileCopySession &session, const CopyPlace &place, int linkRoot, std::size_t linkBase)
{
    // Not blocking, because what was a file when the folder was listed may be a FIFO by now.
    const int follow = linkRoot >= 0 || session.has(COPYFILE_NOFOLLOW_SRC) ? O_NOFOLLOW : 0;
    const FileDescriptor in(
        openat(place.fromFolder, place.fromName, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | follow));
    struct stat info {};
    if (!in || fstat(in.get(), &info) != 0)
        return session.fail(errno);
    if (!S_ISREG(info.st_mode))
        return session.fail(ENOTSUP);
    if (linkToFirst(session, place, linkRoot, info))
        return CopyStep::Done;

    StagedFile out(session, place.toFolder, place.toName);
    if (const int reason = out.open(); reason != 0)
        return session.fail(reason);
    if (const CopyStep step = fillStaged(session, in.get(), out, info); step != CopyStep::Done)
        return step;
    if (const int reason = out.publish(); reason != 0)
        return session.fail(reason);
    rememberFirst(session, linkRoot, linkBase, info);
    return CopyStep::Done;
}

CopyStep copyLink(FileCopySession &session, const CopyPlace &place, int linkRoot, std::size_t linkBase)
{
    struct stat info {};
    if (fstatat(place.fromFolder, place.fromName, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return session.fail(errno);
    std::string target(PATH_MAX, '\0');
    const ssize_t size = readlinkat(place.fromFolder, place.fromName, target.data(), target.size());
    if (size < 0)
        return session.fail(errno);
    target.resize(static_cast<std::size_t>(size));
    if (linkToFirst(session, place, linkRoot, info))
        return CopyStep::Done;

    std::string name;
    if (const int reason = makeLink(session, place, target.c_str(), name); reason != 0)
        return session.fail(reason);
    if (session.has(COPYFILE_STAT)) {
        // Refused where links have neither: the link itself is what matters.
        (void)!fchownat(place.toFolder, name.c_str(), info.st_uid, info.st_gid, AT_SYMLINK_NOFOLLOW);
        const timespec times[] = {info.st_atim, info.st_mtim};
        (void)!utimensat(place.toFolder, name.c_str(), times, AT_SYMLINK_NOFOLLOW);
    }
    if (name != place.toName && renameat(place.toFolder, name.c_str(), place.toFolder, place.toName) != 0) {
        const int reason = errno;
        unlinkat(place.toFolder, name.c_str(), 0);
        return session.fail(reason);
    }
    rememberFirst(session, linkRoot, linkBase, info);
    return CopyStep::Done;
}

} // namespace kelvane
