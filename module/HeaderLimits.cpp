// SPDX-License-Identifier: Apache-2.0
#include "HeaderLimits.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

namespace kelvane::module {
namespace {

// About two days of AAC, or a day of film with its sound.
constexpr std::int64_t maxSamples = 8'000'000;
constexpr int maxBoxes = 200'000;
constexpr int maxDepth = 10;

std::uint32_t bigEndian(const unsigned char *bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16
        | static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

std::uint32_t littleEndian(const unsigned char *bytes)
{
    return static_cast<std::uint32_t>(bytes[3]) << 24 | static_cast<std::uint32_t>(bytes[2]) << 16
        | static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[0];
}

/// Adds up the samples that the boxes of an MP4 file announce.
class Mp4Samples {
public:
    explicit Mp4Samples(SourceFile &file) : _file(file) {}

    bool areReasonable() { return walk(0, _file.size(), 0) && _samples <= maxSamples; }

private:
    static bool isContainer(std::string_view type)
    {
        constexpr std::string_view containers[] = {"moov", "trak", "mdia", "minf", "stbl", "moof", "traf"};
        return std::find(std::begin(containers), std::end(containers), type) != std::end(containers);
    }

    bool walk(std::int64_t at, std::int64_t end, int depth)
    {
        if (depth > maxDepth)
            return false;
        while (end - at >= 8) {
            std::array<unsigned char, 16> header{};
            if (++_boxes > maxBoxes || _file.read(at, header.data(), header.size()) < 8)
                return _boxes <= maxBoxes;
            std::uint64_t size = bigEndian(header.data());
            std::int64_t headerSize = 8;
            if (size == 1) {
                size = std::uint64_t{bigEndian(&header[8])} << 32 | bigEndian(&header[12]);
                headerSize = 16;
            }
            // 0 means up to the end; so is understood what points behind it.
            const bool isRest = size == 0 || size > static_cast<std::uint64_t>(end - at);
            const std::int64_t boxEnd = isRest ? end : at + static_cast<std::int64_t>(size);
            if (boxEnd < at + headerSize)
                return true; // what follows cannot be found by anybody
            const std::string_view type(reinterpret_cast<const char *>(&header[4]), 4);
            if (!look(type, at + headerSize, boxEnd, depth))
                return false;
            at = boxEnd;
        }
        return true;
    }

    bool look(std::string_view type, std::int64_t at, std::int64_t end, int depth)
    {
        if (isContainer(type))
            return walk(at, end, depth + 1) && chunksAreReasonable(type);
        if (type == "stsz" || type == "stz2")
            _samples += numberAt(at + 8);
        else if (type == "trun")
            _samples += numberAt(at + 4);
        else if (type == "stco" || type == "co64")
            _chunks = numberAt(at + 4);
        else if (type == "stsc")
            _samplesPerChunk = longestChunk(at, end);
        return _samples <= maxSamples;
    }

    // Sound without compression gets an entry for about a thousand samples of each chunk.
    bool chunksAreReasonable(std::string_view type)
    {
        if (type == "stbl")
            _samples += std::min<std::int64_t>(_samplesPerChunk / 1024 * _chunks, maxSamples + 1);
        return _samples <= maxSamples;
    }

    std::int64_t longestChunk(std::int64_t at, std::int64_t end)
    {
        const std::int64_t count = std::min<std::int64_t>(numberAt(at + 4), (end - at - 8) / 12);
        if (count <= 0)
            return 0;
        std::vector<unsigned char> entries(static_cast<std::size_t>(std::min(count, maxSamples)) * 12);
        const std::size_t taken = _file.read(at + 8, entries.data(), entries.size());
        std::uint32_t longest = 0;
        for (std::size_t i = 0; i + 12 <= taken; i += 12)
            longest = std::max(longest, bigEndian(&entries[i + 4]));
        return longest;
    }

    std::int64_t numberAt(std::int64_t at)
    {
        std::array<unsigned char, 4> bytes{};
        return _file.read(at, bytes.data(), bytes.size()) == bytes.size() ? bigEndian(bytes.data()) : 0;
    }

    SourceFile &_file;
    std::int64_t _samples = 0;
    std::int64_t _chunks = 0;
    std::int64_t _samplesPerChunk = 0;
    int _boxes = 0;
};

// Every frame of this format has an entry of four bytes in a table of the file.
bool areApeFramesReasonable(SourceFile &file)
{
    constexpr std::uint16_t versionWithDescriptor = 3980;
    std::array<unsigned char, 76> head{};
    const std::size_t taken = file.read(0, head.data(), head.size());
    const unsigned version = head[4] | static_cast<unsigned>(head[5]) << 8;
    const std::int64_t framesAt = version >= versionWithDescriptor ? littleEndian(&head[8]) + std::int64_t{12} : 24;
    std::array<unsigned char, 4> frames{};
    return taken == head.size() && file.read(framesAt, frames.data(), frames.size()) == frames.size()
        && littleEndian(frames.data()) <= file.size() / 4;
}

} // namespace

bool areTablesReasonable(SourceFile &file, std::string_view demuxer)
{
    if (demuxer.starts_with("mov"))
        return Mp4Samples(file).areReasonable();
    return demuxer != "ape" || areApeFramesReasonable(file);
}

} // namespace kelvane::module
