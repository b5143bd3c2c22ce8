// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/Mediadata.h>
#include <kelvane/platform/FileMetadataIndex.h>
#include <kelvane/platform/Thumbnail.h>

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>

// The module is looked for in the folder of the program: the test runs a copy of this program, in a folder of its own, which
// runs the test whose name begins with DISABLED_ there.

namespace kelvane {
namespace {

using namespace testsupport;

TEST(MediaModule, DISABLED_IsMissing)
{
    EXPECT_TRUE(FileMetadataIndex::propertiesOfFile("a.mp3", "/nowhere/tool").isNull());
    EXPECT_TRUE(Thumbnail::jpegOfFile("a.mp4").isNull());
    EXPECT_FALSE(Thumbnail::jpegOfFile("cover-red.jpg").isNull()) << "needs none";

    Mediadata song(AudioMetadata::CreateMetadataForURL("a.mp3"));
    song.setFilePath("a.mp3");
    song.loadMediaData();
    EXPECT_EQ(song.title(), "Tagged");
    EXPECT_EQ(song.year(), 2003);
    EXPECT_EQ(song.duration(), 1);
    EXPECT_EQ(song.sampleRate(), 44100);
    EXPECT_EQ(song.tagTypes(), 1U) << "by its extension";
    EXPECT_EQ(song.fileSize(), static_cast<std::int64_t>(std::filesystem::file_size("a.mp3")));
    EXPECT_FALSE(song.modifiedTime().isNull());

    Mediadata film(AudioMetadata::CreateMetadataForURL("a.mp4"));
    film.setFilePath("a.mp4");
    film.loadMediaData();
    EXPECT_EQ(film.title(), "Film");
    EXPECT_EQ(film.tagTypes(), 2U);
    EXPECT_TRUE(film.artworks().empty());
}

TEST(MediaModule, WithoutItOnlyTheIndexAndTheFramesOfFilmsAreMissing)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    makeCover(folder, "red");
    makeMedia(folder, "a.mp3", {{"title", "Tagged"}, {"date", "2003"}});
    makeMedia(folder, "a.mp4", {{"title", "Film"}});
    std::filesystem::copy_file("/proc/self/exe", folder.path("program"));
    EXPECT_TRUE(runShell("cd " + quoted(folder.path("").native())
        + " && ./program --gtest_also_run_disabled_tests --gtest_filter=MediaModule.DISABLED_IsMissing >log 2>&1"
          " || { cat log; false; }"));
}

} // namespace
} // namespace kelvane
