// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopySession_p.h>

#include <kelvane/platform/detail/FileAccess.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <linux/fs.h>
#include <sys/ioctl.h>

namespace kelvane {

namespace {

// A failed write is tried this often in all when the callback says "continue". Trying for ever would spin on a full disk.
constexpr int writeAttempts = 3;

// Below this size the two system calls of a read and a write are faster than setting up a copy inside the kernel.
constexpr off_t smallFile = off_t{64} << 10;

// The kernel does not return before a block is copied, and nobody can cancel meanwhile. A block therefore grows only
// while one takes less than a quarter of the 50 ms that a person who cancels should wait at most.
constexpr std::size_t smallestBlock = std::size_t{64} << 10;
constexpr std::size_t firstBlock = std::size_t{256} << 10;
constexpr std::size_t largestBlock = std::size_t{16} << 20;
constexpr std::chrono::milliseconds quickBlock{12};
constexpr std::chrono::milliseconds slowBlock{25};

class DataCopy {
public:
    DataCopy(FileCopySession &session, int in, int out, off_t size)
        : _session(session),
          _in(in),
          _out(out),
          _size(size),
          _kernel(!session.kernelCopyRefused && size > smallFile)
    {
    }

    CopyStep range(off_t from, off_t end);
    CopyStep segments();
    CopyStep untilEnd();

private:
    CopyStep block(off_t &position, std::size_t count);
    CopyStep buffered(off_t &position, std::size_t count);
    CopyStep write(const char *bytes, std::size_t count, off_t position);
    CopyStep progress(off_t position);

    FileCopySession &_session;
    const int _in;
    const int _out;
    const off_t _size;
    bool _kernel;
    int _failedWrites = 0;
    std::size_t _block = firstBlock;
};

CopyStep DataCopy::progress(off_t position)
{
    _session.setCopied(position);
    return _session.tell(COPYFILE_COPY_DATA, COPYFILE_PROGRESS);
}

CopyStep DataCopy::write(const char *bytes, std::size_t count, off_t position)
{
    while (count > 0) {
        const ssize_t written = pwrite(_out, bytes, count, position);
        if (written > 0) {
            bytes += written;
            count -= static_cast<std::size_t>(written);
            position += written;
            continue;
        }
        const int reason = written == 0 ? EIO : errno;
        if (reason == EINTR)
            continue;
        const CopyStep answer = _session.tellError(COPYFILE_COPY_DATA, reason);
        if (answer == CopyStep::Stop)
            return answer;
        if (answer == CopyStep::Skipped || ++_failedWrites == writeAttempts)
            return _session.fail(reason);
    }
    return CopyStep::Done;
}

// Reads and writes up to `count` bytes and moves the position behind them; leaves it where the source ends.
CopyStep DataCopy::buffered(off_t &position, std::size_t count)
{
    char *const buffer = _session.buffer();
    const ssize_t got = detail::uninterrupted(
        [&] { return pread(_in, buffer, std::min(count, FileCopySession::bufferSize), position); });
    if (got < 0) {
        const int reason = errno;
        return _session.tellError(COPYFILE_COPY_DATA, reason) == CopyStep::Stop ? CopyStep::Stop
                                                                                : _session.fail(reason);
    }
    if (got == 0)
        return CopyStep::Done;
    const CopyStep step = write(buffer, static_cast<std::size_t>(got), position);
    if (step != CopyStep::Done)
        return step;
    position += got;
    return progress(position);
}

CopyStep DataCopy::block(off_t &position, std::size_t count)
{
    if (_kernel) {
        off_t source = position;
        off_t target = position;
        const ssize_t copied = copy_file_range(_in, &source, _out, &target, count, 0);
        if (copied > 0) {
            position += copied;
            return progress(position);
        }
        // Whatever the reason is, reading and writing finds out whose it is: the source's or the destination's.
        if (copied < 0 && errno != EINTR && errno != EIO && errno != ENOSPC && errno != EDQUOT && errno != EFBIG) {
            _kernel = false;
            _session.kernelCopyRefused = true;
        }
    }
    return buffered(position, count);
}

CopyStep DataCopy::range(off_t from, off_t end)
{
    using Clock = std::chrono::steady_clock;
    off_t position = from;
    while (position < end) {
        const off_t before = position;
        const auto begun = Clock::now();
        const auto count = static_cast<std::size_t>(std::min<off_t>(end - position, static_cast<off_t>(_block)));
        const CopyStep step = block(position, count);
        if (step != CopyStep::Done)
            return step;
        if (position == before) // the source has become shorter
            return _session.fail(EBUSY);
        const auto taken = Clock::now() - begun;
        if (taken < quickBlock)
            _block = std::min(_block * 2, largestBlock);
        else if (taken > slowBlock)
            _block = std::max(_block / 2, smallestBlock);
    }
    return CopyStep::Done;
}

// Goes from one stretch of data to the next, so that holes stay holes.
CopyStep DataCopy::segments()
{
    off_t end = 0;
    while (end < _size) {
        const off_t data = lseek(_in, end, SEEK_DATA);
        if (data < 0 && errno == ENXIO)
            break; // a hole up to the end
        if (data < 0)
            return range(end, _size); // no holes known here
        off_t hole = lseek(_in, data, SEEK_HOLE);
        if (hole < 0 || hole > _size)
            hole = _size;
        const CopyStep step = range(data, hole);
        if (step != CopyStep::Done)
            return step;
        end = std::max(hole, data + 1);
    }
    if (ftruncate(_out, _size) != 0) {
        const int reason = errno;
        return _session.tellError(COPYFILE_COPY_DATA, reason) == CopyStep::Stop ? CopyStep::Stop
                                                                                : _session.fail(reason);
    }
    _session.setCopied(_size);
    return CopyStep::Done;
}

// For files that do not know their size, as those that the system makes up while they are read.
CopyStep DataCopy::untilEnd()
{
    for (off_t position = 0;;) {
        const off_t before = position;
        const CopyStep step = buffered(position, FileCopySession::bufferSize);
        if (step != CopyStep::Done || position == before)
            return step;
    }
}

bool cloneFile(FileCopySession &session, int in, int out, const struct stat &info)
{
    if (session.cloningRefusedBy == info.st_dev)
        return false;
    if (ioctl(out, FICLONE, in) == 0)
        return true;
    if (errno == EOPNOTSUPP || errno == EXDEV || errno == ENOTTY || errno == ENOSYS)
        session.cloningRefusedBy = info.st_dev;
    return false;
}

} // namespace

CopyStep copyFileData(FileCopySession &session, int in, int out, const struct stat &info)
{
    session.setCopied(0);
    DataCopy copy(session, in, out, info.st_size);
    if (info.st_size == 0)
        return copy.untilEnd();
    if (cloneFile(session, in, out, info)) {
        session.setCopied(info.st_size);
        return CopyStep::Done;
    }
    // Fewer blocks than bytes mean holes (or compression, where looking for holes costs little).
    constexpr off_t blockUnit = 512;
    return info.st_blocks * blockUnit < info.st_size ? copy.segments() : copy.range(0, info.st_size);
}

} // namespace kelvane
