// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopyAttributes_p.h>

#include <kelvane/platform/ZenLogger.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <sys/xattr.h>

namespace kelvane {

namespace {

constexpr const char *accessAclName = "system.posix_acl_access";
constexpr const char *defaultAclName = "system.posix_acl_default";
constexpr const char *capabilityName = "security.capability";

// What is carried in another way: XFS shows root its access control lists a second time under this name.
bool isElsewhere(std::string_view name)
{
    return name.starts_with("system.") || name.starts_with("trusted.SGI_ACL_");
}

// The system's own limit for the list of names and for a value (XATTR_LIST_MAX, XATTR_SIZE_MAX). Both fit into the
// session's buffer, which nobody else uses meanwhile.
constexpr std::size_t xattrLimit = std::size_t{64} << 10;

bool needsPrivilege(std::string_view name)
{
    return name.starts_with("security.") || name.starts_with("trusted.");
}

// All names, each with its NUL. 0, or errno.
int listXattrs(int file, std::string &names)
{
    std::array<char, 1024> few;
    ssize_t size = flistxattr(file, few.data(), few.size());
    if (size >= 0) {
        names.assign(few.data(), static_cast<std::size_t>(size));
        return 0;
    }
    if (errno != ERANGE)
        return errno == EOPNOTSUPP ? 0 : errno;
    names.resize(xattrLimit);
    size = flistxattr(file, names.data(), names.size());
    names.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return size < 0 ? errno : 0;
}

} // namespace

CopyStep FileCopyAttributes::copyXattr(const char *name)
{
    _session.setXattrName(name);
    CopyStep step = _session.tell(COPYFILE_COPY_XATTR, COPYFILE_START);
    if (step == CopyStep::Done) {
        char *const value = _session.buffer();
        const ssize_t size = fgetxattr(_in, name, value, xattrLimit);
        if (size >= 0 && fsetxattr(_out, name, value, static_cast<std::size_t>(size), 0) == 0) {
            step = _session.tell(COPYFILE_COPY_XATTR, COPYFILE_FINISH);
        } else if (const int reason = errno; needsPrivilege(name) && (reason == EPERM || reason == EACCES)) {
            if (ZenLogger &logger = ZenLogger::defaultLogger(); logger.isDebugEnabled())
                logger.ZenLogDebug(
                    String::concat({"copy leaves out ", name, " of \"", _session.from, "\": needs privileges"}));
        } else if (reason != ENODATA) { // else somebody removed it meanwhile
            step = _session.reportFailure(COPYFILE_COPY_XATTR, reason);
        }
    }
    _session.setXattrName(nullptr);
    return step == CopyStep::Stop ? step : CopyStep::Done;
}

CopyStep FileCopyAttributes::copyXattrs()
{
    if (!_session.has(COPYFILE_XATTR | COPYFILE_ACL))
        return CopyStep::Done;
    std::string names;
    if (const int reason = listXattrs(_in, names); reason != 0)
        return _session.reportFailure(COPYFILE_COPY_XATTR, reason);
    for (const char *name = names.c_str(); name < names.c_str() + names.size(); name += std::strlen(name) + 1) {
        if (std::strcmp(name, accessAclName) == 0)
            _accessAcl = true;
        else if (std::strcmp(name, defaultAclName) == 0)
            _defaultAcl = true;
        else if (std::strcmp(name, capabilityName) == 0)
            _capability = _session.has(COPYFILE_XATTR);
        else if (_session.has(COPYFILE_XATTR) && !isElsewhere(name)) {
            if (copyXattr(name) == CopyStep::Stop)
                return CopyStep::Stop;
        }
    }
    return CopyStep::Done;
}

void FileCopyAttributes::dropInheritedAcl() const
{
    (void)fremovexattr(_out, accessAclName);
    (void)fremovexattr(_out, defaultAclName); // a file has none, and answers so
}

CopyStep FileCopyAttributes::copyAcl()
{
    if (_session.dropInheritedAcl)
        dropInheritedAcl();
    if (!_session.has(COPYFILE_ACL))
        return CopyStep::Done;
    if (_accessAcl && copyXattr(accessAclName) == CopyStep::Stop)
        return CopyStep::Stop;
    return _defaultAcl ? copyXattr(defaultAclName) : CopyStep::Done;
}

// Returns the mode that may be set then: a set-id bit speaks for an owner, and must not come to speak for another.
mode_t FileCopyAttributes::copyOwner(const struct stat &info)
{
    constexpr mode_t allBits = 07777;
    const mode_t mode = info.st_mode & allBits;
    // Asking is cheaper than setting what is there already, and most often it is.
    struct stat made {};
    if (fstat(_out, &made) == 0 && made.st_uid == info.st_uid && made.st_gid == info.st_gid)
        return mode;
    if (fchown(_out, info.st_uid, info.st_gid) == 0)
        return mode;
    if (made.st_gid != info.st_gid && fchown(_out, static_cast<uid_t>(-1), info.st_gid) == 0)
        made.st_gid = info.st_gid;
    const mode_t userBit = made.st_uid == info.st_uid ? 0 : S_ISUID;
    const mode_t groupBit = made.st_gid == info.st_gid ? 0 : S_ISGID;
    return mode & ~(userBit | groupBit);
}

CopyStep FileCopyAttributes::copyStat(const struct stat &info)
{
    mode_t mode = 0;
    if (_session.has(COPYFILE_STAT))
        mode = copyOwner(info);
    if (copyAcl() == CopyStep::Stop)
        return CopyStep::Stop;
    if (_session.has(COPYFILE_STAT) && fchmod(_out, mode) != 0 && errno != EPERM && errno != EOPNOTSUPP)
        return _session.fail(errno); // the two: a file system without modes
    if (_capability && copyXattr(capabilityName) == CopyStep::Stop)
        return CopyStep::Stop;
    const timespec times[] = {info.st_atim, info.st_mtim};
    if (_session.has(COPYFILE_STAT) && futimens(_out, times) != 0 && errno != EPERM && errno != EOPNOTSUPP)
        return _session.fail(errno);
    return CopyStep::Done;
}

} // namespace kelvane
