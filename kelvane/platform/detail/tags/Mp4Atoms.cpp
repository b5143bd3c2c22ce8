// SPDX-License-Identifier: Apache-2.0
#include "Mp4Atoms.h"

#include <algorithm>
#include <string_view>

namespace kelvane::detail {
namespace {

// Real files nest about ten deep; a long fragmented film has tens of thousands of atoms.
constexpr std::size_t maximumDepth = 64;
constexpr int maximumAtoms = 500000;

// Those that the tag library goes down into.
constexpr std::string_view containers[] = {
    "moov", "udta", "mdia", "meta", "ilst", "stbl", "minf", "moof", "traf", "trak", "stsd"};

bool isContainer(std::string_view name)
{
    return std::find(std::begin(containers), std::end(containers), name) != std::end(containers);
}

/// Old files have a plain `meta`, newer ones a version and flags in front of its children.
bool metaHasFlags(const TagLib::ByteVector &start)
{
    const std::string_view first(start.data(), start.size());
    return first.size() < 8 || (first.substr(4, 4) != "hdlr" && first.substr(4, 4) != "ilst");
}

struct Level {
    long end;
    std::string_view path; // how much of moov/udta/meta/ilst leads here
};

/// The path one atom further down, empty off the way to the tags.
std::string_view step(std::string_view path, std::string_view name, bool isTop)
{
    constexpr std::string_view way = "moov/udta/meta/ilst";
    if (path.empty() && !isTop)
        return {};
    const std::size_t start = path.empty() ? 0 : path.size() + 1;
    return start < way.size() && way.substr(start, 4) == name ? way.substr(0, start + 4) : std::string_view();
}

} // namespace

std::uint32_t bigEndian32(const TagLib::ByteVector &bytes, unsigned int offset)
{
    return offset + 4 <= bytes.size() ? bytes.toUInt(offset, true) : 0;
}

Mp4Layout scanMp4(TagStream &stream)
{
    Mp4Layout layout;
    std::vector<Level> levels;
    const long size = stream.length();
    long at = 0;
    for (int atoms = 0; at + 8 <= size && layout.isSane; ++atoms) {
        layout.isSane = atoms < maximumAtoms;
        while (!levels.empty() && at >= levels.back().end)
            levels.pop_back();
        stream.seek(at, TagStream::Beginning);
        const TagLib::ByteVector header = stream.readBlock(16);
        if (header.size() < 8)
            return layout;
        const std::string_view name(header.data() + 4, 4);
        std::uint64_t length = bigEndian32(header, 0);
        long headerSize = 8;
        if (length == 1 && header.size() == 16) {
            length = static_cast<std::uint64_t>(header.toLongLong(8U, true));
            headerSize = 16;
        } else if (length == 0) {
            length = static_cast<std::uint64_t>(size - at);
        }
        if (length < static_cast<std::uint64_t>(headerSize) || length > static_cast<std::uint64_t>(size - at))
            return layout;
        const long end = at + static_cast<long>(length);
        if (!isContainer(name)) {
            at = end;
            continue;
        }
        const std::string_view path = step(levels.empty() ? "" : levels.back().path, name, levels.empty());
        levels.push_back({end, path});
        at += headerSize;
        if (path.ends_with("ilst") && layout.itemsOffset == 0) {
            layout.itemsOffset = at;
            layout.itemsSize = end - at;
        }
        if (name == "meta") {
            stream.seek(at, TagStream::Beginning);
            at += metaHasFlags(stream.readBlock(8)) ? 4 : 0;
        } else if (name == "stsd") {
            at += 8;
        }
        layout.isSane = levels.size() <= maximumDepth;
    }
    return layout;
}

} // namespace kelvane::detail
