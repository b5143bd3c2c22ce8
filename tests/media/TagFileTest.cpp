// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/TagFile.h>

#include <kelvane/media/Mediadata.h>

#include "tests/support/MediaFiles.h"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t chunk = 5'000'000;

class Probe : public testing::Test {
protected:
    /// The answer for a file of `size` bytes that begins with `header` and has `mark` at `offset`. The rest is no hole.
    bool probe(const std::string &header, const std::string &mark, std::size_t offset, std::size_t size)
    {
        std::string bytes(size, '\x55');
        bytes.replace(0, header.size(), header);
        bytes.replace(offset, mark.size(), mark);
        return probe(bytes);
    }
    bool probe(const std::string &bytes)
    {
        writeAll(path(), bytes);
        return TagFile(path().native()).isExistArtwork();
    }
    [[nodiscard]] fs::path path() const { return folder.path("a.mp3"); }

    TemporaryFolder folder;
};

/// A reader whose index says what it is asked.
struct IndexedMediadata : Mediadata {
    using Mediadata::Mediadata;

protected:
    [[nodiscard]] Dictionary indexProperties() const override { return {{"kMDItemTitle", "of the index"}}; }
};

struct IndexedTagFile : TagFile {
    using TagFile::TagFile;

protected:
    [[nodiscard]] std::shared_ptr<Mediadata> makeMediadata() const override
    {
        auto metadata = std::make_shared<IndexedMediadata>(nullptr);
        metadata->setFilePath(filePath());
        return metadata;
    }
};

} // namespace

TEST_F(Probe, AMarkIsFoundInTheSecondChunk)
{
    EXPECT_TRUE(probe("ID3", "APIC", 6'000'000, 7'000'000));
}

TEST_F(Probe, AMarkAcrossAChunksEndIsNotFound)
{
    for (std::size_t before = 1; before <= 3; ++before) {
        EXPECT_FALSE(probe("ID3", "APIC", chunk - before, 7'000'000)) << before;
        EXPECT_FALSE(probe("ID3", "APIC", 2 * chunk - before, 2 * chunk + 100)) << before;
    }
    EXPECT_TRUE(probe("ID3", "APIC", chunk - 4, 7'000'000));
    EXPECT_TRUE(probe("ID3", "APIC", chunk, 7'000'000));
    EXPECT_TRUE(probe("ID3", "APIC", 2 * chunk, 2 * chunk + 4));
}

TEST_F(Probe, AMarkIsFoundWhereverElseItStands)
{
    // At each place in the vectors that are searched, at the ends of the blocks that are read, in the last bytes.
    for (std::size_t offset = 3; offset < 300; ++offset)
        EXPECT_TRUE(probe("ID3", "APIC", offset, offset + 4)) << offset;
    for (const std::size_t end :
        {std::size_t{1} << 16, std::size_t{1} << 17, std::size_t{1} << 18, std::size_t{1} << 20}) {
        for (std::size_t offset = end - 5; offset <= end + 1; ++offset)
            EXPECT_TRUE(probe("ID3", "APIC", offset, end + 1000)) << offset;
    }
    EXPECT_TRUE(probe("ID3", "APIC", chunk - 4, chunk));
}

