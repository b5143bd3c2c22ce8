// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/AttachedPicture.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace kelvane {

namespace detail {
enum class TagKey : unsigned char;
}

/// The tags, pictures and technical data of one audio or video file: ID3 (all versions), MP4, Vorbis comments, APE,
/// ASF, RIFF INFO. The file is read once, when the object is made, and closed again.
///
/// A getter gives a null String or a nil Value where the file has no such tag; an empty text and a number 0 in a file
/// count as no tag. A setter changes what the getter gives and what WriteMetadata() will write; null, nil, "" and 0
/// remove the tag from the file.
///
/// Which kind of file it is, is seen from its content; the extension is asked only where the content does not tell.
///
/// Threads: one thread at a time.
/// Ownership: owns what it has read.
/// Errors: nothing throws. Files that are damaged or hostile are read as far as they make sense, or not at all: in
/// bounded time and memory (tags over 64 MiB are not read).
class KELVANE_EXPORT AudioMetadata {
public:
    /// Reads the file at `path`. Null where it is no regular file, cannot be read, or is no media file of a known
    /// kind; `error` then says why. A FIFO or a device is never waited for.
    [[nodiscard]] static std::unique_ptr<AudioMetadata> CreateMetadataForURL(
        const String &path, String *error = nullptr);

    ~AudioMetadata();
    AudioMetadata(const AudioMetadata &) = delete;
    AudioMetadata &operator=(const AudioMetadata &) = delete;

    /// Writes the tags that were set into the file, and keeps every other tag, the pictures, the file's mode, owner,
    /// extended attributes and access lists (as far as the system allows). True at once where nothing was set.
    ///
    /// A copy with the new tags is made in the same folder, flushed, and renamed over the file: whatever happens in
    /// between, the path names the old file or the new one, whole; a copy that a kill left in the folder goes with the
    /// next write. Other hard links keep the old content; the time of creation becomes that of the copy where the system
    /// lets nobody set it, as Linux does. On failure
    /// (`error` says why) the file is as it was, and what was set is still waiting to be written.
    ///
    /// What a kind of tags has no form for, such as a word for a year in some, is left out. A text that is too long for it
    /// is a failure: it would be lost, and in some kinds of files the other tags with it.
    bool WriteMetadata(String *error = nullptr);

    // Texts.

    /// Title of the item.
    [[nodiscard]] String GetTitle() const;
    void SetTitle(const String &text);
    /// Album.
    [[nodiscard]] String GetAlbumTitle() const;
    void SetAlbumTitle(const String &text);
    /// Performer; several are joined with ", ".
    [[nodiscard]] String GetArtist() const;
    void SetArtist(const String &text);
    /// The comment without a language or purpose of its own; what players keep among the comments is left out.
    [[nodiscard]] String GetComment() const;
    void SetComment(const String &text);
    /// Genre as text; a genre number of an old tag is given as its name.
    [[nodiscard]] String GetGenre() const;
    void SetGenre(const String &text);
    /// Artist of the whole album.
    [[nodiscard]] String GetAlbumArtist() const;
    void SetAlbumArtist(const String &text);
    /// Copyright text.
    [[nodiscard]] String GetCopyright() const;
    /// Composer.
    [[nodiscard]] String GetComposer() const;
    void SetComposer(const String &text);
    /// Grouping.
    [[nodiscard]] String GetGrouping() const;
    void SetGrouping(const String &text);
    /// Names for sorting.
    [[nodiscard]] String GetAlbumTitleSortOrder() const;
    void SetAlbumTitleSortOrder(const String &text);
    [[nodiscard]] String GetArtistSortOrder() const;
    void SetArtistSortOrder(const String &text);
    [[nodiscard]] String GetAlbumArtistSortOrder() const;
    void SetAlbumArtistSortOrder(const String &text);
    [[nodiscard]] String GetComposerSortOrder() const;
    void SetComposerSortOrder(const String &text);
    [[nodiscard]] String GetTitleSortOrder() const;
    void SetTitleSortOrder(const String &text);
    /// Address of the podcast feed.
    [[nodiscard]] String GetPodcastURL() const;
    void SetPodcastURL(const String &text);
    /// Lyrics.
    [[nodiscard]] String GetLyrics() const;
    void SetLyrics(const String &text);
    /// Description of an episode.
    [[nodiscard]] String GetDescription() const;
    /// Show that an episode belongs to.
    [[nodiscard]] String GetTVShow() const;
    /// Network that sends the show.
    [[nodiscard]] String GetTVShowNetwork() const;
    /// Identifier of the episode.
    [[nodiscard]] String GetEpisodeID() const;
    /// Identifier of the podcast episode.
    [[nodiscard]] String GetPodcastIdentifier() const;
    /// Account that bought the item.
    [[nodiscard]] String GetiTunesAccount() const;
    /// Recording date as the tag writes it: a year, or a date that begins with it.
    [[nodiscard]] String GetYear() const;
    void SetYear(const String &text);
    /// Release date as the tag writes it; the text of GetYear() where the file has no other date.
    [[nodiscard]] String GetReleaseDate() const;
    void SetReleaseDate(const String &text);
    /// Purchase date as the tag writes it.
    [[nodiscard]] String GetPurchaseDate() const;

    // Whole numbers.

    /// Place of the track, and number of tracks.
    [[nodiscard]] Value GetTrackNumber() const;
    void SetTrackNumber(const Value &number);
    [[nodiscard]] Value GetTrackTotal() const;
    void SetTrackTotal(const Value &number);
    /// Place of the disc, and number of discs.
    [[nodiscard]] Value GetDiscNumber() const;
    void SetDiscNumber(const Value &number);
    [[nodiscard]] Value GetDiscTotal() const;
    void SetDiscTotal(const Value &number);
    /// Code of the kind of item that MP4 files carry.
    [[nodiscard]] Value GetMediaType() const;
    /// Episode number.
    [[nodiscard]] Value GetTVEpisode() const;
    /// Season number.
    [[nodiscard]] Value GetTVSeason() const;
    /// 1 for podcast episodes.
    [[nodiscard]] Value GetIsPodcast() const;
    void SetIsPodcast(const Value &number);
    /// 1 for lectures.
    [[nodiscard]] Value GetIsiTunesU() const;
    void SetIsiTunesU(const Value &number);

    // What the audio stream itself says; 0 is given as nil.

    /// Playing time in seconds, with fractions.
    [[nodiscard]] const Value &GetDuration() const noexcept;
    /// Bits per second, whatever unit the kind of file uses; the nominal rate where the stream announces one.
    [[nodiscard]] const Value &GetBitrate() const noexcept;
    /// Samples per second.
    [[nodiscard]] const Value &GetSampleRate() const noexcept;
    [[nodiscard]] const Value &GetChannelsPerFrame() const noexcept;

    /// The pictures in the order of the file, copied when they are first asked for.
    [[nodiscard]] const std::vector<AttachedPicture> &GetAttachedPictures() const;
    /// How many there are. To know whether a file has a cover, ask here: nothing is copied.
    [[nodiscard]] std::size_t GetAttachedPictureCount() const noexcept;

private:
    struct Private;

    explicit AudioMetadata(std::unique_ptr<Private> content);
    void set(detail::TagKey key, Value value);

    const std::unique_ptr<Private> d;
};

} // namespace kelvane
