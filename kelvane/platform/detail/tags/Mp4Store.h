// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TagStore.h"

#include <mp4file.h>

namespace kelvane::detail {

class TagStream;

/// The items below `ilst` of an MP4 file, kept as the bytes that they are: an item that is not written to comes out
/// of a save as it went in, also those that the tag library does not know (it would drop them).
class Mp4Store final : public TagStore {
public:
    /// Reads the items' bytes; an item that is damaged ends the list.
    explicit Mp4Store(const TagLib::ByteVector &items);

    [[nodiscard]] Value read(TagKey key) const override;
    void write(TagKey key, const Value &value) override;
    void appendPictures(std::vector<TagLib::ByteVector> &pictures) const override;

    /// Puts the items into `file`, whose stream is `stream`. False if they found no place.
    bool save(TagLib::MP4::File &file, TagStream &stream) const;

private:
    struct Item {
        TagLib::ByteVector name;
        TagLib::ByteVector body;
    };
    /// What a `data` atom holds.
    struct Content {
        std::uint32_t type;
        TagLib::ByteVector bytes;
    };

    [[nodiscard]] static std::vector<Content> contents(const Item &item);
    [[nodiscard]] const Item *find(const char *name) const;
    [[nodiscard]] String text(const char *name) const;
    [[nodiscard]] std::int64_t number(const char *name) const;
    void replace(const char *name, std::uint32_t type, const TagLib::ByteVector &bytes);
    void remove(const char *name);
    [[nodiscard]] TagLib::ByteVector rendered() const;

    std::vector<Item> _items;
};

} // namespace kelvane::detail
