// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/Base64Codec.h>

#include <kelvane/platform/detail/LargePages.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

namespace kelvane::detail {

namespace {

/// White space, and the two bytes that white space becomes in some old encodings and in broken conversions.
constexpr bool isSkipped(unsigned char c) noexcept
{
    return (c >= 9 && c <= 13) || c == 32 || c == 160 || c == 255;
}

/// A text that is read from left to right up to its end or its first NUL. Looking for the NUL beforehand would touch a
/// long text twice.
struct Source {
    const unsigned char *next;
    const unsigned char *end;

    void skip() noexcept
    {
        while (!isAtEnd() && isSkipped(*next))
            ++next;
    }
    [[nodiscard]] bool isAtEnd() const noexcept { return next == end || *next == 0; }
};

/// Whether what follows the first "=" is right, where `position` characters of a group stand before it.
bool endsWell(Source &source, unsigned position) noexcept
{
    if (position < 2)
        return false;
    source.skip();
    if (position == 2) {
        if (source.isAtEnd() || *source.next != '=')
            return false;
        ++source.next;
        source.skip();
    }
    return source.isAtEnd();
}

/// Whether the blocks, which know the standard alphabet alone, can be used.
bool isStandard(const char *charset) noexcept
{
    return std::memcmp(charset, base64Charset, 64) == 0;
}
bool isStandard(const Base64ReverseTable &charset) noexcept
{
    return std::memcmp(charset.data(), base64Reverse.data(), base64Reverse.size()) == 0;
}

/// How many bytes a text gives if it is well-formed and all of its lines are as long as the first, as they mostly are.
std::size_t likelySize(const unsigned char *text, std::size_t length) noexcept
{
    while (length > 0 && isSkipped(text[length - 1]))
        --length;
    for (int padding = 0; padding < 2 && length > 0 && text[length - 1] == '='; ++padding)
        --length;
    if (length == 0)
        return 0;
    constexpr std::size_t longestLine = 1024;
    if (const void *lineFeed = std::memchr(text, '\n', std::min(length, longestLine))) {
        const auto lineSize = static_cast<std::size_t>(static_cast<const unsigned char *>(lineFeed) - text) + 1;
        const std::size_t breakSize = lineSize > 1 && text[lineSize - 2] == '\r' ? 2 : 1;
        length -= (length - 1) / lineSize * breakSize;
    }
    return length / 4 * 3 + length % 4 * 3 / 4;
}

} // namespace

std::size_t baseEncode(const std::uint8_t *srcBytes, std::size_t srcLen, char *destBytes, std::size_t destLen,
    const char *charset, bool padded, const Base64Blocks &blocks) noexcept
{
    if (!srcBytes || !destBytes || !charset || srcLen == 0)
        return 0;
    const std::size_t rest = srcLen % 3;
    const std::size_t restSize = rest == 0 ? 0 : padded ? 4 : rest + 1;
    if (destLen / 4 < srcLen / 3 || destLen - srcLen / 3 * 4 < restSize)
        return 0;
    char *out = destBytes;
    const std::uint8_t *in = srcBytes;
    const std::uint8_t *const end = in + (srcLen - rest);
    if (isStandard(charset)) {
        const auto [read, written] = blocks.encode(in, srcLen, out, destLen);
        in += read;
        out += written;
    }
    for (; in != end; in += 3, out += 4) {
        const std::uint32_t group = static_cast<std::uint32_t>(in[0] << 16 | in[1] << 8 | in[2]);
        out[0] = charset[group >> 18];
        out[1] = charset[group >> 12 & 63];
        out[2] = charset[group >> 6 & 63];
        out[3] = charset[group & 63];
    }
    if (rest > 0) {
        const std::uint32_t group = static_cast<std::uint32_t>(in[0] << 16 | (rest == 2 ? in[1] << 8 : 0));
        *out++ = charset[group >> 18];
        *out++ = charset[group >> 12 & 63];
        if (rest == 2)
            *out++ = charset[group >> 6 & 63];
        for (std::size_t i = rest; padded && i < 3; ++i)
            *out++ = '=';
    }
    return static_cast<std::size_t>(out - destBytes);
}

std::size_t baseDecode(const char *srcBytes, std::size_t srcLen, std::uint8_t *destBytes, std::size_t destLen,
    const Base64ReverseTable &charset, bool requirePadding, const Base64Blocks &blocks) noexcept
{
    if (!srcBytes || !destBytes || srcLen == 0)
        return 0;
    const auto *start = reinterpret_cast<const unsigned char *>(srcBytes);
    Source source{start, start + srcLen};
    const bool hasGroups = isStandard(charset);
    std::uint8_t *out = destBytes;
    const std::uint8_t *const outEnd = destBytes + destLen;
    std::uint32_t group = 0;
    unsigned position = 0;
    while (!source.isAtEnd()) {
        if (hasGroups && position == 0) {
            // Whole groups of clean characters, which nearly all of a text is.
            const auto [read, written] = blocks.decode(source.next, static_cast<std::size_t>(source.end - source.next),
                out, static_cast<std::size_t>(outEnd - out));
            source.next += read;
            out += written;
            if (source.isAtEnd())
                break;
        }
        const unsigned char byte = *source.next++;
        if (isSkipped(byte))
            continue;
        if (byte == '=') {
            if (!endsWell(source, position))
                return 0;
            requirePadding = false;
            break;
        }
        if (charset[byte] >= 64)
            return 0;
        group = group << 6 | charset[byte];
        if (++position == 4) {
            if (outEnd - out < 3)
                return 0;
            *out++ = static_cast<std::uint8_t>(group >> 16);
            *out++ = static_cast<std::uint8_t>(group >> 8);
            *out++ = static_cast<std::uint8_t>(group);
            position = 0;
            group = 0;
        }
    }
    if (position == 1 || (requirePadding && position != 0))
        return 0;
    // Two characters hold a byte and 4 bits, three hold two bytes and 2 bits; the bits left over are zero.
    const unsigned leftoverBits = position == 2 ? 4 : position == 3 ? 2 : 0;
    if (position != 0) {
        if ((group & ((1U << leftoverBits) - 1)) != 0 || outEnd - out < static_cast<std::ptrdiff_t>(position - 1))
            return 0;
        group >>= leftoverBits;
        if (position == 3)
            *out++ = static_cast<std::uint8_t>(group >> 8);
        *out++ = static_cast<std::uint8_t>(group);
    }
    return static_cast<std::size_t>(out - destBytes);
}

Data baseEncode(const void *bytes, std::size_t length, const char *charset, bool padded, const Base64Blocks &blocks)
{
    if (!bytes || length == 0 || length > std::numeric_limits<std::size_t>::max() / 2)
        return {};
    const std::size_t rest = length % 3;
    const std::size_t size = length / 3 * 4 + (rest == 0 ? 0 : padded ? 4 : rest + 1);
    return Data::create(size, [&](std::span<std::byte> out) {
        preferLargePages(out);
        static_cast<void>(baseEncode(static_cast<const std::uint8_t *>(bytes), length,
            reinterpret_cast<char *>(out.data()), out.size(), charset, padded, blocks));
    });
}

Data baseDecode(const void *bytes, std::size_t length, const Base64ReverseTable &charset, bool requirePadding,
    const Base64Blocks &blocks)
{
    if (!bytes || length == 0)
        return {};
    const auto decodeInto = [&](std::uint8_t *out, std::size_t room) {
        return baseDecode(static_cast<const char *>(bytes), length, out, room, charset, requirePadding, blocks);
    };
    // Straight to where they stay, if the guess is right: a copy of a long result would cost as much as decoding it.
    const std::size_t likely = likelySize(static_cast<const unsigned char *>(bytes), length);
    std::size_t size = 0;
    Data guessed = Data::create(likely, [&](std::span<std::byte> out) {
        preferLargePages(out);
        size = decodeInto(reinterpret_cast<std::uint8_t *>(out.data()), out.size());
    });
    if (size != 0)
        return size == likely ? guessed : Data(guessed.bytes().first(size));
    const std::size_t room = length / 4 * 3 + 3;
    const std::unique_ptr<std::uint8_t[]> buffer(new std::uint8_t[room]);
    size = decodeInto(buffer.get(), room);
    return size == 0 ? Data() : Data(buffer.get(), size);
}

} // namespace kelvane::detail
