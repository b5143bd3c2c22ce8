// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/Base64Codec.h>

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

/// A text that is read from left to right up to its end or its first NUL.
struct Source {
    const unsigned char *next;
    const unsigned char *end;

    void skip() noexcept
    {
        while (next != end && isSkipped(*next))
            ++next;
    }
    [[nodiscard]] bool isAtEnd() const noexcept { return next == end; }
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

} // namespace

std::size_t baseEncode(const std::uint8_t *srcBytes, std::size_t srcLen, char *destBytes, std::size_t destLen,
    const char *charset, bool padded) noexcept
{
    if (!srcBytes || !destBytes || !charset || srcLen == 0)
        return 0;
    const std::size_t rest = srcLen % 3;
    const std::size_t restSize = rest == 0 ? 0 : padded ? 4 : rest + 1;
    if (destLen / 4 < srcLen / 3 || destLen - srcLen / 3 * 4 < restSize)
        return 0;
    char *out = destBytes;
    const std::uint8_t *in = srcBytes;
    for (const std::uint8_t *end = in + (srcLen - rest); in != end; in += 3, out += 4) {
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
    const Base64ReverseTable &charset, bool requirePadding) noexcept
{
    if (!srcBytes || !destBytes || srcLen == 0)
        return 0;
    const auto *start = reinterpret_cast<const unsigned char *>(srcBytes);
    const void *nul = std::memchr(start, 0, srcLen);
    Source source{start, nul ? static_cast<const unsigned char *>(nul) : start + srcLen};
    std::uint8_t *out = destBytes;
    const std::uint8_t *const outEnd = destBytes + destLen;
    std::uint32_t group = 0;
    unsigned position = 0;
    while (!source.isAtEnd()) {
        // Groups of four clean characters, which nearly all of them are.
        while (position == 0 && source.end - source.next >= 4 && outEnd - out >= 3) {
            const std::uint32_t a = charset[source.next[0]];
            const std::uint32_t b = charset[source.next[1]];
            const std::uint32_t c = charset[source.next[2]];
            const std::uint32_t d = charset[source.next[3]];
            if ((a | b | c | d) >= 64)
                break;
            out[0] = static_cast<std::uint8_t>(a << 2 | b >> 4);
            out[1] = static_cast<std::uint8_t>(b << 4 | c >> 2);
            out[2] = static_cast<std::uint8_t>(c << 6 | d);
            source.next += 4;
            out += 3;
        }
        if (source.isAtEnd())
            break;
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

Data baseEncode(const void *bytes, std::size_t length, const char *charset, bool padded)
{
    if (!bytes || length == 0 || length > std::numeric_limits<std::size_t>::max() / 2)
        return {};
    const std::size_t rest = length % 3;
    const std::size_t size = length / 3 * 4 + (rest == 0 ? 0 : padded ? 4 : rest + 1);
    return Data::create(size, [&](std::span<std::byte> out) {
        static_cast<void>(baseEncode(static_cast<const std::uint8_t *>(bytes), length,
            reinterpret_cast<char *>(out.data()), out.size(), charset, padded));
    });
}

Data baseDecode(const void *bytes, std::size_t length, const Base64ReverseTable &charset, bool requirePadding)
{
    if (!bytes || length == 0)
        return {};
    const std::size_t room = length / 4 * 3 + 3;
    const std::unique_ptr<std::uint8_t[]> buffer(new std::uint8_t[room]);
    const std::size_t size =
        baseDecode(static_cast<const char *>(bytes), length, buffer.get(), room, charset, requirePadding);
    return size == 0 ? Data() : Data(buffer.get(), size);
}

} // namespace kelvane::detail
