// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <memory>

namespace kelvane {

class Mediadata;

/// One media file on the computer, given by its path: whether it has a cover, its metadata, and its lyrics.
///
/// Threads: one thread at a time.
/// Ownership: owns its metadata reader, which is made when it is first asked for.
/// Errors: none are thrown but std::bad_alloc; failures are results.
class KELVANE_EXPORT TagFile {
public:
    /// @selector initWithPath:
    explicit TagFile(String path);
    virtual ~TagFile();
    TagFile(const TagFile &) = delete;
    TagFile &operator=(const TagFile &) = delete;

    [[nodiscard]] const String &filePath() const noexcept { return _filePath; }

    /// Whether the bytes of the file look as if it had a cover: it begins with an ID3 tag and "APIC" is somewhere in
    /// it, or it is of the MP4 family and "covr" is. Much faster than reading its tags, and less certain; holes of
    /// sparse files take no time. Without a path false; where the file cannot be opened, or is no regular file, false
    /// and the line "hasArtwork file failed!" on standard output.
    ///
    /// Intended: the file is searched in pieces of 5,000,000 bytes, and a mark that lies across the end of one is not
    /// found; "ID3" counts more than "ftyp", and either may stand anywhere in the first 8 bytes. Libraries remember
    /// the answer for each file, and it must not change between versions.
    [[nodiscard]] bool isExistArtwork() const;

    /// The file's metadata, always the same object; never null. The index is not asked, unless mediadata() was called
    /// first: whichever of the two comes first decides.
    [[nodiscard]] const std::shared_ptr<Mediadata> &simpleMediadata();
    /// The same; when it is the first of the two, the index is asked, too (see Mediadata::loadMediaData()).
    [[nodiscard]] const std::shared_ptr<Mediadata> &mediadata();

    /// Writes lyrics into the file. False, and the file unchanged, where `lyrics` is empty, the file has no tags that
    /// can be read, has lyrics of more than 10 characters already, or cannot be written. @selector saveLyrics:
    bool saveLyrics(const String &lyrics);

protected:
    /// A reader for the file at `filePath`, without its index.
    [[nodiscard]] virtual std::shared_ptr<Mediadata> makeMediadata() const;

private:
    const String _filePath;
    std::shared_ptr<Mediadata> _mediaData;
};

} // namespace kelvane
