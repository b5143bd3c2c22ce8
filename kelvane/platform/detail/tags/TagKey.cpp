// SPDX-License-Identifier: Apache-2.0
#include "TagKey.h"

namespace kelvane::detail {
namespace {

// In the order of TagKey. General names behind the first are what other writers use.
constexpr std::array<TagNames, tagKeyCount> names{{
    // clang-format off
        {{"TIT2"}, "\251nam", "Title", "Title", "INAM", {"TITLE"}}, // Title
        {{"TALB"}, "\251alb", "Album", "WM/AlbumTitle", "IPRD", {"ALBUM"}}, // AlbumTitle
        {{"TPE1"}, "\251ART", "Artist", "Author", "IART", {"ARTIST"}}, // Artist
        {{"COMM"}, "\251cmt", "Comment", "Description", "ICMT", {"COMMENT", "DESCRIPTION"}}, // Comment
        {{"TCON"}, "\251gen", "Genre", "WM/Genre", "IGNR", {"GENRE"}}, // Genre
        {{"TPE2"}, "aART", "Album Artist", "WM/AlbumArtist", nullptr, {"ALBUMARTIST", "ALBUM ARTIST", "ALBUM_ARTIST"}}, // AlbumArtist
        {{"TCOP"}, "cprt", "Copyright", "Copyright", "ICOP", {"COPYRIGHT"}}, // Copyright
        {{"TCOM"}, "\251wrt", "Composer", "WM/Composer", "IMUS", {"COMPOSER"}}, // Composer
        {{"TIT1", "GRP1"}, "\251grp", "Grouping", "WM/ContentGroupDescription", nullptr, {"GROUPING", "CONTENTGROUP"}}, // Grouping
        {{"TSOA"}, "soal", nullptr, "WM/AlbumSortOrder", nullptr, {"ALBUMSORT"}}, // AlbumTitleSortOrder
        {{"TSOP"}, "soar", nullptr, "WM/ArtistSortOrder", nullptr, {"ARTISTSORT"}}, // ArtistSortOrder
        {{"TSO2"}, "soaa", nullptr, "WM/AlbumArtistSortOrder", nullptr, {"ALBUMARTISTSORT"}}, // AlbumArtistSortOrder
        {{"TSOC"}, "soco", nullptr, "WM/ComposerSortOrder", nullptr, {"COMPOSERSORT"}}, // ComposerSortOrder
        {{"TSOT"}, "sonm", nullptr, "WM/TitleSortOrder", nullptr, {"TITLESORT"}}, // TitleSortOrder
        {{"WFED"}, "purl", nullptr, nullptr, nullptr, {"PODCASTURL"}}, // PodcastURL
        {{"USLT"}, "\251lyr", "Lyrics", "WM/Lyrics", nullptr, {"LYRICS", "UNSYNCEDLYRICS"}}, // Lyrics
        {{"TDES"}, "desc", nullptr, "WM/SubTitleDescription", nullptr, {"PODCASTDESC", "SYNOPSIS"}}, // Description
        {{}, "tvsh", nullptr, nullptr, nullptr, {"TVSHOW", "SHOW"}}, // TVShow
        {{}, "tvnn", nullptr, nullptr, nullptr, {"TVNETWORK", "NETWORK"}}, // TVShowNetwork
        {{}, "tven", nullptr, nullptr, nullptr, {"TVEPISODEID", "EPISODE_ID"}}, // EpisodeID
        {{"TGID"}, "egid", nullptr, nullptr, nullptr, {"PODCASTID"}}, // PodcastIdentifier
        {{}, "apID", nullptr, nullptr, nullptr, {"ITUNESACCOUNT"}}, // iTunesAccount
        {{"TDRC"}, "\251day", "Year", "WM/Year", "ICRD", {"DATE", "YEAR"}}, // Year
        {{"TDRL"}, "\251day", nullptr, nullptr, nullptr, {"RELEASEDATE"}}, // ReleaseDate
        {{}, "purd", nullptr, nullptr, nullptr, {"PURCHASEDATE", "PURCHASE_DATE"}}, // PurchaseDate
        {{"TRCK"}, "trkn", "Track", "WM/TrackNumber", "IPRT", {"TRACKNUMBER"}}, // TrackNumber
        {{}, "trkn", nullptr, nullptr, nullptr, {"TRACKTOTAL", "TOTALTRACKS"}}, // TrackTotal
        {{"TPOS"}, "disk", "Disc", "WM/PartOfSet", nullptr, {"DISCNUMBER"}}, // DiscNumber
        {{}, "disk", nullptr, nullptr, nullptr, {"DISCTOTAL", "TOTALDISCS"}}, // DiscTotal
        {{}, "stik", nullptr, nullptr, nullptr, {"ITUNESMEDIATYPE"}}, // MediaType
        {{}, "tves", nullptr, nullptr, nullptr, {"TVEPISODE", "EPISODE_SORT"}}, // TVEpisode
        {{}, "tvsn", nullptr, nullptr, nullptr, {"TVSEASON", "SEASON_NUMBER"}}, // TVSeason
        {{"PCST"}, "pcst", nullptr, nullptr, nullptr, {"PODCAST"}}, // IsPodcast
        {{}, "itnu", nullptr, nullptr, nullptr, {"ITUNESU"}}, // IsiTunesU
    // clang-format on
}};

} // namespace

const TagNames &namesOf(TagKey key)
{
    return names[static_cast<std::size_t>(key)];
}

} // namespace kelvane::detail
