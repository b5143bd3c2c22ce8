// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TagKey.h"

#include <kelvane/foundation/Value.h>

#include <tbytevector.h>
#include <tstring.h>
#include <tstringlist.h>
#include <vector>

namespace kelvane::detail {

/// One block of tags in an open file, of any kind.
class TagStore {
public:
    TagStore() = default;
    virtual ~TagStore() = default;
    TagStore(const TagStore &) = delete;
    TagStore &operator=(const TagStore &) = delete;

    /// The text or whole number of `key`; nil where there is none, where it is empty and where it is 0.
    [[nodiscard]] virtual Value read(TagKey key) const = 0;
    /// Sets or, for what read() would call nil, removes. What this kind of tag cannot hold is left out.
    virtual void write(TagKey key, const Value &value) = 0;
    /// Adds the block's pictures at the end of `pictures`; empty bytes stand for one that is named but not there.
    virtual void appendPictures(std::vector<TagLib::ByteVector> &) const {}
};

/// A block that keeps everything as text under some name: all kinds but MP4.
class TextStore : public TagStore {
public:
    [[nodiscard]] Value read(TagKey key) const final;
    void write(TagKey key, const Value &value) final;

protected:
    /// The text of exactly this key, "" where there is none.
    [[nodiscard]] virtual TagLib::String text(TagKey key) const = 0;
    /// Sets the text, removes the tag for "".
    virtual void setText(TagKey key, const TagLib::String &text) = 0;
    /// Whether a total has its place behind the number ("2/3") rather than a name of its own.
    [[nodiscard]] virtual bool writesPairs() const = 0;
};

/// Conversions between the vocabularies.
[[nodiscard]] String toKelvane(const TagLib::String &text);
[[nodiscard]] TagLib::String toTagLib(const String &text);
/// Null for no bytes.
[[nodiscard]] Data toData(const TagLib::ByteVector &bytes);
/// Several texts under one name as one.
[[nodiscard]] TagLib::String joined(const TagLib::StringList &texts);

} // namespace kelvane::detail
