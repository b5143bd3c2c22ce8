// SPDX-License-Identifier: Apache-2.0
// What the setters of Mediadata hand to the tag reader.
#include <kelvane/media/Mediadata.h>

namespace kelvane {

void Mediadata::setTitle(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetTitle(text);
}

void Mediadata::setAlbum(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetAlbumTitle(text);
}

void Mediadata::setArtist(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetArtist(text);
}

void Mediadata::setComment(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetComment(text);
}

void Mediadata::setGenre(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetGenre(text);
}

void Mediadata::setAlbumArtist(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetAlbumArtist(text);
}

void Mediadata::setComposer(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetComposer(text);
}

void Mediadata::setGrouping(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetGrouping(text);
}

void Mediadata::setAlbumSort(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetAlbumTitleSortOrder(text);
}

void Mediadata::setArtistSort(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetArtistSortOrder(text);
}

void Mediadata::setAlbumArtistSort(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetAlbumArtistSortOrder(text);
}

void Mediadata::setComposerSort(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetComposerSortOrder(text);
}

void Mediadata::setTitleSort(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetTitleSortOrder(text);
}

void Mediadata::setFeedURL(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetPodcastURL(text);
}

void Mediadata::setLyrics(const String &text)
{
    if (_mediaRef)
        _mediaRef->SetLyrics(text);
}

void Mediadata::setYear(std::int32_t year)
{
    if (_mediaRef)
        _mediaRef->SetYear(String::number(std::int64_t{year}));
}

void Mediadata::setTrackNo(std::int32_t number)
{
    if (_mediaRef)
        _mediaRef->SetTrackNumber(number);
}

void Mediadata::setTrackCount(std::int32_t count)
{
    if (_mediaRef)
        _mediaRef->SetTrackTotal(count);
}

void Mediadata::setDiscCount(std::int32_t count)
{
    if (_mediaRef)
        _mediaRef->SetDiscTotal(count);
}

void Mediadata::setDiscNumber(std::int32_t number)
{
    if (_mediaRef)
        _mediaRef->SetDiscNumber(number);
}

void Mediadata::setIsPodcast(std::int32_t flag)
{
    if (_mediaRef)
        _mediaRef->SetIsPodcast(flag);
}

void Mediadata::setIsiTunesU(std::int32_t flag)
{
    if (_mediaRef)
        _mediaRef->SetIsiTunesU(flag);
}

void Mediadata::setReleasedDate(Date date)
{
    if (_mediaRef)
        _mediaRef->SetReleaseDate(date.description());
}

} // namespace kelvane
