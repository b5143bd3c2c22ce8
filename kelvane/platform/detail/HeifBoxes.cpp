// SPDX-License-Identifier: Apache-2.0
#include "HeifBoxes.h"

#include <algorithm>
#include <utility>

namespace kelvane::detail {
namespace {

constexpr std::size_t mostProperties = 64; // of one item
constexpr std::size_t highestProperty = 0x7fff; // that an association can name
// A picture's metadata lie in one piece; a file that cuts them into thousands wants to keep somebody busy.
constexpr std::uint32_t mostExtents = 1024;

struct VersionAndFlags {
    std::uint8_t version;
    std::uint32_t flags;
};

VersionAndFlags versionAndFlags(HeifReader &reader) noexcept
{
    const std::uint32_t word = reader.word();
    return {static_cast<std::uint8_t>(word >> 24), word & 0xffffff};
}

// The first box of a type counts: a second one is none of the format's.
void keepFirst(HeifBytes &kept, HeifBytes body) noexcept
{
    if (kept.empty())
        kept = body;
}

// What an item's entry in "iloc" says: where its bytes are, in extents of numbers of these sizes.
struct Location {
    unsigned int method = 0; // 0 the file, 1 the "idat" box, 2 another item
    std::uint64_t base = 0;
    std::uint32_t extents = 0;
    std::size_t indexSize = 0;
    std::size_t offsetSize = 0;
    std::size_t lengthSize = 0;
    HeifBytes entries;
};

std::optional<Location> findLocation(HeifBytes locations, std::uint32_t item) noexcept
{
    HeifReader reader(locations);
    const std::uint8_t version = versionAndFlags(reader).version;
    const std::uint16_t sizes = reader.half();
    Location location;
    location.offsetSize = sizes >> 12;
    location.lengthSize = sizes >> 8 & 15;
    location.indexSize = version > 0 ? sizes & 15 : 0;
    const std::size_t baseSize = sizes >> 4 & 15;
    if (std::max({location.offsetSize, location.lengthSize, location.indexSize, baseSize}) > 8)
        return std::nullopt;
    const std::size_t entrySize = location.indexSize + location.offsetSize + location.lengthSize;
    for (std::uint32_t left = reader.item(version >= 2); left > 0 && !reader.isFailed(); --left) {
        const std::uint32_t found = reader.item(version >= 2);
        location.method = version > 0 ? reader.half() & 15 : 0;
        const std::uint16_t otherFile = reader.half();
        location.base = reader.number(baseSize);
        location.extents = reader.half();
        location.entries = reader.take(location.extents * entrySize);
        if (found == item)
            return reader.isFailed() || otherFile != 0 ? std::nullopt : std::optional(location);
    }
    return std::nullopt;
}

// An item's entry ends with its name and its content type, each with a NUL behind it.
bool hasContentType(HeifBytes rest, std::string_view contentType) noexcept
{
    const std::string_view texts(reinterpret_cast<const char *>(rest.data()), rest.size());
    const std::size_t name = texts.find('\0');
    return name != std::string_view::npos && texts.substr(name + 1).starts_with(contentType);
}

} // namespace

HeifBytes HeifReader::take(std::uint64_t count) noexcept
{
    if (_isFailed || count > _rest.size()) {
        _isFailed = true;
        return {};
    }
    const HeifBytes taken = _rest.first(static_cast<std::size_t>(count));
    _rest = _rest.subspan(taken.size());
    return taken;
}

std::uint64_t HeifReader::number(std::size_t bytes) noexcept
{
    std::uint64_t value = 0;
    for (const std::byte byte : take(bytes))
        value = value << 8 | static_cast<std::uint64_t>(byte);
    return value;
}

std::optional<HeifBox> nextHeifBox(HeifReader &reader) noexcept
{
    constexpr std::uint64_t toTheEnd = 0;
    constexpr std::uint64_t longSize = 1;
    if (reader.isAtEnd())
        return std::nullopt;
    std::uint64_t size = reader.word();
    HeifBox box;
    box.type = reader.word();
    std::uint64_t headerSize = 8;
    if (size == longSize) {
        size = reader.number(8);
        headerSize = 16;
    }
    if (size == toTheEnd)
        size = headerSize + reader.rest().size();
    if (reader.isFailed() || size < headerSize)
        return std::nullopt;
    box.body = reader.take(size - headerSize);
    return reader.isFailed() ? std::nullopt : std::optional(box);
}

HeifItems::HeifItems(HeifBytes meta, ReadFile readFile) : _readFile(std::move(readFile))
{
    HeifReader reader(meta);
    reader.word();
    while (const auto box = nextHeifBox(reader)) {
        if (box->type == fourCharacters("pitm")) {
            HeifReader body(box->body);
            const bool isLong = versionAndFlags(body).version > 0;
            _primary = body.item(isLong);
        } else if (box->type == fourCharacters("iinf"))
            keepFirst(_infos, box->body);
        else if (box->type == fourCharacters("iloc"))
            keepFirst(_locations, box->body);
        else if (box->type == fourCharacters("iref"))
            keepFirst(_references, box->body);
        else if (box->type == fourCharacters("idat"))
            keepFirst(_data, box->body);
        else if (box->type == fourCharacters("iprp")) {
            HeifReader body(box->body);
            while (const auto part = nextHeifBox(body)) {
                if (part->type == fourCharacters("ipco"))
                    keepFirst(_properties, part->body);
                else if (part->type == fourCharacters("ipma"))
                    keepFirst(_associations, part->body);
            }
        }
    }
}

// Calls `visit(item, type, rest of the entry)` until it answers false.
void HeifItems::visitItems(const std::function<bool(std::uint32_t, std::uint32_t, HeifBytes)> &visit) const
{
    HeifReader reader(_infos);
    reader.number(versionAndFlags(reader).version == 0 ? 2 : 4);
    while (const auto box = nextHeifBox(reader)) {
        HeifReader entry(box->body);
        const std::uint8_t version = versionAndFlags(entry).version;
        if (box->type != fourCharacters("infe") || version < 2)
            continue;
        const std::uint32_t item = entry.item(version > 2);
        entry.half();
        const std::uint32_t type = entry.word();
        if (!entry.isFailed() && !visit(item, type, entry.rest()))
            return;
    }
}

std::uint32_t HeifItems::typeOf(std::uint32_t item) const noexcept
{
    std::uint32_t found = 0;
    visitItems([&](std::uint32_t candidate, std::uint32_t type, HeifBytes) {
        if (candidate == item)
            found = type;
        return found == 0;
    });
    return found;
}

std::vector<std::uint32_t> HeifItems::itemsOfType(
    std::uint32_t type, std::size_t limit, std::string_view contentType) const
{
    std::vector<std::uint32_t> items;
    visitItems([&](std::uint32_t item, std::uint32_t candidate, HeifBytes rest) {
        if (candidate == type && (contentType.empty() || hasContentType(rest, contentType)))
            items.push_back(item);
        return items.size() < limit;
    });
    return items;
}

std::vector<std::size_t> HeifItems::propertyNumbersOf(std::uint32_t item) const
{
    HeifReader reader(_associations);
    const auto [version, flags] = versionAndFlags(reader);
    const std::size_t size = flags & 1 ? 2 : 1;
    std::vector<std::size_t> numbers;
    for (std::uint32_t left = reader.word(); left > 0 && !reader.isFailed(); --left) {
        const std::uint32_t found = reader.item(version > 0);
        const std::uint8_t count = reader.byte();
        HeifReader entries(reader.take(count * size));
        if (found != item)
            continue;
        while (!entries.isAtEnd() && numbers.size() < mostProperties)
            numbers.push_back(static_cast<std::size_t>(entries.number(size)) & (size == 2 ? 0x7fff : 0x7f));
        return numbers;
    }
    return numbers;
}

std::vector<HeifBox> HeifItems::propertiesOf(std::uint32_t item) const
{
    const std::vector<std::size_t> numbers = propertyNumbersOf(item);
    std::vector<HeifBox> found(numbers.size());
    HeifReader reader(_properties);
    for (std::size_t number = 1; number <= highestProperty; ++number) {
        const auto box = nextHeifBox(reader);
        if (!box)
            break;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            if (numbers[i] == number)
                found[i] = *box;
    }
    std::erase_if(found, [](const HeifBox &box) { return box.type == 0; });
    return found;
}

// Calls `visit(from, reader at the list of targets, whether numbers are long)` until it answers false.
void HeifItems::visitReferences(
    std::uint32_t type, const std::function<bool(std::uint32_t, HeifReader &, bool)> &visit) const
{
    HeifReader reader(_references);
    const bool isLong = versionAndFlags(reader).version > 0;
    while (const auto box = nextHeifBox(reader)) {
        if (box->type != type)
            continue;
        HeifReader body(box->body);
        const std::uint32_t from = body.item(isLong);
        body.half();
        if (!body.isFailed() && !visit(from, body, isLong))
            return;
    }
}

std::vector<std::uint32_t> HeifItems::referencesTo(std::uint32_t target, std::uint32_t type, std::size_t limit) const
{
    std::vector<std::uint32_t> items;
    visitReferences(type, [&](std::uint32_t from, HeifReader &targets, bool isLong) {
        while (!targets.isAtEnd())
            if (targets.item(isLong) == target && !targets.isFailed()) {
                items.push_back(from);
                break;
            }
        return items.size() < limit;
    });
    return items;
}

std::vector<std::uint32_t> HeifItems::referencesOf(std::uint32_t item, std::uint32_t type) const
{
    std::vector<std::uint32_t> items;
    visitReferences(type, [&](std::uint32_t from, HeifReader &targets, bool isLong) {
        if (from != item)
            return true;
        while (!targets.isAtEnd()) {
            const std::uint32_t target = targets.item(isLong);
            if (!targets.isFailed())
                items.push_back(target);
        }
        return false;
    });
    return items;
}

std::vector<std::byte> HeifItems::contentOf(std::uint32_t item, std::size_t limit) const
{
    constexpr unsigned int inData = 1;
    const auto location = findLocation(_locations, item);
    if (!location || location->method > inData || location->extents > mostExtents)
        return {};
    std::vector<std::byte> content;
    HeifReader entries(location->entries);
    for (std::uint32_t i = 0; i < location->extents; ++i) {
        entries.number(location->indexSize);
        const std::uint64_t offset = entries.number(location->offsetSize);
        const std::uint64_t length = entries.number(location->lengthSize);
        if (length > limit - content.size() || offset > UINT64_MAX - location->base)
            return {};
        const std::uint64_t start = location->base + offset;
        if (location->method == inData) {
            HeifReader data(_data);
            data.take(start);
            const HeifBytes part = data.take(length);
            content.insert(content.end(), part.begin(), part.end());
            if (data.isFailed())
                return {};
        } else {
            const std::vector<std::byte> part = _readFile(start, length);
            if (part.size() < length)
                return {};
            content.insert(content.end(), part.begin(), part.end());
        }
    }
    return content;
}

} // namespace kelvane::detail