TEST_F(Probe, WhatOnlyLooksLikeTheMarkIsNone)
{
    EXPECT_FALSE(probe("ID3" + std::string(100'000, 'A')));
    EXPECT_FALSE(probe("ID3", "AxxC", 1000, 2000));
    std::string bytes = "ID3";
    while (bytes.size() < 300'000)
        bytes += "APIXAXICAAPIAPxC";
    EXPECT_FALSE(probe(bytes));
    EXPECT_TRUE(probe(bytes + "APIC"));
    EXPECT_FALSE(probe(bytes + "API"));
}

TEST_F(Probe, AnMp4FileHasItsOwnMark)
{
    EXPECT_TRUE(probe("\0\0\0\x20"s + "ftyp", "covr", 5000, 9000));
    EXPECT_FALSE(probe("\0\0\0\x20"s + "ftyp", "APIC", 5000, 9000));
    EXPECT_FALSE(probe("ID3", "covr", 5000, 9000));
}

TEST_F(Probe, TheHeaderMayHaveTheirNamesAnywhereInItsEightBytes)
{
    for (std::size_t at = 0; at <= 5; ++at)
        EXPECT_TRUE(probe(std::string(at, '\0') + "ID3", "APIC", 100, 200)) << at;
    EXPECT_FALSE(probe("\0\0\0\0\0\0ID3"s, "APIC", 100, 200));
    for (std::size_t at = 0; at <= 4; ++at)
        EXPECT_TRUE(probe(std::string(at, '\0') + "ftyp", "covr", 100, 200)) << at;
    EXPECT_FALSE(probe("\0\0\0\0\0ftyp"s, "covr", 100, 200));
}

TEST_F(Probe, Id3CountsMoreThanFtyp)
{
    EXPECT_FALSE(probe("ftypID3", "covr", 100, 200));
    EXPECT_TRUE(probe("ftypID3", "APIC", 100, 200));
}

TEST_F(Probe, ShortFilesAreFilledWithZeros)
{
    EXPECT_FALSE(probe("ID3\4\0"s)) << "five bytes";
    EXPECT_FALSE(probe("ID3"));
    EXPECT_FALSE(probe("ID"));
    EXPECT_FALSE(probe(""));
    EXPECT_TRUE(probe("ID3APIC"));
}

TEST_F(Probe, AFileOfAnotherKindIsNotSearched)
{
    EXPECT_FALSE(probe("OggS", "APIC", 100, 200));
    EXPECT_FALSE(probe("RIFF", "covr", 100, 200));
}

TEST_F(Probe, AFileOfAnotherKindIsReadNoFurtherThanItsHeader)
{
    const auto bytesRead = [] {
        std::ifstream counters("/proc/self/io");
        std::string name;
        std::uint64_t count = 0;
        counters >> name >> count; // "rchar:"
        return count;
    };
    writeAll(path(), "OggS" + std::string(2'000'000, 'x'));
    const TagFile file(path().native());
    if (bytesRead() == 0)
        GTEST_SKIP() << "the system does not count what is read";
    const std::uint64_t before = bytesRead();
    EXPECT_FALSE(file.isExistArtwork());
    EXPECT_LT(bytesRead() - before, 1'000'000U);
    writeAll(path(), "ID3" + std::string(2'000'000, 'x'));
    const std::uint64_t middle = bytesRead();
    EXPECT_FALSE(file.isExistArtwork());
    EXPECT_GT(bytesRead() - middle, 2'000'000U) << "which would be seen";
}

TEST_F(Probe, HolesOfASparseFileAreSkipped)
{
    constexpr off_t size = off_t{1} << 42; // reading them would take minutes
    const int file = ::open(path().c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    const bool isPossible = ::ftruncate(file, size) == 0;
    EXPECT_EQ(::pwrite(file, "ID3", 3, 0), 3);
    if (!isPossible || ::lseek(file, 4096, SEEK_HOLE) > 65536) {
        ::close(file);
        GTEST_SKIP() << "no sparse files here";
    }
    EXPECT_FALSE(TagFile(path().native()).isExistArtwork());
    EXPECT_EQ(::pwrite(file, "APIC", 4, size - 100'000), 4);
    ::close(file);
    EXPECT_TRUE(TagFile(path().native()).isExistArtwork());
}

TEST_F(Probe, AFileThatIsCutShortMeanwhileDoesNoHarm)
{
    std::string bytes = "ID3";
    bytes.resize(20'000'000, '\x55');
    writeAll(path(), bytes);
    std::thread probing([&] {
        for (int i = 0; i < 20; ++i)
            EXPECT_FALSE(TagFile(path().native()).isExistArtwork());
    });
    for (int i = 0; i < 50; ++i) {
        fs::resize_file(path(), 100 + static_cast<std::uintmax_t>(i));
        fs::resize_file(path(), bytes.size());
    }
    probing.join();
}

TEST_F(Probe, WithoutAPathNothingIsSaid)
{
    testing::internal::CaptureStdout();
    EXPECT_FALSE(TagFile(nullptr).isExistArtwork());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Probe, WhatCannotBeOpenedIsToldOnStandardOutput)
{
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    for (const String &name : {folder.string("missing"), folder.string("pipe"), folder.string(), String("")}) {
        testing::internal::CaptureStdout();
        EXPECT_FALSE(TagFile(name).isExistArtwork());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "hasArtwork file failed!\n") << name.c_str();
    }
}

TEST_F(Probe, RealFilesWithAndWithoutCover)
{
    REQUIRE_FFMPEG();
    const auto cover = makeCover(folder, "red");
    for (const char *extension : {".mp3", ".m4a"}) {
        EXPECT_TRUE(TagFile(makeMedia(folder, "with"s + extension, {}, cover).native()).isExistArtwork()) << extension;
        EXPECT_FALSE(TagFile(makeMedia(folder, "without"s + extension, {}).native()).isExistArtwork()) << extension;
    }
}

TEST(TagFile, KeepsItsPath)
{
    EXPECT_EQ(TagFile("/a/b.mp3").filePath(), "/a/b.mp3");
    EXPECT_TRUE(TagFile(nullptr).filePath().isNull());
}

TEST(TagFile, MetadataIsMadeOnceAndKept)
{
    TagFile file("/no/such/file.mp3");
    const auto first = file.simpleMediadata();
    ASSERT_TRUE(first) << "also without a tag reader";
    EXPECT_EQ(first->filePath(), "/no/such/file.mp3");
    EXPECT_EQ(first->audioMetadata(), nullptr);
    EXPECT_EQ(file.simpleMediadata(), first);
    EXPECT_EQ(file.mediadata(), first);
}

TEST(TagFile, MetadataReadsTheFilesTags)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    TagFile file(makeMedia(folder, "a.mp3", {{"title", "Blue"}}).native());
    EXPECT_EQ(file.simpleMediadata()->title(), "Blue");
}

TEST(TagFile, TheFirstCallDecidesWhetherTheIndexIsAsked)
{
    IndexedTagFile simpleFirst("/a/b.mp3");
    EXPECT_EQ(simpleFirst.simpleMediadata()->title(), "b");
    EXPECT_EQ(simpleFirst.mediadata()->title(), "b");
    IndexedTagFile indexFirst("/a/b.mp3");
    EXPECT_EQ(indexFirst.mediadata()->title(), "of the index");
    EXPECT_EQ(indexFirst.simpleMediadata()->title(), "of the index");
}

class Lyrics : public testing::TestWithParam<const char *> {
protected:
    [[nodiscard]] fs::path make(const std::string &lyrics) const
    {
        auto path = makeMedia(folder, "a"s + GetParam(), {{"title", "T"}});
        if (!lyrics.empty()) {
            const auto file = AudioMetadata::CreateMetadataForURL(path.native());
            file->SetLyrics(lyrics);
            EXPECT_TRUE(file->WriteMetadata());
        }
        return path;
    }
    static String lyricsOf(const fs::path &path)
    {
        return AudioMetadata::CreateMetadataForURL(path.native())->GetLyrics();
    }

    TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Formats, Lyrics, testing::Values(".mp3", ".m4a", ".flac"),
    [](const auto &row) { return std::string(row.param + 1); });

TEST_P(Lyrics, AreWrittenWhereThereAreNone)
{
    REQUIRE_FFMPEG();
    const auto path = make("");
    EXPECT_TRUE(TagFile(path.native()).saveLyrics("La la\nla"));
    EXPECT_EQ(lyricsOf(path), "La la\nla");
    EXPECT_EQ(AudioMetadata::CreateMetadataForURL(path.native())->GetTitle(), "T");
}

TEST_P(Lyrics, OfElevenCharactersStayAndOfTenAreReplaced)
{
    REQUIRE_FFMPEG();
    const auto path = make("12345678901");
    const std::string before = readAll(path);
    EXPECT_FALSE(TagFile(path.native()).saveLyrics("abc"));
    EXPECT_EQ(readAll(path), before);
    const auto shorter = make("1234567890");
    EXPECT_TRUE(TagFile(shorter.native()).saveLyrics("abc"));
    EXPECT_EQ(lyricsOf(shorter), "abc");
}

TEST_P(Lyrics, AreCountedInCharactersNotInBytes)
{
    REQUIRE_FFMPEG();
    const std::string ten = "\u65e5\u672c\u306e\u6b4c\u624b\u65e5\u672c\u306e\u6b4c\u624b";
    const auto path = make(ten);
    EXPECT_TRUE(TagFile(path.native()).saveLyrics("abc"));
    const auto eleven = make(ten + "\u00e9");
    EXPECT_FALSE(TagFile(eleven.native()).saveLyrics("abc"));
    const auto sixPairs = make("\U0001f3b5\U0001f3b5\U0001f3b5\U0001f3b5\U0001f3b5\U0001f3b5");
    EXPECT_FALSE(TagFile(sixPairs.native()).saveLyrics("abc")) << "two units each";
}

TEST_P(Lyrics, ThatAreEmptyOrHaveNoFileAreRefused)
{
    REQUIRE_FFMPEG();
    const auto path = make("short");
    const std::string before = readAll(path);
    EXPECT_FALSE(TagFile(path.native()).saveLyrics(""));
    EXPECT_FALSE(TagFile(path.native()).saveLyrics(nullptr));
    EXPECT_EQ(readAll(path), before);
    EXPECT_FALSE(TagFile(folder.string("missing.mp3")).saveLyrics("abc"));
    EXPECT_FALSE(TagFile(nullptr).saveLyrics("abc"));
    writeAll(folder.path("text.txt"), "no media");
    EXPECT_FALSE(TagFile(folder.string("text.txt")).saveLyrics("abc"));
}
