// SPDX-License-Identifier: Apache-2.0
#include "Id3v2Check.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelvane::detail {
namespace {

// Long audio books have some hundreds, side by side; here each counts as if it stood in the one before.
constexpr int maximumChapters = 1000;
// Deflated data grows by 1032 at most, which makes this 64 MiB.
constexpr std::size_t maximumCompressed = 65000;
constexpr std::size_t maximumFrames = 100000;
constexpr std::size_t frameHeader = 10;

constexpr std::size_t nameSize = 4;
constexpr int unsynchronised = 0x80;
constexpr int hasExtendedHeader = 0x40;

std::size_t byteAt(std::string_view bytes, std::size_t i)
{
    return static_cast<unsigned char>(bytes[i]);
}

std::size_t number(std::string_view bytes, int bitsPerByte)
{
    std::size_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << bitsPerByte | byteAt(bytes, i);
    return value;
}

/// Seven bits a byte. The library takes one that uses the eighth for a plain number, which some programs write.
std::size_t synchSafe(std::string_view bytes)
{
    const bool isPlain = std::any_of(bytes.begin(), bytes.begin() + 4, [](char c) { return (c & 0x80) != 0; });
    return number(bytes, isPlain ? 8 : 7);
}

bool isName(std::string_view bytes)
{
    return bytes.size() >= nameSize && std::all_of(bytes.begin(), bytes.begin() + nameSize, [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    });
}

bool isNameBehind(std::string_view bytes, std::size_t size)
{
    return bytes.size() > frameHeader + size && isName(bytes.substr(frameHeader + size));
}

bool isCompressed(std::string_view frame, int version)
{
    return (byteAt(frame, 9) & (version >= 4 ? 0x08U : 0x80U)) != 0;
}

/// The size of a frame's body, as the library counts it.
std::size_t sizeOfFrame(std::string_view frame, int version)
{
    const std::size_t plain = number(frame.substr(4), 8);
    if (version < 4)
        return plain;
    const std::size_t size = synchSafe(frame.substr(4));
    // Some programs write the sizes of the version before; the name of the next frame tells.
    return size > 127 && !isNameBehind(frame, size) && isNameBehind(frame, plain) ? plain : size;
}

bool isChapter(std::string_view bytes)
{
    return bytes.starts_with("CHAP") || bytes.starts_with("CTOC");
}

/// Whether "CHAP" or "CTOC" may begin among the first `count` of `bytes`, of which there are three more. Does without
/// branches, so that the compiler looks at many bytes at once: most of what is searched is a picture.
bool mayNameChapter(const char *bytes, std::size_t count)
{
    unsigned char found = 0;
    for (std::size_t i = 0; i < count; ++i)
        found |= static_cast<unsigned char>((bytes[i] == 'C') & ((bytes[i + 1] == 'H') | (bytes[i + 1] == 'T'))
            & ((bytes[i + 3] == 'P') | (bytes[i + 3] == 'C')));
    return found != 0;
}

/// Chapters may hide in one another at any depth, so their names are looked for everywhere.
bool hasSafeChapters(std::string_view body, int version)
{
    constexpr std::size_t step = 4096;
    int count = 0;
    for (std::size_t start = 0; start + nameSize <= body.size(); start += step) {
        const std::size_t positions = std::min(step, body.size() - start - nameSize + 1);
        if (!mayNameChapter(body.data() + start, positions))
            continue;
        for (std::size_t at = start; at < start + positions; ++at) {
            const std::string_view rest = body.substr(at);
            if (!isChapter(rest))
                continue;
            if ((rest.size() >= frameHeader && isCompressed(rest, version)) || ++count > maximumChapters)
                return false;
        }
    }
    return true;
}

/// Without the zeroes that keep a tag of version 3 from looking like sound.
std::string resynchronised(std::string_view body)
{
    std::string bytes;
    bytes.reserve(body.size());
    while (!body.empty()) {
        const std::size_t end = std::min(body.find('\xff'), body.size() - 1) + 1;
        const bool isMark = body[end - 1] == '\xff' && end < body.size() && body[end] == '\0';
        bytes.append(body.substr(0, end));
        body.remove_prefix(end + (isMark ? 1 : 0));
    }
    return bytes;
}

bool hasSafeFrames(std::string_view body, int version, int flags)
{
    std::string_view rest = body;
    if ((flags & hasExtendedHeader) != 0 && rest.size() > frameHeader)
        if (const std::size_t size = synchSafe(rest); size <= rest.size())
            rest.remove_prefix(size);
    std::size_t compressed = 0;
    std::size_t frames = 0;
    // Frames are walked over: most of a tag is a picture, and searching it would take as long as reading it does.
    bool mayHideChapters = false;
    while (rest.size() > frameHeader && rest[0] != '\0') {
        const std::size_t size = sizeOfFrame(rest, version);
        mayHideChapters = mayHideChapters || !isName(rest) || size > rest.size() - frameHeader || isChapter(rest);
        compressed += isCompressed(rest, version) ? size : 0;
        if (compressed > maximumCompressed || ++frames > maximumFrames)
            return false;
        rest.remove_prefix(std::min(rest.size(), frameHeader + size));
    }
    return !mayHideChapters || hasSafeChapters(body, version);
}

} // namespace

bool isSafeId3v2(const TagLib::ByteVector &header, const TagLib::ByteVector &body)
{
    const int version = static_cast<unsigned char>(header[3]);
    const std::string_view bytes(body.data(), body.size());
    if (version < 3) // has neither chapters nor compression
        return true;
    const bool isWholeUnsynchronised = version == 3 && (header[5] & unsynchronised) != 0;
    return isWholeUnsynchronised ? hasSafeFrames(resynchronised(bytes), version, header[5])
                                 : hasSafeFrames(bytes, version, header[5]);
}

} // namespace kelvane::detail
