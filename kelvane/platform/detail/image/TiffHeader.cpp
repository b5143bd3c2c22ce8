// SPDX-License-Identifier: Apache-2.0
#include "ExifKeys.h"
#include "ImageHeader.h"

#include <algorithm>
#include <array>

namespace kelvane::detail {
namespace {

constexpr std::size_t entrySize = 12;
constexpr std::uint32_t mostEntries = 1024;
constexpr std::size_t mostValueBytes = 4096;
constexpr std::size_t mostBlockBytes = 60000; // what the reader of such blocks takes
constexpr std::uint32_t longType = 4;

enum Tag : std::uint32_t {
    imageWidth = 0x0100,
    imageHeight = 0x0101,
    iccProfile = 0x8773,
    exifPointer = 0x8769,
    gpsPointer = 0x8825,
};

struct Entry {
    std::uint32_t tag;
    std::uint32_t type;
    std::uint32_t count;
    std::uint64_t position; ///< of the value
    std::uint64_t size; ///< of the value
};

std::uint64_t sizeOfType(std::uint32_t type) noexcept
{
    constexpr std::array<std::uint8_t, 13> sizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < sizes.size() ? sizes[type] : 0;
}

// Reads the directories of a TIFF file or an EXIF block, whose header says how numbers are laid out.
class Reader {
public:
    explicit Reader(const ImageBytes &file) : _file(file)
    {
        std::array<std::byte, 8> start = {};
        if (!file.read(0, start))
            return;
        _isBigEndian = start[0] == std::byte{'M'};
        if ((startsWith(start, "II") || startsWith(start, "MM")) && number(std::span(start).subspan(2), 2) == 42)
            _first = number(std::span(start).subspan(4), 4);
    }

    [[nodiscard]] bool isBigEndian() const noexcept { return _isBigEndian; }
    /// Offset of the first directory, 0 where this is no such block.
    [[nodiscard]] std::uint32_t first() const noexcept { return _first; }

    [[nodiscard]] std::uint32_t number(std::span<const std::byte> bytes, std::size_t count) const noexcept
    {
        return _isBigEndian ? bigEndian(bytes, count) : littleEndian(bytes, count);
    }

    /// Those entries of a directory that are there.
    [[nodiscard]] std::vector<Entry> entries(std::uint32_t offset) const
    {
        std::vector<Entry> result;
        std::array<std::byte, entrySize> bytes = {};
        if (offset == 0 || !_file.read(offset, std::span(bytes).first(2)))
            return result;
        const std::uint32_t count = std::min(number(bytes, 2), mostEntries);
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint64_t position = offset + 2 + std::uint64_t{i} * entrySize;
            if (!_file.read(position, bytes))
                break;
            const auto all = std::span<const std::byte>(bytes);
            Entry entry{number(all, 2), number(all.subspan(2), 2), number(all.subspan(4), 4), position + 8, 0};
            entry.size = sizeOfType(entry.type) * entry.count;
            if (entry.size > 4)
                entry.position = number(all.subspan(8), 4);
            if (entry.size > 0)
                result.push_back(entry);
        }
        return result;
    }

    [[nodiscard]] std::vector<std::byte> value(const Entry &entry, std::size_t most) const
    {
        return _file.take(entry.position, entry.size, most);
    }

    /// The first number of an entry of whole numbers, 0 where it is none.
    [[nodiscard]] std::uint32_t firstNumber(const Entry &entry) const
    {
        const std::uint64_t size = sizeOfType(entry.type);
        std::array<std::byte, 4> bytes = {};
        if (size > bytes.size() || !_file.read(entry.position, std::span(bytes).first(size)))
            return 0;
        return number(bytes, size);
    }

private:
    const ImageBytes &_file;
    bool _isBigEndian = false;
    std::uint32_t _first = 0;
};

// Puts directories together.
class Writer {
public:
    explicit Writer(bool isBigEndian) : _isBigEndian(isBigEndian)
    {
        const char mark = isBigEndian ? 'M' : 'I';
        _bytes = {std::byte(mark), std::byte(mark)};
        append(42, 2);
        append(8, 4);
    }

    void append(std::uint32_t value, int count)
    {
        for (int i = 0; i < count; ++i)
            _bytes.push_back(static_cast<std::byte>(value >> 8 * (_isBigEndian ? count - 1 - i : i)));
    }

    [[nodiscard]] std::size_t size() const noexcept { return _bytes.size(); }
    std::vector<std::byte> take() { return std::move(_bytes); }

    struct Item {
        Entry entry;
        std::vector<std::byte> value;
    };

