// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TagStore.h"

#include <id3v2tag.h>

namespace kelvane::detail {

/// ID3v2 of any version; the library hands all of them over with the frame names of 2.4.
class Id3v2Store final : public TextStore {
public:
    explicit Id3v2Store(TagLib::ID3v2::Tag &tag) : _tag(tag) {}

    void appendPictures(std::vector<TagLib::ByteVector> &pictures) const override;

protected:
    [[nodiscard]] TagLib::String text(TagKey key) const override;
    void setText(TagKey key, const TagLib::String &text) override;
    [[nodiscard]] bool writesPairs() const override { return true; }

private:
    /// What the key's own frame says.
    [[nodiscard]] TagLib::String frameText(TagKey key) const;

    TagLib::ID3v2::Tag &_tag;
};

} // namespace kelvane::detail
