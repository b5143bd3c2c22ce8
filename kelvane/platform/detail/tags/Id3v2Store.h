// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TagStore.h"

#include <id3v2tag.h>
#include <memory>

namespace kelvane::detail {

/// ID3v2 of any version; the library hands all of them over with the frame names of 2.4.
class Id3v2Store final : public TextStore {
public:
    explicit Id3v2Store(TagLib::ID3v2::Tag &tag);
    ~Id3v2Store() override;

    void appendPictures(std::vector<TagLib::ByteVector> &pictures) const override;

protected:
    [[nodiscard]] TagLib::String text(TagKey key) const override;
    void setText(TagKey key, const TagLib::String &text) override;
    [[nodiscard]] bool writesPairs() const override { return true; }

private:
    class Frames;

    /// The frames as they are now.
    [[nodiscard]] const Frames &frames() const;
    /// What the key's own frame says.
    [[nodiscard]] TagLib::String frameText(TagKey key) const;
    void setUserText(const TagNames &names, const TagLib::String &text);
    void setFrameText(TagKey key, const TagLib::String &text);

    TagLib::ID3v2::Tag &_tag;
    mutable std::unique_ptr<const Frames> _frames; // made when asked for, gone with each change
};

} // namespace kelvane::detail
