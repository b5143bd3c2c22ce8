// SPDX-License-Identifier: Apache-2.0
#include "Mp4Atoms.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace kelvane::detail {
namespace {

// Real files nest about ten deep; a long fragmented film has tens of thousands of atoms.
constexpr std::size_t maximumDepth = 64;
constexpr int maximumAtoms = 500000;
constexpr unsigned long maximumSampleEntry = 4096;

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

/// Whether a table of places in the file, whose atom begins with `header`, is as long as it says.
bool holdsItsOffsets(std::string_view name, const TagLib::ByteVector &header, std::uint64_t length)
{
    constexpr std::uint64_t fixedFields = 16;
    const std::uint64_t size = name == "stco" ? 4 : 8;
    return length >= fixedFields && bigEndian32(header, 12) <= (length - fixedFields) / size;
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

int aacChannels(const TagLib::ByteVector &mp4a)
{
    constexpr std::uint64_t parametricStereo = 29;
    constexpr std::uint64_t explicitRate = 15;
    const int esds = mp4a.find("esds");
    if (esds < 0)
        return 0;
    // Descriptors inside each other: stream (3) and its fixed fields, decoder (4) and its, configuration (5).
    unsigned int at = static_cast<unsigned int>(esds) + 8;
    for (const auto &[tag, fixedFields] : {std::pair{3, 3U}, {4, 13U}, {5, 0U}}) {
        if (at + 1 >= mp4a.size() || mp4a[static_cast<int>(at)] != tag)
            return 0;
        do // the length, seven bits a byte
            ++at;
        while (at < mp4a.size() && (mp4a[static_cast<int>(at)] & 0x80) != 0);
        at += 1 + fixedFields;
    }
    if (at + 8 > mp4a.size())
        return 0;
    const auto bits = static_cast<std::uint64_t>(mp4a.toLongLong(at, true));
    const std::uint64_t objectType = bits >> 59;
    const bool hasExplicitRate = (bits >> 55 & 15) == explicitRate;
    const std::uint64_t configuration = bits >> (hasExplicitRate ? 27 : 51) & 15;
    if (objectType == parametricStereo)
        return 2;
    return configuration == 7 ? 8 : configuration < 7 ? static_cast<int>(configuration) : 0;
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
            if (name == "stco" || name == "co64")
                layout.hasTrueOffsets = layout.hasTrueOffsets && holdsItsOffsets(name, header, length);
            if (name == "mp4a" && layout.channels == 0) {
                stream.seek(at, TagStream::Beginning);
                layout.channels = aacChannels(stream.readBlock(std::min<unsigned long>(length, maximumSampleEntry)));
            }
            at = end;
            continue;
        }
        const std::string_view path = step(levels.empty() ? "" : levels.back().path, name, levels.empty());
        levels.push_back({end, path});
        at += headerSize;
        if (path.ends_with("ilst") && layout.itemsOffset == 0) {
            layout.itemsOffset = at;
            layout.itemsAtom = at - headerSize;
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
