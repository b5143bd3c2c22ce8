// SPDX-License-Identifier: Apache-2.0
#include "NamedTextStores.h"

#include <asfpicture.h>
#include <string>

namespace kelvane::detail {
namespace {

/// The names of `key` where the kind's own name comes first: `own`, then the general ones.
std::array<const char *, 4> withOwnName(const char *own, TagKey key)
{
    const auto &general = namesOf(key).general;
    return {own, general[0], general[1], general[2]};
}

/// Sets the tag under the name that the file uses already, else under the first; "" removes it under all names.
void setUnderNames(const auto &names, const TagLib::String &text, auto contains, auto set, auto remove)
{
    const char *target = nullptr;
    for (const char *name : names) {
        if (!name)
            continue;
        if (text.isEmpty())
            remove(name);
        else if (contains(name)) {
            set(name);
            return;
        } else if (!target)
            target = name;
    }
    if (!text.isEmpty() && target)
        set(target);
}

TagLib::String textOf(const TagLib::ASF::Attribute &attribute)
{
    switch (attribute.type()) {
    case TagLib::ASF::Attribute::UnicodeType:
        return attribute.toString();
    case TagLib::ASF::Attribute::BoolType:
        return attribute.toBool() ? "1" : "";
    case TagLib::ASF::Attribute::WordType:
        return std::to_string(attribute.toUShort());
    case TagLib::ASF::Attribute::DWordType:
        return std::to_string(attribute.toUInt());
    case TagLib::ASF::Attribute::QWordType:
        return std::to_string(attribute.toULongLong());
    default:
        return {};
    }
}

std::string numberText(unsigned int number)
{
    return number == 0 ? std::string() : std::to_string(number);
}

} // namespace

// Vorbis comments

TagLib::String XiphStore::text(TagKey key) const
{
    const auto &fields = _tag.fieldListMap();
    for (const char *name : namesOf(key).general) {
        if (!name)
            break;
        if (const auto found = fields.find(name); found != fields.end())
            return joined(found->second);
    }
    return {};
}

void XiphStore::setText(TagKey key, const TagLib::String &text)
{
    setUnderNames(
        namesOf(key).general, text, [this](const char *name) { return _tag.contains(name); },
        [&](const char *name) { _tag.addField(name, text, true); },
        [this](const char *name) { _tag.removeFields(name); });
}

void XiphStore::appendPictures(std::vector<TagLib::ByteVector> &pictures) const
{
    const auto all = _tag.pictureList(); // const: the library's lists copy themselves for who could change them
    for (const TagLib::FLAC::Picture *picture : all)
        pictures.push_back(picture->data());
}

// APE

TagLib::String ApeStore::text(TagKey key) const
{
    const auto &items = _tag.itemListMap();
    for (const char *name : withOwnName(namesOf(key).ape, key)) {
        if (!name)
            continue;
        const auto found = items.find(TagLib::String(name).upper());
        if (found != items.end() && found->second.type() == TagLib::APE::Item::Text)
            return joined(found->second.values());
    }
    return {};
}

void ApeStore::setText(TagKey key, const TagLib::String &text)
{
    const auto &items = _tag.itemListMap();
    setUnderNames(
        withOwnName(namesOf(key).ape, key), text,
        [&](const char *name) { return items.contains(TagLib::String(name).upper()); },
        [&](const char *name) { _tag.addValue(name, text, true); },
        [this](const char *name) { _tag.removeItem(name); });
}

void ApeStore::appendPictures(std::vector<TagLib::ByteVector> &pictures) const
{
    for (const auto &[name, item] : _tag.itemListMap()) {
        if (item.type() != TagLib::APE::Item::Binary || !name.startsWith("COVER ART"))
            continue;
        // A file name stands in front of the picture, ended by a NUL.
        const TagLib::ByteVector content = item.binaryData();
        const int end = content.find('\0');
        pictures.push_back(end < 0 ? TagLib::ByteVector() : content.mid(static_cast<unsigned int>(end) + 1));
    }
}

// ASF

TagLib::String AsfStore::nativeText(TagKey key) const
{
    switch (key) {
    case TagKey::Title:
        return _tag.title();
    case TagKey::Artist:
        return _tag.artist();
    case TagKey::Copyright:
        return _tag.copyright();
    case TagKey::Comment:
        return _tag.comment();
    default:
        return {};
    }
}

bool AsfStore::setNativeText(TagKey key, const TagLib::String &text)
{
    switch (key) {
    case TagKey::Title:
        return _tag.setTitle(text), true;
    case TagKey::Artist:
        return _tag.setArtist(text), true;
    case TagKey::Copyright:
        return _tag.setCopyright(text), true;
    case TagKey::Comment:
        return _tag.setComment(text), true;
    default:
        return false;
    }
}

TagLib::String AsfStore::nameInFile(const char *name) const
{
    const TagLib::String wanted = TagLib::String(name).upper();
    for (const auto &[known, values] : _tag.attributeListMap()) {
        if (known.upper() == wanted && !values.isEmpty())
            return known;
    }
    return {};
}

TagLib::String AsfStore::text(TagKey key) const
{
    const TagLib::String native = nativeText(key);
    if (!native.isEmpty())
        return native;
    for (const char *name : withOwnName(namesOf(key).asf, key)) {
        const TagLib::String found = name ? nameInFile(name) : TagLib::String();
        if (found.isEmpty())
            continue;
        TagLib::StringList texts;
        const auto attributes = _tag.attribute(found);
        for (const TagLib::ASF::Attribute &attribute : attributes)
            texts.append(textOf(attribute));
        return joined(texts);
    }
    return {};
}

void AsfStore::setText(TagKey key, const TagLib::String &text)
{
    // Some writers keep the four texts of the content description a second time among the attributes.
    const bool isNative = setNativeText(key, text);
    bool isSet = isNative;
    for (const char *name : withOwnName(namesOf(key).asf, key)) {
        const TagLib::String found = name ? nameInFile(name) : TagLib::String();
        if (found.isEmpty())
            continue;
        if (text.isEmpty()) {
            _tag.removeItem(found);
        } else if (isNative || !isSet) {
            _tag.setAttribute(found, TagLib::ASF::Attribute(text));
            isSet = true;
        }
    }
    if (!isSet && !text.isEmpty()) {
        const char *own = namesOf(key).asf;
        _tag.setAttribute(own ? own : namesOf(key).general[0], TagLib::ASF::Attribute(text));
    }
}

void AsfStore::appendPictures(std::vector<TagLib::ByteVector> &pictures) const
{
    const auto attributes = _tag.attribute("WM/Picture");
    for (const TagLib::ASF::Attribute &attribute : attributes) {
        const TagLib::ASF::Picture picture = attribute.toPicture();
        if (picture.isValid())
            pictures.push_back(picture.picture());
    }
}

// RIFF INFO

TagLib::String InfoStore::text(TagKey key) const
{
    const char *name = namesOf(key).info;
    return name ? _tag.fieldText(name) : TagLib::String();
}

void InfoStore::setText(TagKey key, const TagLib::String &text)
{
    const char *name = namesOf(key).info;
    if (!name)
        return;
    if (text.isEmpty())
        _tag.removeField(name);
    else
        _tag.setFieldText(name, text);
}

// ID3v1

TagLib::String Id3v1Store::text(TagKey key) const
{
    switch (key) {
    case TagKey::Title:
        return _tag.title();
    case TagKey::Artist:
        return _tag.artist();
    case TagKey::AlbumTitle:
        return _tag.album();
    case TagKey::Comment:
        return _tag.comment();
    case TagKey::Genre:
        return _tag.genre();
    case TagKey::Year:
        return numberText(_tag.year());
    case TagKey::TrackNumber:
        return numberText(_tag.track());
    default:
        return {};
    }
}

void Id3v1Store::setText(TagKey key, const TagLib::String &text)
{
    switch (key) {
    case TagKey::Title:
        return _tag.setTitle(text);
    case TagKey::Artist:
        return _tag.setArtist(text);
    case TagKey::AlbumTitle:
        return _tag.setAlbum(text);
    case TagKey::Comment:
        return _tag.setComment(text);
    case TagKey::Genre:
        return _tag.setGenre(text);
    case TagKey::Year:
        return _tag.setYear(static_cast<unsigned int>(text.toInt()));
    case TagKey::TrackNumber:
        return _tag.setTrack(static_cast<unsigned int>(text.toInt()));
    default:
        return;
    }
}

} // namespace kelvane::detail
