// SPDX-License-Identifier: Apache-2.0
#include "Id3v2Check.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace kelvane::detail {
namespace {

// Long audio books have some hundreds, side by side; here each counts as if it stood in the one before.
constexpr int maximumChapters = 1000;
// Deflated data grows by 1032 at most, which makes this 64 MiB.
constexpr std::size_t maximumCompressed = 65000;
constexpr std::size_t maximumFrames = 100000;
constexpr std::size_t frameHeader = 10;

struct Frame {
    std::size_t size;
    bool isCompressed;
};

Frame frameAt(std::string_view bytes, int version)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const int shift = version >= 4 ? 7 : 8;
    std::size_t size = 0;
    for (std::size_t i = 4; i < 8; ++i)
        size = size << shift | byte(i);
    return {size, (byte(9) & (version >= 4 ? 0x08 : 0x80)) != 0};
}

constexpr std::size_t nameSize = 4;

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
            if (!rest.starts_with("CHAP") && !rest.starts_with("CTOC"))
                continue;
            const bool isCompressed = rest.size() >= frameHeader && frameAt(rest, version).isCompressed;
            if (isCompressed || ++count > maximumChapters)
                return false;
        }
    }
    return true;
}

} // namespace

bool isSafeId3v2(const TagLib::ByteVector &header, const TagLib::ByteVector &body)
{
    const int version = header[3];
    std::string_view rest(body.data(), body.size());
    if (version < 3) // has neither chapters nor compression
        return true;
    if (!hasSafeChapters(rest, version))
        return false;
    std::size_t compressed = 0;
    std::size_t frames = 0;
    while (rest.size() > frameHeader && rest[0] != '\0') {
        const Frame frame = frameAt(rest, version);
        compressed += frame.isCompressed ? frame.size : 0;
        if (compressed > maximumCompressed || ++frames > maximumFrames)
            return false;
        rest.remove_prefix(std::min(rest.size(), frameHeader + frame.size));
    }
    return true;
}

} // namespace kelvane::detail
