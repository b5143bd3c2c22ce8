// SPDX-License-Identifier: Apache-2.0
#include "HevcStream.h"

namespace kelvane::decoder {
namespace {

using detail::fourCharacters;
using detail::HeifBox;
using detail::HeifBytes;
using detail::HeifReader;

constexpr std::size_t mostBytes = 128U << 20;

void append(std::vector<std::uint8_t> &units, HeifBytes unit)
{
    units.insert(units.end(), {0, 0, 0, 1});
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(unit.data());
    units.insert(units.end(), bytes, bytes + unit.size());
}

// Takes the parameter sets out of the item's configuration. The number of bytes of the picture's lengths, 0 on failure.
std::size_t appendParameterSets(std::vector<std::uint8_t> &units, HeifBytes configuration)
{
    constexpr std::size_t lengthSizeOffset = 21;
    HeifReader reader(configuration);
    reader.take(lengthSizeOffset);
    const std::size_t lengthSize = (reader.byte() & 3U) + 1;
    for (int arrays = reader.byte(); arrays > 0 && !reader.isFailed(); --arrays) {
        reader.byte();
        for (int count = reader.half(); count > 0 && !reader.isFailed(); --count)
            append(units, reader.take(reader.half()));
    }
    return reader.isFailed() ? 0 : lengthSize;
}

bool appendPicture(std::vector<std::uint8_t> &units, HeifBytes picture, std::size_t lengthSize)
{
    HeifReader reader(picture);
    while (!reader.isAtEnd())
        append(units, reader.take(reader.number(lengthSize)));
    return !reader.isFailed();
}

std::optional<detail::HeifColour> colourOf(HeifBytes body)
{
    HeifReader reader(body);
    if (reader.word() != fourCharacters("nclx"))
        return std::nullopt;
    detail::HeifColour colour;
    colour.primaries = reader.half();
    colour.transfer = reader.half();
    colour.matrix = reader.half();
    colour.isFullRange = (reader.byte() & 0x80) != 0;
    return reader.isFailed() ? std::nullopt : std::optional(colour);
}

} // namespace

std::optional<HevcStream> readHevcStream(const detail::HeifItems &items, std::uint32_t item)
{
    HevcStream stream;
    std::size_t lengthSize = 0;
    for (const HeifBox &box : items.propertiesOf(item)) {
        if (box.type == fourCharacters("hvcC") && lengthSize == 0)
            lengthSize = appendParameterSets(stream.units, box.body);
        else if (box.type == fourCharacters("colr") && !stream.colour)
            stream.colour = colourOf(box.body);
    }
    if (lengthSize == 0)
        return std::nullopt;
    const std::vector<std::byte> picture = items.contentOf(item, mostBytes);
    stream.units.reserve(stream.units.size() + picture.size() + 64); // and what the decoder pads it with
    if (picture.empty() || !appendPicture(stream.units, picture, lengthSize))
        return std::nullopt;
    return stream;
}

ItemSize sizeOf(const detail::HeifItems &items, std::uint32_t item)
{
    for (const HeifBox &box : items.propertiesOf(item)) {
        HeifReader reader(box.body);
        reader.word();
        const ItemSize size{reader.word(), reader.word()};
        if (box.type == fourCharacters("ispe") && !reader.isFailed())
            return size;
    }
    return {};
}

} // namespace kelvane::decoder
