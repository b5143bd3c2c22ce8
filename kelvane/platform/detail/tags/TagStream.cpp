// SPDX-License-Identifier: Apache-2.0
#include "TagStream.h"

#include <kelvane/platform/detail/FileAccess.h>

#include "Id3v2Check.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::detail {
namespace {

constexpr std::size_t cacheCapacity = 16384;
constexpr long moveChunk = 1L << 20;

} // namespace

TagStream::TagStream(FileDescriptor descriptor, bool writable) : _descriptor(std::move(descriptor)), _writable(writable)
{
    struct stat status = {};
    if (::fstat(_descriptor.get(), &status) == 0)
        _length = static_cast<long>(status.st_size);
}

TagLib::ByteVector TagStream::readBlock(unsigned long length)
{
    const auto rest = static_cast<unsigned long>(std::max(_length - _position, 0L));
    const std::uint64_t count = std::min(length, rest);
    _charged += count > smallBlock ? count : std::max<std::uint64_t>(count, 8) * smallBlockFactor;
    if (count > maximumBlock || _charged > maximumTotal) {
        _incomplete = true;
        return {};
    }
    if (count == 0)
        return {};
    TagLib::ByteVector block(static_cast<unsigned int>(count));
    const std::size_t got = readAt(_position, block.data(), count);
    if (got < count)
        block.resize(static_cast<unsigned int>(got));
    hideAtomIn(block, _position);
    _position += static_cast<long>(got);
    if (!_id3Header.isEmpty() && !isSafeId3v2(_id3Header, block)) {
        _incomplete = true;
        block.clear();
    }
    _id3Header = block.size() == 10 && block.startsWith("ID3") ? block : TagLib::ByteVector();
    return block;
}

void TagStream::hideAtomIn(TagLib::ByteVector &block, long blockStart) const
{
    constexpr std::string_view passedBy = "free";
    const long name = _hiddenAtom + 4 - blockStart;
    if (_hiddenAtom >= 0 && name >= 0 && name + static_cast<long>(passedBy.size()) <= static_cast<long>(block.size()))
        std::memcpy(block.data() + name, passedBy.data(), passedBy.size());
}

std::size_t TagStream::readAt(long offset, char *bytes, std::size_t count)
{
    std::size_t done = 0;
    while (done < count) {
        const long at = offset + static_cast<long>(done);
        if (at >= _cacheStart && at < _cacheStart + static_cast<long>(_cacheSize)) {
            const auto skip = static_cast<std::size_t>(at - _cacheStart);
            const std::size_t part = std::min(count - done, _cacheSize - skip);
            std::memcpy(bytes + done, _cache.data() + skip, part);
            done += part;
            continue;
        }
        const bool isLarge = count - done >= cacheCapacity;
        if (!isLarge)
            _cache.resize(cacheCapacity);
        const ssize_t got = uninterrupted([&] {
            return isLarge ? ::pread(_descriptor.get(), bytes + done, count - done, at)
                           : ::pread(_descriptor.get(), _cache.data(), cacheCapacity, at);
        });
        if (got <= 0)
            break;
        if (isLarge) {
            done += static_cast<std::size_t>(got);
        } else {
            _cacheStart = at;
            _cacheSize = static_cast<std::size_t>(got);
        }
    }
    return done;
}

void TagStream::writeBlock(const TagLib::ByteVector &data)
{
    // Thrown, because the library does not ask whether a write went well, and would go on.
    if (++_writes > mostWrites + static_cast<std::uint64_t>(_length) / bytesPerWrite)
        throw std::runtime_error("a table of offsets is damaged");
    writeAt(_position, data.data(), data.size());
    _position += static_cast<long>(data.size());
}

void TagStream::writeAt(long offset, const char *bytes, std::size_t count)
{
    _cacheSize = 0;
    if (!_writable)
        _writeError = EROFS;
    while (count > 0 && _writeError == 0) {
        const ssize_t written = uninterrupted([&] { return ::pwrite(_descriptor.get(), bytes, count, offset); });
        if (written <= 0) {
            _writeError = written < 0 ? errno : EIO;
            return;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
        offset += written;
        _length = std::max(_length, offset);
    }
}

void TagStream::moveBytes(long from, long to, long count)
{
    // The ranges overlap, so the end that the move would overwrite first goes first.
    std::vector<char> chunk(static_cast<std::size_t>(std::min(count, moveChunk)));
    for (long done = 0; done < count && _writeError == 0;) {
        const long part = std::min(count - done, moveChunk);
        const long at = to > from ? count - done - part : done;
        const std::size_t got = readAt(from + at, chunk.data(), static_cast<std::size_t>(part));
        if (got < static_cast<std::size_t>(part)) {
            _writeError = EIO;
            return;
        }
        writeAt(to + at, chunk.data(), got);
        done += part;
    }
}

void TagStream::insert(const TagLib::ByteVector &data, unsigned long start, unsigned long replace)
{
    const long begin = std::min(static_cast<long>(start), _length);
    const long end = begin + std::min(static_cast<long>(replace), _length - begin);
    const long newEnd = begin + static_cast<long>(data.size());
    const long tail = _length - end;
    if (newEnd != end)
        moveBytes(end, newEnd, tail);
    writeAt(begin, data.data(), data.size());
    if (newEnd < end)
        truncate(newEnd + tail);
    _position = newEnd;
}

void TagStream::removeBlock(unsigned long start, unsigned long length)
{
    insert({}, start, length);
}

void TagStream::truncate(long length)
{
    _cacheSize = 0;
    if (_writeError != 0)
        return;
    if (!_writable || ::ftruncate(_descriptor.get(), length) != 0)
        _writeError = _writable ? errno : EROFS;
    else
        _length = length;
}

void TagStream::seek(long offset, Position position)
{
    const long base = position == Beginning ? 0 : position == Current ? _position : _length;
    // A damaged file can ask for any offset; behind the end there is nothing to read wherever that is.
    if (__builtin_add_overflow(base, offset, &_position) || _position < 0)
        _position = offset < 0 ? 0 : _length;
}

} // namespace kelvane::detail
