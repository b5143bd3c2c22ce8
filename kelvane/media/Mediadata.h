// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/AudioMetadata.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace kelvane {

/// What is known of one media file on the computer: from its tags first, from the system's file-metadata index
/// where they are silent, and from fixed defaults where both are. Everything is worked out anew by each call.
///
/// Make one, set `filePath`, and call loadMediaData() if the index is wanted.
///
/// Threads: one thread at a time.
/// Ownership: owns its tag reader.
/// Errors: none are reported; a source that fails is a source that is silent.
class KELVANE_EXPORT Mediadata {
public:
    /// @selector initWithAudioMetadata:
    /// Takes the file's tag reader, or null for a file that has none.
    explicit Mediadata(std::unique_ptr<AudioMetadata> mediaRef);
    virtual ~Mediadata();
    Mediadata(const Mediadata &) = delete;
    Mediadata &operator=(const Mediadata &) = delete;

    [[nodiscard]] const String &filePath() const noexcept { return _filePath; }
    void setFilePath(String path) noexcept { _filePath = std::move(path); }

    /// Asks the index for the file's properties, once: does nothing without a `filePath`, and once it has got some.
    /// May run a system tool and wait for it.
    void loadMediaData();
    /// What loadMediaData() got, by the index's keys; null before, and where there is no index.
    [[nodiscard]] const Dictionary &loadedIndex() const noexcept { return _infoDic; }

    /// The tag reader, or null. What the setters below changed reaches the file by its WriteMetadata().
    [[nodiscard]] AudioMetadata *audioMetadata() const noexcept { return _mediaRef.get(); }

    // Texts. The setters hand the text to the tag reader as it is, and do nothing without one.

    /// Never absent with a `filePath`: the file's name without its extension comes last.
    [[nodiscard]] String title() const;
    /// May be absent.
    [[nodiscard]] String album() const;
    /// The last of the index's authors comes second; may be absent or empty.
    [[nodiscard]] String artist() const;
    /// "" where there is none.
    [[nodiscard]] String comment() const;
    /// "" where there is none.
    /// Intended: a genre with "iTunes" anywhere in it reads as "iTunes U"; library views group lectures by that.
    [[nodiscard]] String genre() const;
    /// May be absent.
    [[nodiscard]] String copyright() const;
    /// "" where there is none.
    [[nodiscard]] String composer() const;
    /// "" where there is none; so are all texts down to `iTunesAccount`.
    [[nodiscard]] String albumArtist() const;
    [[nodiscard]] String feedURL() const;
    [[nodiscard]] String lyrics() const;
    [[nodiscard]] String description() const;
    [[nodiscard]] String tvShow() const;
    [[nodiscard]] String tvshowNetWork() const;
    [[nodiscard]] String episodeID() const;
    /// The same as `feedURL`, which is also how it is written.
    [[nodiscard]] String podcastURL() const;
    [[nodiscard]] String podcastIdentifier() const;
    [[nodiscard]] String iTunesAccount() const;
    /// May be absent; so may all names for sorting.
    [[nodiscard]] String grouping() const;
    [[nodiscard]] String albumSort() const;
    [[nodiscard]] String artistSort() const;
    [[nodiscard]] String albumArtistSort() const;
    [[nodiscard]] String composerSort() const;
    [[nodiscard]] String titleSort() const;

    void setTitle(const String &text);
    void setAlbum(const String &text);
    void setArtist(const String &text);
    void setComment(const String &text);
    void setGenre(const String &text);
    void setAlbumArtist(const String &text);
    void setComposer(const String &text);
    void setGrouping(const String &text);
    void setAlbumSort(const String &text);
    void setArtistSort(const String &text);
    void setAlbumArtistSort(const String &text);
    void setComposerSort(const String &text);
    void setTitleSort(const String &text);
    /// Sets the address of the podcast.
    void setFeedURL(const String &text);
    void setLyrics(const String &text);

    // Numbers.

    /// 2014 where nobody knows; 0 for a tag that does not begin with a number.
    [[nodiscard]] std::int32_t year() const;
    /// 1 where there is none; so are the next three.
    [[nodiscard]] std::int32_t trackNo() const;
    [[nodiscard]] std::int32_t trackCount() const;
    [[nodiscard]] std::int32_t discCount() const;
    [[nodiscard]] std::int32_t discNumber() const;
    /// Whole seconds, cut; at least 1, also for an unknown duration.
    [[nodiscard]] std::int32_t duration() const;
    /// Bits per second; estimated from size and duration where nobody says.
    [[nodiscard]] std::int32_t bitrate() const;
    /// Hz; 44100 where unknown.
    [[nodiscard]] std::int32_t sampleRate() const;
    /// 2 where unknown.
    [[nodiscard]] std::int32_t channels() const;
    /// Always 301, the code of local files.
    [[nodiscard]] std::int32_t audioformat() const;
    /// 0 unknown, 1 audio, 2 video.
    [[nodiscard]] std::uint64_t tagTypes() const;
    /// Bytes; 1000 for an empty or missing file.
    [[nodiscard]] std::int64_t fileSize() const;
    /// 0 where there is none.
    [[nodiscard]] std::int32_t mediaType() const;
    /// 1 where there is none.
    [[nodiscard]] std::int32_t tvEpisode() const;
    /// 1 where there is none.
    [[nodiscard]] std::int32_t season() const;
    /// 0 where there is none.
    [[nodiscard]] std::int32_t isPodcast() const;
    /// 0 where there is none.
    [[nodiscard]] std::int32_t isiTunesU() const;

    void setYear(std::int32_t year);
    void setTrackNo(std::int32_t number);
    void setTrackCount(std::int32_t count);
    void setDiscCount(std::int32_t count);
    void setDiscNumber(std::int32_t number);
    void setIsPodcast(std::int32_t flag);
    void setIsiTunesU(std::int32_t flag);

    // Dates; absent only where the file has none either.

    /// When the content was made, else the file.
    [[nodiscard]] Date addedTime() const;
    /// When the content was changed, else the file.
    [[nodiscard]] Date modifiedTime() const;
    /// The tag's date, else `modifiedTime`. A year alone is no date.
    [[nodiscard]] Date releasedDate() const;
    /// The tag's date, else `releasedDate`.
    [[nodiscard]] Date purchasedDate() const;
    /// Sets the date's description() as text.
    void setReleasedDate(Date date);

    /// Paths of new files in the temporary folder, ".jpg" all of them, which the caller removes: the file's pictures
    /// as they stand in its tags, not converted, listed even if writing one failed; where there are none, a picture
    /// of the file made by saveThumbnail(). To know whether there are pictures, ask the tag reader, which writes
    /// nothing.
    [[nodiscard]] std::vector<String> artworks() const;

protected:
    /// The index's properties of the file at `filePath`, null where there is no index. Asked by loadMediaData().
    [[nodiscard]] virtual Dictionary indexProperties() const;
    /// Renders the file at `filePath` into a JPEG of at most 512 by 512 pixels at `jpegPath`; false where that is not
    /// possible. Asked by artworks().
    [[nodiscard]] virtual bool saveThumbnail(const String &jpegPath) const;

private:
    [[nodiscard]] const Value &index(const char *key) const noexcept { return _infoDic[key]; }
    [[nodiscard]] std::int32_t estimatedBitrate() const;

    String _filePath;
    const std::unique_ptr<AudioMetadata> _mediaRef;
    Dictionary _infoDic;
};

} // namespace kelvane
