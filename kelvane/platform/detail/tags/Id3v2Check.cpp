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

/// Chapters may hide in one another at any depth, so their names are looked for everywhere.
bool hasSafeChapters(std::string_view body, int version)
{
    int count = 0;
    for (const std::string_view name : {"CHAP", "CTOC"}) {
        for (auto at = body.find(name); at != std::string_view::npos; at = body.find(name, at + 1)) {
            const bool isCompressed = body.size() - at >= frameHeader && frameAt(body.substr(at), version).isCompressed;
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
