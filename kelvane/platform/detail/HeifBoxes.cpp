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

// How long the numbers of "iloc" are.
struct LocationSizes {
    std::uint8_t version = 0;
    std::size_t offset = 0;
    std::size_t length = 0;
    std::size_t base = 0;
    std::size_t index = 0;

    [[nodiscard]] bool isPossible() const noexcept { return std::max({offset, length, base, index}) <= 8; }
};

LocationSizes locationSizes(HeifReader &reader) noexcept
{
    LocationSizes sizes;
    sizes.version = versionAndFlags(reader).version;
    const std::uint16_t bits = reader.half();
    sizes.offset = bits >> 12;
    sizes.length = bits >> 8 & 15;
    sizes.base = bits >> 4 & 15;
    sizes.index = sizes.version > 0 ? bits & 15 : 0;
    return sizes;
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

// What an item's entry in "iloc" says: where its bytes are, in extents of numbers of these sizes.
struct HeifItems::Location {
    Location(HeifReader &reader, const LocationSizes &numberSizes) noexcept : sizes(numberSizes)
    {
        item = reader.item(sizes.version >= 2);
        method = sizes.version > 0 ? reader.half() & 15 : 0;
        isInOtherFile = reader.half() != 0;
        base = reader.number(sizes.base);
        extents = reader.half();
        entries = reader.take(extents * (sizes.index + sizes.offset + sizes.length));
    }

    // Offset and length of the next extent.
    static std::pair<std::uint64_t, std::uint64_t> nextExtent(HeifReader &reader, const LocationSizes &sizes) noexcept
    {
        reader.number(sizes.index);
        const std::uint64_t offset = reader.number(sizes.offset);
        return {offset, reader.number(sizes.length)};
    }

    LocationSizes sizes;
    std::uint32_t item = 0;
    unsigned int method = 0; // 0 the file, 1 the "idat" box, 2 another item
    bool isInOtherFile = false;
    std::uint64_t base = 0;
    std::uint32_t extents = 0;
    HeifBytes entries;
};

HeifItems::HeifItems(HeifBytes meta, ReadFile readFile, std::uint64_t fileSize)
    : _readFile(std::move(readFile)),
      _fileSize(fileSize)
{
    HeifBytes properties;
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
                    keepFirst(properties, part->body);
                else if (part->type == fourCharacters("ipma"))
                    keepFirst(_associations, part->body);
            }
        }
    }
    for (HeifReader boxes(properties); _properties.size() < highestProperty;) {
        const auto box = nextHeifBox(boxes);
        if (!box)
            break;
        _properties.push_back(*box);
    }
    indexTypes();
    indexLocations();
    indexProperties();
}

const HeifItems::Entry *HeifItems::find(const Index &index, std::uint32_t item) noexcept
{
    const auto found = std::lower_bound(
        index.begin(), index.end(), item, [](const Entry &entry, std::uint32_t wanted) { return entry.item < wanted; });
    return found != index.end() && found->item == item ? &*found : nullptr;
}

// Of several entries of one item the first counts.
void HeifItems::sort(Index &index)
{
    std::stable_sort(index.begin(), index.end(), [](const Entry &a, const Entry &b) { return a.item < b.item; });
}

void HeifItems::indexTypes()
{
    visitItems([this](std::uint32_t item, std::uint32_t type, HeifBytes) {
        _typeIndex.push_back({item, type});
        return true;
    });
    sort(_typeIndex);
}

void HeifItems::indexLocations()
{
    HeifReader reader(_locations);
    const LocationSizes sizes = locationSizes(reader);
    if (!sizes.isPossible())
        return;
    for (std::uint32_t left = reader.item(sizes.version >= 2); left > 0; --left) {
        const auto offset = static_cast<std::uint32_t>(_locations.size() - reader.rest().size());
        const Location location(reader, sizes);
        if (reader.isFailed())
            break;
        _locationIndex.push_back({location.item, offset});
    }
    sort(_locationIndex);
}

void HeifItems::indexProperties()
{
    HeifReader reader(_associations);
    const auto [version, flags] = versionAndFlags(reader);
    const std::size_t size = flags & 1 ? 2 : 1;
    for (std::uint32_t left = reader.word(); left > 0; --left) {
        const std::uint32_t item = reader.item(version > 0);
        const auto offset = static_cast<std::uint32_t>(_associations.size() - reader.rest().size());
        reader.take(reader.byte() * size);
        if (reader.isFailed())
            break;
        _associationIndex.push_back({item, offset});
    }
    sort(_associationIndex);
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
    const Entry *entry = find(_typeIndex, item);
    return entry ? entry->value : 0;
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
    std::vector<std::size_t> numbers;
    const Entry *entry = find(_associationIndex, item);
    if (!entry)
        return numbers;
    HeifReader header(_associations);
    const std::size_t size = versionAndFlags(header).flags & 1 ? 2 : 1;
    HeifReader reader(_associations.subspan(entry->value));
    HeifReader entries(reader.take(reader.byte() * size));
    while (!entries.isAtEnd() && numbers.size() < mostProperties)
        numbers.push_back(static_cast<std::size_t>(entries.number(size)) & (size == 2 ? 0x7fff : 0x7f));
    return numbers;
}

std::vector<HeifBox> HeifItems::propertiesOf(std::uint32_t item) const
{
    std::vector<HeifBox> found;
    for (const std::size_t number : propertyNumbersOf(item))
        if (number > 0 && number <= _properties.size() && _properties[number - 1].type != 0)
            found.push_back(_properties[number - 1]);
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

std::optional<HeifItems::Location> HeifItems::locationOf(std::uint32_t item) const noexcept
{
    constexpr unsigned int inData = 1;
    const Entry *entry = find(_locationIndex, item);
    if (!entry)
        return std::nullopt;
    HeifReader header(_locations);
    const LocationSizes sizes = locationSizes(header);
    HeifReader reader(_locations.subspan(entry->value));
    const Location location(reader, sizes);
    const bool isReadable = !location.isInOtherFile && location.method <= inData && location.extents <= mostExtents;
    return isReadable ? std::optional(location) : std::nullopt;
}

std::uint64_t HeifItems::contentSizeOf(std::uint32_t item) const noexcept
{
    const auto location = locationOf(item);
    if (!location)
        return 0;
    std::uint64_t size = 0;
    HeifReader entries(location->entries);
    for (std::uint32_t i = 0; i < location->extents; ++i) {
        const std::uint64_t length = Location::nextExtent(entries, location->sizes).second;
        if (length > _fileSize - size)
            return 0;
        size += length;
    }
    return size;
}

std::vector<std::byte> HeifItems::contentOf(std::uint32_t item, std::size_t limit) const
{
    const auto location = locationOf(item);
    const std::uint64_t size = contentSizeOf(item);
    if (size == 0 || size > limit)
        return {};
    std::vector<std::byte> content;
    HeifReader entries(location->entries);
    for (std::uint32_t i = 0; i < location->extents; ++i) {
        const auto [offset, length] = Location::nextExtent(entries, location->sizes);
        if (offset > UINT64_MAX - location->base)
            return {};
        const std::uint64_t start = location->base + offset;
        if (location->method != 0) {
            HeifReader data(_data);
            data.take(start);
            const HeifBytes part = data.take(length);
            content.insert(content.end(), part.begin(), part.end());
            if (data.isFailed())
                return {};
        } else {
            std::vector<std::byte> part = _readFile(start, length);
            if (part.size() < length)
                return {};
            if (content.empty())
                content = std::move(part);
            else
                content.insert(content.end(), part.begin(), part.end());
        }
    }
    return content;
}

} // namespace kelvane::detail
