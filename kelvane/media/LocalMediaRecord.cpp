// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/LocalMediaRecord.h>

#include <kelvane/common/Utils.h>
#include <kelvane/media/MimeTypes.h>
#include <kelvane/platform/Paths.h>

namespace kelvane {
namespace {

void fillPath(MediaBase &record, const String &path)
{
    record.setPath(path);
    record.setFileName(lastPathComponent(path));
    record.setExtension(pathExtension(path));
    record.setMimeType(MimeTypes::mimeTypeByFileName(path));
    record.setIsFileExist(Utils::fileExsit(path));
}

void fillTexts(MediaBase &record, const Mediadata &metadata)
{
    record.setTitle(metadata.title());
    record.setAlbum(metadata.album());
    record.setArtist(metadata.artist());
    record.setGenre(metadata.genre());
    record.setComposer(metadata.composer());
    record.setAlbumArtist(metadata.albumArtist());
    record.setComments(metadata.comment());
    record.setGrouping(metadata.grouping());
    record.setLyrics(metadata.lyrics());
    record.setCopyright(metadata.copyright());
    record.setDescription(metadata.description());
    record.setAlbumSort(metadata.albumSort());
    record.setArtistSort(metadata.artistSort());
    record.setComposerSort(metadata.composerSort());
    record.setTitleSort(metadata.titleSort());
    record.setAlbumArtistSort(metadata.albumArtistSort());
    record.setFeedURL(metadata.feedURL());
    record.setEpisodeID(metadata.episodeID());
    record.setEpisodeShow(metadata.tvShow());
    record.setTvshowNetWork(metadata.tvshowNetWork());
    record.setPodcastIdentifier(metadata.podcastIdentifier());
    record.setITunesAccount(metadata.iTunesAccount());
}

void fillNumbersAndDates(MediaBase &record, const Mediadata &metadata)
{
    record.setFileSize(metadata.fileSize());
    record.setDuration(metadata.duration());
    record.setSeason(metadata.season());
    record.setYear(metadata.year());
    record.setSampleRate(metadata.sampleRate());
    record.setBitrate(metadata.bitrate());
    record.setTrackNumber(metadata.trackNo());
    record.setTrackCount(metadata.trackCount());
    record.setDiscNumber(metadata.discNumber());
    record.setDiscCount(metadata.discCount());
    record.setTvEpisode(metadata.tvEpisode());
    record.setAudioFormat(metadata.audioformat());
    record.setMediaType(static_cast<std::uint64_t>(metadata.mediaType()));
    record.setAddedTime(metadata.addedTime());
    record.setModifiedTime(metadata.modifiedTime());
    record.setReleasedDate(metadata.releasedDate());
    record.setPurchasedDate(metadata.purchasedDate());
}

} // namespace

void fillLocalMediaRecord(MediaBase &record, const Mediadata &metadata)
{
    fillPath(record, metadata.filePath());
    fillTexts(record, metadata);
    fillNumbersAndDates(record, metadata);
}

std::shared_ptr<MediaBase> localMediaRecord(const Mediadata &metadata)
{
    auto record = std::make_shared<MediaBase>();
    fillLocalMediaRecord(*record, metadata);
    return record;
}

} // namespace kelvane
