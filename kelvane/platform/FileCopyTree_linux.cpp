// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopyAhead_p.h>
#include <kelvane/platform/FileCopyAttributes_p.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <vector>

namespace kelvane {

namespace {

constexpr int openFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t unfinishedFolder = 0700;

// A walk keeps two files open for each level and a frame on the stack. From the first depth on the folders above are
// closed and opened again by their "..", from the second on a folder fails.
constexpr int closingDepth = 64;
constexpr int deepest = 2048;

// A folder whose links are still to be made; `path` is relative to the root, empty for the root itself.
struct LinkFolder {
    std::string path;
    std::vector<std::string> names;
};

// An open pair of folders and what tells them from others.
struct Folder {
    FileDescriptor in;
    FileDescriptor out;
    struct stat inInfo {};
    struct stat outInfo {};
};

bool sameEntry(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The type of an entry whose folder does not tell it; unknown if the entry is gone by now.
unsigned char typeOf(int folder, const char *name)
{
    struct stat info {};
    return fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) == 0 ? static_cast<unsigned char>(IFTODT(info.st_mode))
                                                                  : static_cast<unsigned char>(DT_UNKNOWN);
}

// The entries in the order in which they lie on the disk. 0, or errno with those that could be read.
int listFolder(int folder, std::vector<CopyEntry> &entries)
{
    const int own = fcntl(folder, F_DUPFD_CLOEXEC, 0);
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(own < 0 ? nullptr : fdopendir(own), closedir);
    if (!listing) {
        const int reason = errno;
        if (own >= 0)
            close(own);
        return reason;
    }
    errno = 0;
    while (const dirent *const entry = readdir(listing.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            entries.push_back({entry->d_name, entry->d_ino,
                entry->d_type == DT_UNKNOWN ? typeOf(folder, entry->d_name) : entry->d_type});
        errno = 0;
    }
    const int reason = errno;
    std::sort(entries.begin(), entries.end(), [](const CopyEntry &a, const CopyEntry &b) { return a.inode < b.inode; });
    return reason;
}

// Opens `path` below `root` name by name, so that neither a link nor the length of a path gets in the way.
FileDescriptor openBelow(int root, const std::string &path)
{
    FileDescriptor folder(openat(root, ".", openFolder));
    for (std::size_t at = 0; folder && at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        folder = FileDescriptor(openat(folder.get(), path.substr(at, end - at).c_str(), openFolder));
        at = end + 1;
    }
    return folder;
}

class TreeCopy {
public:
    explicit TreeCopy(FileCopySession &session) : _session(session), _base(session.to.size() + 1), _ahead(session) {}

    CopyStep run(const CopyPlace &place);

private:
    CopyStep copyFolder(const CopyPlace &place, Folder *above, int depth);
    CopyStep openFolders(const CopyPlace &place, Folder &folder, int depth);
    CopyStep copyContent(Folder &folder, int depth);
    CopyStep copyEntries(Folder &folder, const std::vector<CopyEntry> &entries, LinkFolder &links, int depth);
    CopyStep copyEntry(Folder &folder, const CopyEntry &entry, std::optional<PreparedCopy> prepared, int depth);
    CopyStep cleanUp(const Folder &folder);
    CopyStep copyLinks();
    CopyStep copyLinksOf(const LinkFolder &links);
    [[nodiscard]] int putBack(int folder, const struct stat &made, bool hasMode) const;
    bool closeAbove(const Folder &folder, Folder &above);
    CopyStep reopenAbove(const Folder &folder, Folder &above);

    FileCopySession &_session;
    const std::size_t _base; // where the relative path begins in the session's paths of the destination
    Folder _root;
    std::vector<LinkFolder> _links;
    FileCopyAhead _ahead;
};

CopyStep TreeCopy::run(const CopyPlace &place)
{
    const CopyStep step = copyFolder(place, nullptr, 0);
    return step == CopyStep::Done ? copyLinks() : step;
}

CopyStep TreeCopy::openFolders(const CopyPlace &place, Folder &folder, int depth)
{
    if (depth > deepest)
        return _session.fail(ENAMETOOLONG);
    const bool follow = depth == 0 && !_session.has(COPYFILE_NOFOLLOW_SRC);
    folder.in =
        FileDescriptor(openat(place.fromFolder, place.fromName, follow ? openFolder & ~O_NOFOLLOW : openFolder));
    if (!folder.in || fstat(folder.in.get(), &folder.inInfo) != 0)
        return _session.fail(errno);
    // The destination can come up inside the source by a mount that the check at the start did not see.
    if (depth > 0 && sameEntry(folder.inInfo, _root.outInfo))
        return _session.fail(EINVAL);
    if (mkdirat(place.toFolder, place.toName, unfinishedFolder) != 0
        && (errno != EEXIST || _session.has(COPYFILE_EXCL)))
        return _session.fail(errno);
    folder.out = FileDescriptor(openat(place.toFolder, place.toName, openFolder));
    if (!folder.out || fstat(folder.out.get(), &folder.outInfo) != 0)
        return _session.fail(errno);
    return CopyStep::Done;
}

bool TreeCopy::closeAbove(const Folder &folder, Folder &above)
{
    // Only if the way back is open: a folder that may be listed but not entered has no "..".
    if (faccessat(folder.in.get(), "..", F_OK, 0) != 0 || faccessat(folder.out.get(), "..", F_OK, 0) != 0)
        return false;
    above.in.close();
    above.out.close();
    return true;
}

CopyStep TreeCopy::reopenAbove(const Folder &folder, Folder &above)
{
    above.in = FileDescriptor(openat(folder.in.get(), "..", openFolder));
    above.out = FileDescriptor(openat(folder.out.get(), "..", openFolder));
    struct stat in {};
    struct stat out {};
    if (above.in && above.out && fstat(above.in.get(), &in) == 0 && fstat(above.out.get(), &out) == 0
        && sameEntry(in, above.inInfo) && sameEntry(out, above.outInfo))
        return CopyStep::Done;
    _session.error = ESTALE; // somebody moved the folder that we are in
    return CopyStep::Stop;
}

CopyStep TreeCopy::copyFolder(const CopyPlace &place, Folder *above, int depth)
{
    CopyStep step = _session.tell(COPYFILE_RECURSE_DIR, COPYFILE_START);
    if (step != CopyStep::Done)
        return step;
    Folder own;
    Folder &folder = depth == 0 ? _root : own;
    step = _session.finishEntry(COPYFILE_RECURSE_DIR, openFolders(place, folder, depth));
    if (step != CopyStep::Done)
        return step;
    if (depth == 0 && _session.dropInheritedAcl) {
        // What is made below must not inherit what the source does not have.
        FileCopyAttributes(_session, folder.in.get(), folder.out.get()).dropInheritedAcl();
        _session.dropInheritedAcl = !_session.has(COPYFILE_EXCL);
    }
    if (depth == 0 && !_session.has(COPYFILE_RECURSIVE))
        return cleanUp(folder);

    const bool closed = above && depth >= closingDepth && closeAbove(folder, *above);
    step = copyContent(folder, depth);
    if (step == CopyStep::Stop)
        return step;
    if (closed && reopenAbove(folder, *above) == CopyStep::Stop)
        return CopyStep::Stop;
    // The folder is there; what its clean-up failed to do has been reported.
    return cleanUp(folder) == CopyStep::Stop ? CopyStep::Stop : CopyStep::Done;
}

CopyStep TreeCopy::copyContent(Folder &folder, int depth)
{
    std::vector<CopyEntry> entries;
    const int unreadable = listFolder(folder.in.get(), entries);
    LinkFolder links{_session.to.size() < _base ? std::string() : _session.to.substr(_base), {}};
    if (copyEntries(folder, entries, links, depth) == CopyStep::Stop)
        return CopyStep::Stop;
    if (!links.names.empty())
        _links.push_back(std::move(links));
    if (unreadable != 0)
        return _session.reportFailure(COPYFILE_RECURSE_DIR, unreadable);
    return CopyStep::Done;
}

CopyStep TreeCopy::copyEntries(Folder &folder, const std::vector<CopyEntry> &entries, LinkFolder &links, int depth)
{
    // So deep that a folder below closes this one, nothing is copied ahead, which needs it open.
    std::optional<FileCopyAhead::Folder> ahead;
    if (depth + 1 < closingDepth)
        ahead.emplace(_ahead, folder.in.get(), folder.out.get(), folder.inInfo.st_dev, entries);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::optional<PreparedCopy> prepared = ahead ? ahead->take(i) : std::nullopt;
        if (entries[i].type == DT_LNK)
            links.names.push_back(entries[i].name);
        else if (copyEntry(folder, entries[i], std::move(prepared), depth) == CopyStep::Stop)
            return CopyStep::Stop;
    }
    return CopyStep::Done;
}

CopyStep TreeCopy::copyEntry(Folder &folder, const CopyEntry &entry, std::optional<PreparedCopy> prepared, int depth)
{
    const CopyPathStep path(_session, entry.name.c_str());
    const CopyPlace place{folder.in.get(), entry.name.c_str(), folder.out.get(), entry.name.c_str()};
    if (entry.type == DT_DIR)
        return copyFolder(place, &folder, depth + 1);
    CopyStep step = _session.tell(COPYFILE_RECURSE_FILE, COPYFILE_START);
    if (step != CopyStep::Done)
        return step;
    if (prepared)
        step = copyPrepared(_session, place, std::move(*prepared), _root.out.get(), _base);
    else if (entry.type == DT_REG || entry.type == DT_UNKNOWN)
        // An unknown type is that of an entry that is gone by now: opening it says so.
        step = copyFile(_session, place, _root.out.get(), _base);
    else
        step = _session.fail(ENOTSUP);
    return _session.finishEntry(COPYFILE_RECURSE_FILE, step);
}

CopyStep TreeCopy::cleanUp(const Folder &folder)
{
    CopyStep step = _session.tell(COPYFILE_RECURSE_DIR_CLEANUP, COPYFILE_START);
    if (step != CopyStep::Done)
        return step == CopyStep::Skipped ? CopyStep::Done : step;
    FileCopyAttributes attributes(_session, folder.in.get(), folder.out.get());
    step = attributes.copyXattrs();
    if (step == CopyStep::Done)
        step = attributes.copyStat(folder.inInfo);
    if (step == CopyStep::Done && _session.synchronise() && fsync(folder.out.get()) != 0)
        step = _session.fail(errno);
    return _session.finishEntry(COPYFILE_RECURSE_DIR_CLEANUP, step);
}

// The second pass. Folders are finished by now and stay as they are: mode and times are put back after the links.
CopyStep TreeCopy::copyLinks()
{
    for (const LinkFolder &links : _links) {
        const std::size_t fromSize = _session.from.size();
        const std::size_t toSize = _session.to.size();
        if (!links.path.empty()) {
            _session.from.append(1, '/').append(links.path);
            _session.to.append(1, '/').append(links.path);
        }
        const CopyStep step = copyLinksOf(links);
        _session.from.resize(fromSize);
        _session.to.resize(toSize);
        if (step == CopyStep::Stop)
            return step;
    }
    return CopyStep::Done;
}

CopyStep TreeCopy::copyLinksOf(const LinkFolder &links)
{
    const FileDescriptor in = openBelow(_root.in.get(), links.path);
    const FileDescriptor out = in ? openBelow(_root.out.get(), links.path) : FileDescriptor();
    struct stat made {};
    const int missing = !out || fstat(out.get(), &made) != 0 ? errno : 0;
    const bool writable = missing != 0 || faccessat(out.get(), ".", W_OK, AT_EACCESS) == 0;
    if (!writable)
        (void)fchmod(out.get(), made.st_mode | unfinishedFolder); // if it fails the links say so
    CopyStep step = CopyStep::Done;
    for (const std::string &name : links.names) {
        const CopyPathStep path(_session, name.c_str());
        step = _session.tell(COPYFILE_RECURSE_FILE, COPYFILE_START);
        if (step == CopyStep::Done) {
            const CopyPlace place{in.get(), name.c_str(), out.get(), name.c_str()};
            step = _session.finishEntry(COPYFILE_RECURSE_FILE,
                missing != 0 ? _session.fail(missing) : copyLink(_session, place, _root.out.get(), _base));
        }
        if (step == CopyStep::Stop)
            break;
    }
    if (missing != 0)
        return step;
    const int reason = putBack(out.get(), made, writable);
    return reason == 0 || step == CopyStep::Stop ? step : _session.reportFailure(COPYFILE_RECURSE_DIR_CLEANUP, reason);
}

// Gives a folder the mode and times that it had before its links were made. 0, or errno.
int TreeCopy::putBack(int folder, const struct stat &made, bool hasMode) const
{
    constexpr mode_t allBits = 07777;
    const timespec times[] = {made.st_atim, made.st_mtim};
    const bool isAsItWas = (hasMode || fchmod(folder, made.st_mode & allBits) == 0)
        && (futimens(folder, times) == 0 || errno == EPERM || errno == EOPNOTSUPP)
        && (!_session.synchronise() || fsync(folder) == 0);
    return isAsItWas ? 0 : errno;
}

} // namespace

CopyStep copyTree(FileCopySession &session, const CopyPlace &place)
{
    return TreeCopy(session).run(place);
}

} // namespace kelvane
