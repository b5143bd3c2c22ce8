// SPDX-License-Identifier: Apache-2.0
#include "ArtworkProbe.h"

#include "MarkSearch.h"

#include <kelvane/platform/detail/FileAccess.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace kelvane::detail {
namespace {

constexpr std::int64_t chunkSize = 5'000'000;
// Small enough to stay in the processor's cache between reading and searching. A mapping would save the copy, but a
// file that another program cuts short meanwhile would end this one.
constexpr std::size_t blockSize = std::size_t{128} << 10;
constexpr std::size_t overlap = markSize - 1;
constexpr std::size_t headerSize = 8;

/// Blocks are read to the start of a cache line, to which the system copies them fastest.
struct Buffer {
    static constexpr std::size_t line = 64;
    static_assert(overlap <= line);

    [[nodiscard]] char *block() { return bytes.data() + line; }

    alignas(line) std::array<char, line + blockSize> bytes; // in front of a block the end of the one before
};

/// Where from `offset` on there is something other than a hole; `length` where there is nothing more.
std::int64_t dataFrom(int descriptor, std::int64_t offset, std::int64_t length)
{
#ifdef SEEK_DATA
    const std::int64_t data = ::lseek(descriptor, offset, SEEK_DATA);
    return data >= 0 ? data : errno == ENXIO ? length : offset;
#else
    (void)descriptor;
    (void)length;
    return offset;
#endif
}

bool chunkHasMark(int descriptor, Buffer &buffer, std::int64_t start, std::string_view mark)
{
    std::size_t kept = 0; // of the block before: what lies across is found, too
    for (std::int64_t done = 0; done < chunkSize;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(chunkSize - done, blockSize));
        const auto block = std::as_writable_bytes(std::span(buffer.block(), wanted));
        const std::size_t got = readAt(descriptor, block, static_cast<std::uint64_t>(start + done));
        const char *const first = buffer.block() - kept;
        if (containsMark({first, kept + got}, mark))
            return true;
        if (got < wanted)
            return false;
        done += static_cast<std::int64_t>(got);
        kept = std::min(kept + got, overlap);
        std::memmove(buffer.block() - kept, buffer.block() + got - kept, kept);
    }
    return false;
}

} // namespace

bool hasArtworkMark(int descriptor)
{
    char header[headerSize] = {};
    (void)readAt(descriptor, std::as_writable_bytes(std::span(header)), 0);
    const auto headerHas = [&](std::string_view text) {
        return std::string_view(header, headerSize).find(text) != std::string_view::npos;
    };
    const std::string_view mark = headerHas("ID3") ? "APIC" : headerHas("ftyp") ? "covr" : "";
    if (mark.empty())
        return false;
    const std::int64_t length = ::lseek(descriptor, 0, SEEK_END);
    (void)::posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    const auto buffer = std::make_unique_for_overwrite<Buffer>();
    for (std::int64_t start = 0; start < length; start += chunkSize) {
        // Zeros hold no mark: chunks that are nothing but a hole are left out.
        start = dataFrom(descriptor, start, length) / chunkSize * chunkSize;
        if (chunkHasMark(descriptor, *buffer, start, mark))
            return true;
    }
    return false;
}

} // namespace kelvane::detail
