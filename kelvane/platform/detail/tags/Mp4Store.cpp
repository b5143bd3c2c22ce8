// SPDX-License-Identifier: Apache-2.0
#include "Mp4Store.h"

#include "Mp4Atoms.h"

#include <algorithm>
#include <id3v1genres.h>
#include <mp4tag.h>

namespace kelvane::detail {
namespace {

// Types of a `data` atom that its numbers are written out in files.
constexpr std::uint32_t typeImplicit = 0;
constexpr std::uint32_t typeUtf8 = 1;
constexpr std::uint32_t typeUtf16 = 2;
constexpr std::uint32_t typeInteger = 21;

constexpr unsigned int atomHeader = 8;
constexpr unsigned int dataHeader = 16;

TagLib::ByteVector atom(const TagLib::ByteVector &name, const TagLib::ByteVector &body)
{
    return TagLib::ByteVector::fromUInt(atomHeader + body.size()) + name + body;
}

bool isPair(TagKey key)
{
    return key >= TagKey::TrackNumber && key <= TagKey::DiscTotal;
}
bool isTotal(TagKey key)
{
    return key == TagKey::TrackTotal || key == TagKey::DiscTotal;
}

/// Number and total stand as 16-bit numbers behind two bytes of 0.
unsigned int pairOffset(TagKey key)
{
    return isTotal(key) ? 4 : 2;
}

std::int64_t pairPart(const TagLib::ByteVector &bytes, unsigned int offset)
{
    return offset + 2 <= bytes.size() ? bytes.toUShort(offset, true) : 0;
}

TagLib::String decoded(std::uint32_t type, const TagLib::ByteVector &bytes)
{
    return TagLib::String(bytes, type == typeUtf16 ? TagLib::String::UTF16BE : TagLib::String::UTF8);
}

} // namespace

Mp4Store::Mp4Store(const TagLib::ByteVector &items)
{
    for (unsigned int at = 0; at + atomHeader <= items.size();) {
        const std::uint32_t length = bigEndian32(items, at);
        if (length < atomHeader || length > items.size() - at)
            return;
        _items.push_back({items.mid(at + 4, 4), items.mid(at + atomHeader, length - atomHeader)});
        at += length;
    }
}

std::vector<Mp4Store::Content> Mp4Store::contents(const Item &item)
{
    std::vector<Content> found;
    for (unsigned int at = 0; at + dataHeader <= item.body.size();) {
        const std::uint32_t length = bigEndian32(item.body, at);
        if (length < dataHeader || length > item.body.size() - at)
            break;
        if (item.body.containsAt("data", at + 4))
            found.push_back(
                {bigEndian32(item.body, at + 8) & 0xffffff, item.body.mid(at + dataHeader, length - dataHeader)});
        at += length;
    }
    return found;
}

const Mp4Store::Item *Mp4Store::find(const char *name) const
{
    const auto found =
        std::find_if(_items.begin(), _items.end(), [name](const Item &item) { return item.name == name; });
    return found == _items.end() ? nullptr : &*found;
}

String Mp4Store::text(const char *name) const
{
    const Item *item = find(name);
    if (!item)
        return nullptr;
    TagLib::StringList texts;
    for (const Content &content : contents(*item)) {
        if (content.type <= typeUtf16)
            texts.append(decoded(content.type, content.bytes));
    }
    const TagLib::String all = joined(texts);
    return all.isEmpty() ? String() : toKelvane(all);
}

std::int64_t Mp4Store::number(const char *name) const
{
    const Item *item = find(name);
    const auto all = item ? contents(*item) : std::vector<Content>();
    if (all.empty())
        return 0;
    if (all[0].type == typeUtf8)
        return toKelvane(decoded(typeUtf8, all[0].bytes)).longLongValue();
    std::int64_t value = 0;
    for (unsigned int i = 0; i < std::min(all[0].bytes.size(), 7U); ++i)
        value = value << 8 | static_cast<unsigned char>(all[0].bytes[static_cast<int>(i)]);
    return value;
}

Value Mp4Store::read(TagKey key) const
{
    const char *name = namesOf(key).mp4;
    if (isPair(key)) {
        const Item *item = find(name);
        const auto all = item ? contents(*item) : std::vector<Content>();
        const std::int64_t part = all.empty() ? 0 : pairPart(all[0].bytes, pairOffset(key));
        return part == 0 ? Value() : Value(part);
    }
    if (isNumber(key)) {
        const std::int64_t found = number(name);
        return found == 0 ? Value() : Value(found);
    }
    if (const String found = text(name); !found.isNull())
        return found;
    if (key == TagKey::Description)
        return text("ldes");
    if (key == TagKey::Genre) {
        if (const std::int64_t index = number("gnre"); index > 0 && index <= 256) {
            const TagLib::String genre = TagLib::ID3v1::genre(static_cast<int>(index) - 1);
            return genre.isEmpty() ? Value() : Value(toKelvane(genre));
        }
    }
    return nullptr;
}

void Mp4Store::write(TagKey key, const Value &value)
{
    const char *name = namesOf(key).mp4;
    if (key == TagKey::Genre)
        remove("gnre"); // the same by number; players disagree on which of the two wins
    if (isPair(key)) {
        const Item *item = find(name);
        const auto all = item ? contents(*item) : std::vector<Content>();
        const TagLib::ByteVector old = all.empty() ? TagLib::ByteVector() : all[0].bytes;
        const std::int64_t part = std::clamp<std::int64_t>(value.longLongValue(), 0, 0xffff);
        const std::int64_t first = isTotal(key) ? pairPart(old, 2) : part;
        const std::int64_t second = isTotal(key) ? part : pairPart(old, 4);
        TagLib::ByteVector bytes(2, '\0');
        bytes.append(TagLib::ByteVector::fromShort(static_cast<short>(first)));
        bytes.append(TagLib::ByteVector::fromShort(static_cast<short>(second)));
        bytes.append(TagLib::ByteVector(key <= TagKey::TrackTotal ? 2 : 0, '\0'));
        if (first == 0 && second == 0)
            remove(name);
        else
            replace(name, typeImplicit, bytes);
    } else if (isNumber(key)) {
        const std::int64_t number = std::clamp<std::int64_t>(value.longLongValue(), 0, 0xff);
        if (number == 0)
            remove(name);
        else
            replace(name, typeInteger, TagLib::ByteVector(1, static_cast<char>(number)));
    } else if (value.string().isEmpty()) {
        remove(name);
    } else {
        const std::string bytes = value.string().toValidUtf8().str();
        replace(name, typeUtf8, TagLib::ByteVector(bytes.data(), static_cast<unsigned int>(bytes.size())));
    }
}

void Mp4Store::replace(const char *name, std::uint32_t type, const TagLib::ByteVector &bytes)
{
    const TagLib::ByteVector locale(4, '\0');
    const TagLib::ByteVector body = atom("data", TagLib::ByteVector::fromUInt(type) + locale + bytes);
    for (Item &item : _items) {
        if (item.name == name) {
            item.body = body;
            return;
        }
    }
    _items.push_back({TagLib::ByteVector(name, 4), body});
}

void Mp4Store::remove(const char *name)
{
    std::erase_if(_items, [name](const Item &item) { return item.name == name; });
}

void Mp4Store::appendPictures(std::vector<TagLib::ByteVector> &pictures) const
{
    const Item *item = find("covr");
    if (!item)
        return;
    for (const Content &content : contents(*item))
        pictures.push_back(content.bytes);
}

TagLib::ByteVector Mp4Store::rendered() const
{
    TagLib::ByteVector all;
    for (const Item &item : _items)
        all.append(atom(item.name, item.body));
    return all;
}

bool Mp4Store::save(TagLib::MP4::File &file, TagStream &stream) const
{
    // The library makes room and moves the offsets of the samples; it writes one title of just the right size, and
    // our bytes take its place.
    const TagLib::ByteVector items = rendered();
    TagLib::MP4::Tag &tag = *file.tag();
    while (!tag.itemMap().isEmpty())
        tag.removeItem(TagLib::String(tag.itemMap().begin()->first));
    const unsigned int smallest = atomHeader + dataHeader;
    if (items.size() > smallest)
        tag.setItem("\251nam", TagLib::MP4::Item(TagLib::StringList(std::string(items.size() - smallest, ' '))));
    else if (!items.isEmpty())
        return false;
    if (!scanMp4(stream).hasTrueOffsets || !file.save())
        return false;
    const Mp4Layout layout = scanMp4(stream);
    if (layout.itemsSize != static_cast<long>(items.size()))
        return false;
    stream.seek(layout.itemsOffset, TagStream::Beginning);
    stream.writeBlock(items);
    return true;
}

} // namespace kelvane::detail