    /// A directory and behind it the values that it has no room for, and where one of its pointers may be set later.
    std::vector<std::size_t> appendDirectory(const std::vector<Item> &items, std::span<const std::uint32_t> pointers)
    {
        std::vector<std::size_t> places;
        std::size_t room = _bytes.size() + 2 + (items.size() + pointers.size()) * entrySize + 4;
        append(static_cast<std::uint32_t>(items.size() + pointers.size()), 2);
        for (const Item &item : items) {
            appendHead(item.entry.tag, item.entry.type, item.entry.count);
            if (item.value.size() > 4) {
                append(static_cast<std::uint32_t>(room), 4);
                room += item.value.size();
            } else {
                _bytes.insert(_bytes.end(), item.value.begin(), item.value.end());
                _bytes.resize(_bytes.size() + 4 - item.value.size());
            }
        }
        for (const std::uint32_t tag : pointers) {
            appendHead(tag, longType, 1);
            places.push_back(_bytes.size());
            append(0, 4);
        }
        append(0, 4); // no further directory
        for (const Item &item : items)
            if (item.value.size() > 4)
                _bytes.insert(_bytes.end(), item.value.begin(), item.value.end());
        return places;
    }

    void setPointer(std::size_t place, std::size_t offset)
    {
        for (std::size_t i = 0; i < 4; ++i)
            _bytes[place + i] = static_cast<std::byte>(offset >> 8 * (_isBigEndian ? 3 - i : i));
    }

private:
    void appendHead(std::uint32_t tag, std::uint32_t type, std::uint32_t count)
    {
        append(tag, 2);
        append(type, 2);
        append(count, 4);
    }

    const bool _isBigEndian;
    std::vector<std::byte> _bytes;
};

// Those facts of a directory that are known, each once, as long as there is room.
std::vector<Writer::Item> knownItems(
    const Reader &reader, std::span<const Entry> entries, ExifList list, std::size_t &room)
{
    std::vector<Writer::Item> items;
    for (const Entry &entry : entries) {
        if (!findExifKey(list, entry.tag))
            continue;
        const auto isSame = [&](const Writer::Item &item) { return item.entry.tag == entry.tag; };
        auto value = reader.value(entry, mostValueBytes);
        if (value.empty() || value.size() + entrySize > room || std::any_of(items.begin(), items.end(), isSame))
            continue;
        room -= value.size() + entrySize;
        items.push_back({entry, std::move(value)});
    }
    return items;
}

std::uint32_t pointerIn(const Reader &reader, std::span<const Entry> entries, std::uint32_t tag)
{
    const auto isPointer = [&](const Entry &entry) { return entry.tag == tag; };
    const auto found = std::find_if(entries.begin(), entries.end(), isPointer);
    return found != entries.end() ? reader.firstNumber(*found) : 0;
}

} // namespace

std::vector<std::byte> compactExif(const ImageBytes &block)
{
    const Reader reader(block);
    const auto main = reader.entries(reader.first());
    std::size_t room = mostBlockBytes;
    // The facts of the photo first: they matter most where there is not room for all.
    const auto exif = knownItems(reader, reader.entries(pointerIn(reader, main, exifPointer)), ExifList::Exif, room);
    const auto gps = knownItems(reader, reader.entries(pointerIn(reader, main, gpsPointer)), ExifList::Gps, room);
    const auto tiff = knownItems(reader, main, ExifList::Tiff, room);
    if (exif.empty() && gps.empty() && tiff.empty())
        return {};
    std::vector<std::uint32_t> pointers;
    if (!exif.empty())
        pointers.push_back(exifPointer);
    if (!gps.empty())
        pointers.push_back(gpsPointer);
    Writer writer(reader.isBigEndian());
    const auto places = writer.appendDirectory(tiff, pointers);
    for (std::size_t i = 0; i < pointers.size(); ++i) {
        writer.setPointer(places[i], writer.size());
        writer.appendDirectory(pointers[i] == exifPointer ? exif : gps, {});
    }
    return writer.take();
}

ImageHeader readTiffHeader(const ImageBytes &file)
{
    ImageHeader header{ImageFormat::Tiff, "public.tiff"};
    const Reader reader(file);
    for (const Entry &entry : reader.entries(reader.first())) {
        if (entry.tag == imageWidth)
            header.width = reader.firstNumber(entry);
        else if (entry.tag == imageHeight)
            header.height = reader.firstNumber(entry);
        else if (entry.tag == iccProfile)
            header.iccProfile = reader.value(entry, mostPropertyBytes);
    }
    header.exif = compactExif(file);
    return header;
}

} // namespace kelvane::detail
