// SPDX-License-Identifier: Apache-2.0
#include "Id3v2Store.h"

#include <attachedpictureframe.h>
#include <commentsframe.h>
#include <podcastframe.h>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>

namespace kelvane::detail {
namespace {

using namespace TagLib::ID3v2;

template <class Frame>
Frame *find(const Tag &tag, const char *id, auto accepts)
{
    for (TagLib::ID3v2::Frame *frame : tag.frameList(id)) {
        auto *found = dynamic_cast<Frame *>(frame);
        if (found && accepts(*found))
            return found;
    }
    return nullptr;
}

/// The comment for people. Players keep numbers of their own among the comments, under a description ("iTunNORM").
CommentsFrame *comment(const Tag &tag)
{
    if (auto *plain =
            find<CommentsFrame>(tag, "COMM", [](const CommentsFrame &frame) { return frame.description().isEmpty(); }))
        return plain;
    return find<CommentsFrame>(
        tag, "COMM", [](const CommentsFrame &frame) { return !frame.description().startsWith("iTun"); });
}

UnsynchronizedLyricsFrame *lyrics(const Tag &tag)
{
    return find<UnsynchronizedLyricsFrame>(tag, "USLT", [](const auto &) { return true; });
}

UserTextIdentificationFrame *userText(const Tag &tag, const char *name)
{
    return find<UserTextIdentificationFrame>(
        tag, "TXXX", [name](const UserTextIdentificationFrame &frame) { return frame.description().upper() == name; });
}

TagLib::String textOf(const TextIdentificationFrame &frame)
{
    return joined(frame.fieldList());
}

TagLib::String textOf(const UserTextIdentificationFrame &frame)
{
    TagLib::StringList texts = frame.fieldList();
    if (!texts.isEmpty())
        texts.erase(texts.begin()); // the description
    return joined(texts);
}

void setTextFrame(Tag &tag, const char *id, const TagLib::String &text)
{
    tag.removeFrames(id);
    if (text.isEmpty())
        return;
    auto *frame = new TextIdentificationFrame(id, TagLib::String::UTF8);
    frame->setText(text);
    tag.addFrame(frame);
}

void setUserText(Tag &tag, const TagNames &names, const TagLib::String &text)
{
    for (const char *name : names.general) {
        auto *frame = name ? userText(tag, name) : nullptr;
        if (!frame)
            continue;
        if (!text.isEmpty()) {
            frame->setText(text);
            return;
        }
        tag.removeFrame(frame);
    }
    if (!text.isEmpty())
        tag.addFrame(new UserTextIdentificationFrame(names.general[0], text, TagLib::String::UTF8));
}

template <class Frame>
void setFrame(Tag &tag, Frame *frame, const TagLib::String &text)
{
    if (text.isEmpty()) {
        if (frame)
            tag.removeFrame(frame);
        return;
    }
    if (!frame) {
        frame = new Frame(TagLib::String::UTF8);
        tag.addFrame(frame);
    }
    frame->setTextEncoding(TagLib::String::UTF8);
    frame->setText(text);
}

} // namespace

TagLib::String Id3v2Store::frameText(TagKey key) const
{
    if (key == TagKey::Comment) {
        const auto *frame = comment(_tag);
        return frame ? frame->text() : TagLib::String();
    }
    if (key == TagKey::Lyrics) {
        const auto *frame = lyrics(_tag);
        return frame ? frame->text() : TagLib::String();
    }
    if (key == TagKey::Genre)
        return _tag.genre();
    if (key == TagKey::IsPodcast)
        return _tag.frameList("PCST").isEmpty() ? "" : "1"; // It says so by being there; its four bytes are always 0.
    for (const char *id : namesOf(key).id3v2) {
        if (!id)
            continue;
        if (const auto *frame = find<TextIdentificationFrame>(_tag, id, [](const auto &) { return true; }))
            return textOf(*frame);
    }
    return {};
}

TagLib::String Id3v2Store::text(TagKey key) const
{
    const TagLib::String found = frameText(key);
    if (!found.isEmpty() || _tag.frameList("TXXX").isEmpty())
        return found;
    for (const char *name : namesOf(key).general) {
        if (const auto *frame = name ? userText(_tag, name) : nullptr)
            return textOf(*frame);
    }
    return {};
}

void Id3v2Store::setText(TagKey key, const TagLib::String &text)
{
    const TagNames &names = namesOf(key);
    if (!names.id3v2[0])
        return setUserText(_tag, names, text);
    setUserText(_tag, names, ""); // what other writers put there for want of the frame
    if (key == TagKey::Comment) {
        setFrame(_tag, comment(_tag), text);
    } else if (key == TagKey::Lyrics) {
        setFrame(_tag, lyrics(_tag), text);
    } else if (key == TagKey::IsPodcast) {
        _tag.removeFrames("PCST");
        if (!text.isEmpty())
            _tag.addFrame(new PodcastFrame);
    } else {
        const bool usesSecond =
            names.id3v2[1] && _tag.frameList(names.id3v2[0]).isEmpty() && !_tag.frameList(names.id3v2[1]).isEmpty();
        setTextFrame(_tag, names.id3v2[usesSecond ? 1 : 0], text);
        if (text.isEmpty() && names.id3v2[1])
            _tag.removeFrames(names.id3v2[1]);
    }
}

void Id3v2Store::appendPictures(std::vector<TagLib::ByteVector> &pictures) const
{
    for (const TagLib::ID3v2::Frame *frame : _tag.frameList("APIC")) {
        if (const auto *picture = dynamic_cast<const AttachedPictureFrame *>(frame))
            pictures.push_back(picture->picture());
    }
}

} // namespace kelvane::detail
