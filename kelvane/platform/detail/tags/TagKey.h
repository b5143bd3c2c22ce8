// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>

namespace kelvane::detail {

/// What a tag can say of an item. Texts first, then the whole numbers.
enum class TagKey : unsigned char {
    Title,
    AlbumTitle,
    Artist,
    Comment,
    Genre,
    AlbumArtist,
    Copyright,
    Composer,
    Grouping,
    AlbumTitleSortOrder,
    ArtistSortOrder,
    AlbumArtistSortOrder,
    ComposerSortOrder,
    TitleSortOrder,
    PodcastURL,
    Lyrics,
    Description,
    TVShow,
    TVShowNetwork,
    EpisodeID,
    PodcastIdentifier,
    iTunesAccount,
    Year,
    ReleaseDate,
    PurchaseDate,
    TrackNumber,
    TrackTotal,
    DiscNumber,
    DiscTotal,
    MediaType,
    TVEpisode,
    TVSeason,
    IsPodcast,
    IsiTunesU,
};

inline constexpr std::size_t tagKeyCount = static_cast<std::size_t>(TagKey::IsiTunesU) + 1;

constexpr bool isNumber(TagKey key)
{
    return key >= TagKey::TrackNumber;
}

/// How one key is called in each kind of tag; null where the kind has no name of its own for it.
struct TagNames {
    /// Frame; the second is read where the first is missing. Without a frame: a TXXX frame of the general name.
    std::array<const char *, 2> id3v2;
    /// Atom below `ilst`.
    const char *mp4;
    /// Item; without one the general names are used.
    const char *ape;
    /// Attribute; without one the general names are used. Title, artist, comment and copyright have a place of their
    /// own in front of the attributes, where they are looked for first.
    const char *asf;
    /// RIFF INFO chunk; this kind has no general names.
    const char *info;
    /// General names (Vorbis comments and all that have free names): the first is written, all are read in order.
    std::array<const char *, 3> general;
};

[[nodiscard]] const TagNames &namesOf(TagKey key);

} // namespace kelvane::detail
