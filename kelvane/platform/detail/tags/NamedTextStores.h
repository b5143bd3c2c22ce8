// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TagStore.h"

#include <apetag.h>
#include <asftag.h>
#include <id3v1tag.h>
#include <infotag.h>
#include <xiphcomment.h>

namespace kelvane::detail {

/// Vorbis comments, of FLAC and of everything in Ogg.
class XiphStore final : public TextStore {
public:
    explicit XiphStore(TagLib::Ogg::XiphComment &tag) : _tag(tag) {}
    void appendPictures(std::vector<TagLib::ByteVector> &pictures) const override;

protected:
    [[nodiscard]] TagLib::String text(TagKey key) const override;
    void setText(TagKey key, const TagLib::String &text) override;
    [[nodiscard]] bool writesPairs() const override { return false; }

private:
    TagLib::Ogg::XiphComment &_tag;
};

/// APE items, of Monkey's Audio, WavPack, Musepack and some MP3 files.
class ApeStore final : public TextStore {
public:
    explicit ApeStore(TagLib::APE::Tag &tag) : _tag(tag) {}
    void appendPictures(std::vector<TagLib::ByteVector> &pictures) const override;

protected:
    [[nodiscard]] TagLib::String text(TagKey key) const override;
    void setText(TagKey key, const TagLib::String &text) override;
    [[nodiscard]] bool writesPairs() const override { return true; }

private:
    TagLib::APE::Tag &_tag;
};

/// ASF attributes, of WMA and WMV.
class AsfStore final : public TextStore {
public:
    explicit AsfStore(TagLib::ASF::Tag &tag) : _tag(tag) {}
    void appendPictures(std::vector<TagLib::ByteVector> &pictures) const override;

protected:
    [[nodiscard]] TagLib::String text(TagKey key) const override;
    void setText(TagKey key, const TagLib::String &text) override;
    [[nodiscard]] bool writesPairs() const override { return true; }

private:
    [[nodiscard]] TagLib::String nativeText(TagKey key) const;
    bool setNativeText(TagKey key, const TagLib::String &text);
    /// The attribute of this name, whichever case it is written in; "" where there is none.
    [[nodiscard]] TagLib::String nameInFile(const char *name) const;

    TagLib::ASF::Tag &_tag;
};

/// The INFO list of WAV files.
class InfoStore final : public TextStore {
public:
    explicit InfoStore(TagLib::RIFF::Info::Tag &tag) : _tag(tag) {}

protected:
    [[nodiscard]] TagLib::String text(TagKey key) const override;
    void setText(TagKey key, const TagLib::String &text) override;
    [[nodiscard]] bool writesPairs() const override { return false; }

private:
    TagLib::RIFF::Info::Tag &_tag;
};

/// The 128 bytes at the end of old MP3 files: seven fields, texts of at most 30 bytes.
class Id3v1Store final : public TextStore {
public:
    explicit Id3v1Store(TagLib::ID3v1::Tag &tag) : _tag(tag) {}

protected:
    [[nodiscard]] TagLib::String text(TagKey key) const override;
    void setText(TagKey key, const TagLib::String &text) override;
    [[nodiscard]] bool writesPairs() const override { return false; }

private:
    TagLib::ID3v1::Tag &_tag;
};

} // namespace kelvane::detail
