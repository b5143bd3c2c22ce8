// SPDX-License-Identifier: Apache-2.0
#include "Id3v2Store.h"

#include <attachedpictureframe.h>
#include <commentsframe.h>
#include <cstdint>
#include <cstring>
#include <podcastframe.h>
#include <string>
#include <string_view>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>
#include <urllinkframe.h>
#include <vector>

namespace kelvane::detail {
namespace {

using namespace TagLib::ID3v2;

std::uint32_t numberOf(const char *id)
{
    std::uint32_t number = 0;
    std::memcpy(&number, id, sizeof number);
    return number;
}

TagLib::String textOf(const TextIdentificationFrame &frame)
{
    return joined(frame.fieldList());
}

TagLib::String textOf(const UserTextIdentificationFrame &frame)
{
    const TagLib::StringList all = frame.fieldList();
    TagLib::StringList texts;
    for (auto text = all.begin(); text != all.end(); ++text)
        if (text != all.begin()) // the description
            texts.append(*text);
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

/// All frames by name, and the user's texts by theirs. Every key is looked up in each file that is read, and the tag
/// library's own look-up allocates each time.
class Id3v2Store::Frames {
public:
    explicit Frames(const Tag &tag)
    {
        _frames.reserve(tag.frameList().size());
        for (Frame *frame : tag.frameList()) {
            const TagLib::ByteVector id = frame->frameID();
            if (id.size() != sizeof(std::uint32_t))
                continue;
            _frames.push_back({numberOf(id.data()), frame});
            if (_frames.back().id != numberOf("TXXX"))
                continue;
            if (auto *text = dynamic_cast<UserTextIdentificationFrame *>(frame))
                _userTexts.push_back({text->description().upper().to8Bit(true), text});
        }
    }

    template <class Kind>
    [[nodiscard]] Kind *find(const char *id, auto accepts) const
    {
        for (const Named &named : _frames) {
            auto *found = named.id == numberOf(id) ? dynamic_cast<Kind *>(named.frame) : nullptr;
            if (found && accepts(*found))
                return found;
        }
        return nullptr;
    }

    [[nodiscard]] bool contains(const char *id) const
    {
        return find<Frame>(id, [](const Frame &) { return true; });
    }

    /// The comment for people. Players keep numbers of their own among the comments, under a description ("iTunNORM").
    [[nodiscard]] CommentsFrame *comment() const
    {
        if (auto *plain =
                find<CommentsFrame>("COMM", [](const CommentsFrame &frame) { return frame.description().isEmpty(); }))
            return plain;
        return find<CommentsFrame>(
            "COMM", [](const CommentsFrame &frame) { return !frame.description().startsWith("iTun"); });
    }

    [[nodiscard]] UnsynchronizedLyricsFrame *lyrics() const
    {
        return find<UnsynchronizedLyricsFrame>("USLT", [](const auto &) { return true; });
    }

    /// The podcast's address where it stands without the byte of a text's encoding in front.
    [[nodiscard]] UrlLinkFrame *podcastAddress() const
    {
        return find<UrlLinkFrame>("WFED", [](const auto &) { return true; });
    }

    [[nodiscard]] UserTextIdentificationFrame *userText(std::string_view name) const
    {
        for (const UserText &text : _userTexts) {
            if (text.name == name)
                return text.frame;
        }
        return nullptr;
    }

private:
    struct Named {
        std::uint32_t id;
        Frame *frame;
    };
    struct UserText {
        std::string name; // in capitals
        UserTextIdentificationFrame *frame;
    };

    std::vector<Named> _frames; // in the tag's order
    std::vector<UserText> _userTexts;
};

Id3v2Store::Id3v2Store(Tag &tag) : _tag(tag) {}
Id3v2Store::~Id3v2Store() = default;

const Id3v2Store::Frames &Id3v2Store::frames() const
{
    if (!_frames)
        _frames = std::make_unique<Frames>(_tag);
    return *_frames;
}

TagLib::String Id3v2Store::frameText(TagKey key) const
{
    if (key == TagKey::Comment) {
        const auto *frame = frames().comment();
        return frame ? frame->text() : TagLib::String();
    }
    if (key == TagKey::Lyrics) {
        const auto *frame = frames().lyrics();
        return frame ? frame->text() : TagLib::String();
    }
    if (key == TagKey::Genre)
        return _tag.genre();
    if (key == TagKey::IsPodcast)
        return frames().contains("PCST") ? "1" : ""; // It says so by being there; its four bytes are always 0.
    for (const char *id : namesOf(key).id3v2) {
        if (!id)
            continue;
        if (const auto *frame = frames().find<TextIdentificationFrame>(id, [](const auto &) { return true; }))
            return textOf(*frame);
    }
    if (const auto *frame = key == TagKey::PodcastURL ? frames().podcastAddress() : nullptr)
        return frame->url();
    return {};
}

TagLib::String Id3v2Store::text(TagKey key) const
{
    const TagLib::String found = frameText(key);
    if (!found.isEmpty())
        return found;
    for (const char *name : namesOf(key).general) {
        if (const auto *frame = name ? frames().userText(name) : nullptr)
            return textOf(*frame);
    }
    return {};
}

void Id3v2Store::setText(TagKey key, const TagLib::String &text)
{
    const TagNames &names = namesOf(key);
    if (names.id3v2[0]) {
        setUserText(names, ""); // what other writers put there for want of the frame
        setFrameText(key, text);
    } else {
        setUserText(names, text);
    }
    _frames.reset();
}

void Id3v2Store::setUserText(const TagNames &names, const TagLib::String &text)
{
    for (const char *name : names.general) {
        auto *frame = name ? frames().userText(name) : nullptr;
        if (!frame)
            continue;
        if (!text.isEmpty()) {
            frame->setText(text);
            return;
        }
        _tag.removeFrame(frame);
        _frames.reset();
    }
    if (!text.isEmpty())
        _tag.addFrame(new UserTextIdentificationFrame(names.general[0], text, TagLib::String::UTF8));
}

void Id3v2Store::setFrameText(TagKey key, const TagLib::String &text)
{
    if (key == TagKey::Comment) {
        setFrame(_tag, frames().comment(), text);
    } else if (key == TagKey::Lyrics) {
        setFrame(_tag, frames().lyrics(), text);
    } else if (key == TagKey::IsPodcast) {
        _tag.removeFrames("PCST");
        if (!text.isEmpty())
            _tag.addFrame(new PodcastFrame);
    } else if (auto *bare = key == TagKey::PodcastURL ? frames().podcastAddress() : nullptr;
               bare && !text.isEmpty() && text.isLatin1()) {
        bare->setUrl(text); // those who wrote it so read it so
    } else {
        const auto &ids = namesOf(key).id3v2;
        const bool usesSecond = ids[1] && !frames().contains(ids[0]) && frames().contains(ids[1]);
        setTextFrame(_tag, ids[usesSecond ? 1 : 0], text);
        if (text.isEmpty() && ids[1])
            _tag.removeFrames(ids[1]);
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
