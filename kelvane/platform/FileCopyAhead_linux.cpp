// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopyAhead_p.h>
#include <kelvane/platform/FileCopyStaging_p.h>

#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/xattr.h>

namespace kelvane {

namespace {

// What is read and written in one step each. The system's own limit for an attribute is the same.
using Block = std::array<char, std::size_t{64} << 10>;

constexpr mode_t privateFile = 0600;
constexpr mode_t allBits = 07777;

bool isPlain(const struct stat &info, dev_t source)
{
    constexpr off_t blockUnit = 512;
    return S_ISREG(info.st_mode) && info.st_dev == source && info.st_nlink == 1 && info.st_size > 0
        && static_cast<std::size_t>(info.st_size) <= sizeof(Block) && info.st_blocks * blockUnit >= info.st_size;
}

// Whether a change from now on would show in the time of the last one: not within the same tick of the file system's
// clock. One that shows finer digits is the system's own, which ticks a hundred times a second at least; of the others
// the slowest ticks every two seconds.
bool isSettled(const timespec &changed)
{
    using namespace std::chrono;
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    const auto age = seconds(now.tv_sec - changed.tv_sec) + nanoseconds(now.tv_nsec - changed.tv_nsec);
    constexpr nanoseconds tick = milliseconds(10);
    return age > (changed.tv_nsec % tick.count() != 0 ? 2 * tick : seconds(2));
}

// All of them, or false: access control lists and what needs privileges have rules of their own.
bool prepareXattrs(int in, int out, Block &block, std::vector<std::string> &done)
{
    std::array<char, 1024> names;
    const ssize_t size = flistxattr(in, names.data(), names.size());
    if (size < 0)
        return errno == EOPNOTSUPP;
    for (const char *name = names.data(); name < names.data() + size; name += std::strlen(name) + 1) {
        if (!std::string_view(name).starts_with("user."))
            return false;
        const ssize_t length = fgetxattr(in, name, block.data(), block.size());
        if (length < 0 || fsetxattr(out, name, block.data(), static_cast<std::size_t>(length), 0) != 0)
            return false;
        done.emplace_back(name);
    }
    return true;
}

bool prepareData(int in, int out, off_t size, Block &block)
{
    return pread(in, block.data(), block.size(), 0) == size
        && pwrite(out, block.data(), static_cast<std::size_t>(size), 0) == size;
}

bool prepareStat(int out, const struct stat &info)
{
    const timespec times[] = {info.st_atim, info.st_mtim};
    struct stat made {};
    return fstat(out, &made) == 0
        && ((made.st_uid == info.st_uid && made.st_gid == info.st_gid) || fchown(out, info.st_uid, info.st_gid) == 0)
        && fchmod(out, info.st_mode & allBits) == 0 && futimens(out, times) == 0;
}

bool sameTime(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// Whether the name still leads to the file as it was before it was read.
bool isUntouched(const CopyPlace &place, const struct stat &then)
{
    struct stat now {};
    return fstatat(place.fromFolder, place.fromName, &now, AT_SYMLINK_NOFOLLOW) == 0 && now.st_dev == then.st_dev
        && now.st_ino == then.st_ino && now.st_size == then.st_size && now.st_mode == then.st_mode
        && sameTime(now.st_mtim, then.st_mtim) && sameTime(now.st_ctim, then.st_ctim);
}

// Takes an attribute away again, which the final mode may not allow.
int takeAway(const PreparedCopy &prepared, const std::string &name)
{
    const int out = prepared.out.get();
    return fchmod(out, privateFile) == 0 && fremovexattr(out, name.c_str()) == 0
            && fchmod(out, prepared.info.st_mode & allBits) == 0
        ? 0
        : errno;
}

// The conversation about attributes that are there already.
CopyStep tellXattrs(FileCopySession &session, const PreparedCopy &prepared)
{
    CopyStep step = CopyStep::Done;
    for (auto name = prepared.xattrs.begin(); name != prepared.xattrs.end() && step == CopyStep::Done; ++name) {
        session.setXattrName(*name);
        step = session.tell(COPYFILE_COPY_XATTR, COPYFILE_START);
        if (step == CopyStep::Done) {
            if (session.tell(COPYFILE_COPY_XATTR, COPYFILE_FINISH) == CopyStep::Stop)
                step = CopyStep::Stop;
        } else if (step == CopyStep::Skipped) {
            const int reason = takeAway(prepared, *name);
            step = reason == 0 ? CopyStep::Done : session.fail(reason);
        }
    }
    session.setXattrName(nullptr);
    return step;
}

} // namespace

std::optional<PreparedCopy> prepareCopy(int in, const char *name, int out, dev_t source)
{
    constexpr int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_NOFOLLOW;
    const FileDescriptor file(openat(in, name, flags));
    PreparedCopy copy;
    if (!file || fstat(file.get(), &copy.info) != 0 || !isPlain(copy.info, source) || !isSettled(copy.info.st_ctim))
        return std::nullopt;
    copy.out = FileDescriptor(openat(out, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, privateFile));
    Block block;
    if (!copy.out || !prepareXattrs(file.get(), copy.out.get(), block, copy.xattrs)
        || !prepareData(file.get(), copy.out.get(), copy.info.st_size, block)
        || !prepareStat(copy.out.get(), copy.info))
        return std::nullopt;
    return copy;
}

CopyStep copyPrepared(
    FileCopySession &session, const CopyPlace &place, PreparedCopy prepared, int linkRoot, std::size_t linkBase)
{
    if (!isUntouched(place, prepared.info))
        return copyFile(session, place, linkRoot, linkBase);
    if (const CopyStep step = tellXattrs(session, prepared); step != CopyStep::Done)
        return step;
    session.setCopied(prepared.info.st_size);
    if (const CopyStep step = session.tell(COPYFILE_COPY_DATA, COPYFILE_PROGRESS); step != CopyStep::Done)
        return step;
    StagedFile out(session, place.toFolder, place.toName, std::move(prepared.out));
    const int reason = out.publish();
    return reason == 0 ? CopyStep::Done : session.fail(reason);
}

} // namespace kelvane
