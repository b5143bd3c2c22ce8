// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/LocalMediaRecord.h>

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>

using namespace kelvane;
using namespace kelvane::testsupport;

TEST(LocalMediaRecord, CarriesWhatTheTagsOfTheFileSay)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "My Song.m4a",
        {{"title", "Title"}, {"album", "Album"}, {"artist", "Artist"}, {"album_artist", "AA"}, {"composer", "Composer"},
            {"genre", "Jazz"}, {"comment", "Comment"}, {"date", "2012-05-03T07:00:00Z"}, {"track", "3/9"},
            {"disc", "1/2"}, {"show", "Show"}, {"network", "Net"}, {"episode_id", "E7"}, {"season_number", "3"},
            {"episode_sort", "7"}, {"media_type", "10"}, {"description", "About"}, {"copyright", "(c)"},
            {"grouping", "Group"}, {"lyrics", "La"}});
    Mediadata metadata(AudioMetadata::CreateMetadataForURL(path.native()));
    metadata.setFilePath(path.native());
    const auto record = localMediaRecord(metadata);
    EXPECT_EQ(record->path(), String(path.native()));
    EXPECT_EQ(record->fileName(), "My Song.m4a");
    EXPECT_EQ(record->extension(), "m4a");
    EXPECT_TRUE(record->isFileExist());
    EXPECT_EQ(record->title(), "Title");
    EXPECT_EQ(record->album(), "Album");
    EXPECT_EQ(record->artist(), "Artist");
    EXPECT_EQ(record->albumArtist(), "AA");
    EXPECT_EQ(record->composer(), "Composer");
    EXPECT_EQ(record->genre(), "Jazz");
    EXPECT_EQ(record->comments(), "Comment");
    EXPECT_EQ(record->copyright(), "(c)");
    EXPECT_EQ(record->grouping(), "Group");
    EXPECT_EQ(record->lyrics(), "La");
    EXPECT_EQ(record->description(), "About");
    EXPECT_EQ(record->episodeShow(), "Show");
    EXPECT_EQ(record->tvshowNetWork(), "Net");
    EXPECT_EQ(record->episodeID(), "E7");
    EXPECT_EQ(record->season(), 3);
    EXPECT_EQ(record->tvEpisode(), 7);
    EXPECT_EQ(record->year(), 2012);
    EXPECT_EQ(record->trackNumber(), 3);
    EXPECT_EQ(record->trackCount(), 9);
    EXPECT_EQ(record->discNumber(), 1);
    EXPECT_EQ(record->discCount(), 2);
    EXPECT_EQ(record->mediaType(), 10U);
    EXPECT_EQ(record->audioFormat(), 301);
    EXPECT_EQ(record->duration(), 1.0) << "whole seconds";
    EXPECT_EQ(record->sampleRate(), 44100);
    EXPECT_EQ(record->bitrate(), metadata.bitrate());
    EXPECT_EQ(record->fileSize(), static_cast<std::int64_t>(std::filesystem::file_size(path)));
    EXPECT_EQ(record->releasedDate(), Date::fromSecondsSince1970(1336028400));
    EXPECT_EQ(record->purchasedDate(), record->releasedDate());
    EXPECT_EQ(record->modifiedTime(), metadata.modifiedTime());
    EXPECT_EQ(record->addedTime(), metadata.addedTime());
    EXPECT_EQ(record->storeMedium(), 2U);
    EXPECT_EQ(record->mimeType(), "audio/x-m4a");
}

TEST(LocalMediaRecord, OfAFileThatIsGoneHasTheDefaults)
{
    Mediadata metadata(nullptr);
    metadata.setFilePath("/nowhere/Song.mp3");
    MediaBase record;
    record.setRating(4);
    fillLocalMediaRecord(record, metadata);
    EXPECT_EQ(record.title(), "Song");
    EXPECT_EQ(record.extension(), "mp3");
    EXPECT_FALSE(record.isFileExist());
    EXPECT_EQ(record.fileSize(), 1000);
    EXPECT_EQ(record.duration(), 1.0);
    EXPECT_EQ(record.rating(), 4) << "what the file does not say is left alone";
}
