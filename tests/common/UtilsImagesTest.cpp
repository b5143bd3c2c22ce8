// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <gmock/gmock.h>
#include <kelvane/platform/ImageDestination.h>
#include <nlohmann/json.hpp>
#include <tests/support/ImageFiles.h>
#include <tests/support/LogCapture.h>

#include <new>

namespace {

// Makes the allocations of one thread fail, which is how an exception comes up in an operation that has none.
thread_local int allocationsBeforeFailure = -1;

bool failsNow() noexcept
{
    return allocationsBeforeFailure >= 0 && allocationsBeforeFailure-- == 0;
}

} // namespace

// Not inlined: g++ would see free() meet what it takes for another allocator's memory.
[[gnu::noinline]] void *operator new(std::size_t size)
{
    void *room = failsNow() ? nullptr : std::malloc(size > 0 ? size : 1);
    return room ? room : throw std::bad_alloc();
}
// Its own as well: the standard library's may be a sanitizer's, whose memory free() refuses.
[[gnu::noinline]] void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return failsNow() ? nullptr : std::malloc(size > 0 ? size : 1);
}
[[gnu::noinline]] void operator delete(void *room) noexcept
{
    std::free(room);
}
[[gnu::noinline]] void operator delete(void *room, std::size_t) noexcept
{
    std::free(room);
}

namespace kelvane {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::IsEmpty;

Data contentOf(const std::filesystem::path &path)
{
    const std::string bytes = readAll(path);
    return Data(bytes.data(), bytes.size());
}

TEST(Utils, SaveJpgImageWritesAJpegFile)
{
    const LogCapture log;
    const TemporaryFolder folder;
    EXPECT_TRUE(Utils::saveJpgImage(colourful(40, 30), folder.string("100% a.jpg")));
    EXPECT_TRUE(readAll(folder.path("100% a.jpg")).starts_with("\xff\xd8\xff"));
    EXPECT_EQ(Utils::getImageSizeFromPath(folder.string("100% a.jpg")), (Size{40, 30}));
    EXPECT_THAT(log.systemLines(), IsEmpty());
}

TEST(Utils, SaveJpgImageKeepsFourFifthsOfTheQuality)
{
    const TemporaryFolder folder;
    const Image image = colourful(64, 48);
    ASSERT_TRUE(Utils::saveJpgImage(image, folder.string("a.jpg")));
    const auto written = [&](double quality) {
        const auto destination = ImageDestination::create(folder.string("b.jpg"), ImageFormat::Jpeg);
        EXPECT_TRUE(destination->write(image, {.quality = quality, .exifBlock = {}, .iccProfile = {}}));
        return readAll(folder.path("b.jpg"));
    };
    EXPECT_EQ(readAll(folder.path("a.jpg")), written(0.8));
    EXPECT_NE(readAll(folder.path("a.jpg")), written(0.75));
    EXPECT_NE(readAll(folder.path("a.jpg")), written(0.85));
}

TEST(Utils, SavePngImageWritesThePixelsAsTheyAre)
{
    const TemporaryFolder folder;
    const Image image = colourful(40, 30);
    EXPECT_TRUE(Utils::savePngImage(image, folder.string("a.png")));
    EXPECT_TRUE(readAll(folder.path("a.png")).starts_with("\x89PNG"));
    EXPECT_EQ(Utils::createCGImageRefFromFile(folder.string("a.png")).pixels(), image.pixels());
}

TEST(Utils, SavingNothingOrNowhereIsRefusedSilently)
{
    const LogCapture log;
    const TemporaryFolder folder;
    EXPECT_FALSE(Utils::saveJpgImage(Image(), folder.string("a.jpg")));
    EXPECT_FALSE(Utils::savePngImage(Image(), folder.string("a.png")));
    EXPECT_FALSE(Utils::saveJpgImage(colourful(2, 2), {}));
    EXPECT_FALSE(Utils::savePngImage(colourful(2, 2), {}));
    EXPECT_THAT(log.systemLines(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Utils, SavingWhereNoFileCanBeMadeTellsTheSystemsLog)
{
    const LogCapture log;
    const TemporaryFolder folder;
    EXPECT_FALSE(Utils::saveJpgImage(colourful(2, 2), folder.string("missing/a.jpg")));
    EXPECT_FALSE(Utils::savePngImage(colourful(2, 2), folder.string("missing/a.png")));
    EXPECT_FALSE(Utils::saveJpgImage(colourful(2, 2), ""));
    EXPECT_THAT(log.systemLines(),
        ElementsAre("CGImageDestinationCreateWithURL failed!", "CGImageDestinationCreateWithURL failed",
            "CGImageDestinationCreateWithURL failed!"));
    EXPECT_THAT(log.errorLines(), IsEmpty());
}

TEST(Utils, WhatBecomesOfTheFinalWriteIsNotChecked)
{
    const LogCapture log;
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path("a.jpg/full"));
    EXPECT_TRUE(Utils::saveJpgImage(colourful(2, 2), folder.string("a.jpg")));
    EXPECT_TRUE(Utils::savePngImage(colourful(2, 2), folder.string("a.jpg")));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("a.jpg")));
    EXPECT_THAT(log.systemLines(), IsEmpty());
}

TEST(Utils, CreateCGImageRefReadsTheFirstImage)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "a.png");
    EXPECT_EQ(Utils::createCGImageRefFromFile(path.native()).pixels().view(), decodedByFfmpeg(path));
    EXPECT_EQ(Utils::createCGImageRefFromData(contentOf(path)).pixels().view(), decodedByFfmpeg(path));
    EXPECT_TRUE(Utils::createCGImageRefFromFile({}).isNull());
    EXPECT_TRUE(Utils::createCGImageRefFromData({}).isNull());
    EXPECT_TRUE(Utils::createCGImageRefFromFile(folder.string("missing")).isNull());
}

TEST(Utils, GetImageSizeFromPathLogsWhatCannotBeOpened)
{
    const LogCapture log;
    const TemporaryFolder folder;
    writeAll(folder.path("text.jpg"), "text");
    EXPECT_EQ(Utils::getImageSizeFromPath(folder.string("missing%d.jpg")), Size());
    EXPECT_EQ(Utils::getImageSizeFromPath(folder.string("text.jpg")), Size());
    EXPECT_EQ(Utils::getImageSizeFromPath({}), Size());
    EXPECT_THAT(log.errorLines(),
        ElementsAre("getImageSizeFromPath:" + folder.string("missing%d.jpg").str(),
            "getImageSizeFromPath:" + folder.string("text.jpg").str(), "getImageSizeFromPath:(null)"));
}

TEST(Utils, GetImageSizeFromPathIsZeroWhereTheHeadersLackIt)
{
    const LogCapture log;
    const TemporaryFolder folder;
    using namespace std::string_literals;
    writeAll(folder.path("a.jpg"), "\xff\xd8\xff\xe0\x00\x04\x00\x00\xff\xd9"s);
    EXPECT_EQ(Utils::getImageSizeFromPath(folder.string("a.jpg")), Size());
    EXPECT_THAT(log.errorLines(), IsEmpty());
}

TEST(Utils, GetImageSizeFromDataDecodes)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    for (const char *name : {"a.jpg", "a.png", "a.gif", "a.bmp", "a.tiff"})
        EXPECT_EQ(Utils::getImageSizeFromData(contentOf(makeImage(folder, name))), (Size{61, 43})) << name;
    std::string broken = readAll(folder.path("a.png"));
    broken.resize(broken.size() / 2);
    EXPECT_EQ(Utils::getImageSizeFromData(Data(broken.data(), broken.size())), Size()) << "headers alone do not count";
    EXPECT_EQ(Utils::getImageSizeFromData({}), Size());
    EXPECT_EQ(Utils::getImageSizeFromData(Data("text", 4)), Size());
}

TEST(Utils, GetExifInfoGivesTheExifValuesAlone)
{
    REQUIRE_FFMPEG();
    const LogCapture log;
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "a.jpg");
    EXPECT_TRUE(Utils::getExifInfo(path.native()).isNull());
    ASSERT_TRUE(setTags(path, "-EXIF:Make=Maker"));
    EXPECT_FALSE(Utils::getExifInfo(path.native()).contains("Make"));
    ASSERT_TRUE(setTags(path, "-EXIF:LensModel=Lens"));
    EXPECT_EQ(Utils::getExifInfo(path.native())["LensModel"].string(), "Lens");
    EXPECT_THAT(log.errorLines(), IsEmpty());
}

TEST(Utils, GetExifInfoLogsWhatIsThereAndNoImage)
{
    const LogCapture log;
    const TemporaryFolder folder;
    writeAll(folder.path("%@.jpg"), "text");
    EXPECT_TRUE(Utils::getExifInfo(folder.string("missing.jpg")).isNull());
    EXPECT_TRUE(Utils::getExifInfo({}).isNull());
    EXPECT_THAT(log.errorLines(), IsEmpty());
    EXPECT_TRUE(Utils::getExifInfo(folder.string("%@.jpg")).isNull());
    EXPECT_THAT(
        log.errorLines(), ElementsAre("getExifInfo srcImageRef is nil. Path:" + folder.string("%@.jpg").str() + "\n"));
    EXPECT_THAT(log.systemLines(), IsEmpty());
}

TEST(Utils, GetExifInfoCatchesExceptions)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "a.jpg");
    ASSERT_TRUE(setTags(path, "-EXIF:LensModel=Lens"));
    const String text = path.native();
    int caught = 0;
    for (int count = 0; count < 200; ++count) {
        const LogCapture log;
        allocationsBeforeFailure = count;
        const bool isNull = Utils::getExifInfo(text).isNull();
        const bool hasFailed = allocationsBeforeFailure < 0;
        allocationsBeforeFailure = -1;
        if (!hasFailed)
            break;
        if (!log.systemLines().empty()) {
            EXPECT_THAT(log.systemLines(), ElementsAre("exception : std::bad_alloc"));
            EXPECT_TRUE(isNull);
            ++caught;
        }
    }
    EXPECT_GT(caught, 0);
}

TEST(Utils, PhotoExifCreateDateTakesTheOriginalThenTheDigitisedDate)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "a.jpg");
    ASSERT_TRUE(setTags(path, "-EXIF:CreateDate='2012:05:04 01:02:03'"));
    EXPECT_EQ(Utils::photoExifCreateDate(path.native()), Utils::dateFormat("2012:05:04 01:02:03"));
    ASSERT_TRUE(setTags(path, "-EXIF:DateTimeOriginal='2012:05:03 14:05:09'"));
    EXPECT_EQ(Utils::photoExifCreateDate(path.native()), Utils::dateFormat("2012:05:03 14:05:09"));
    EXPECT_FALSE(Utils::photoExifCreateDate(path.native()).isNull());
}

TEST(Utils, PhotoExifCreateDateIsNullWhereExifHasNoUsableOne)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "a.jpg");
    ASSERT_TRUE(setTags(path, "-EXIF:LensModel=Lens"));
    EXPECT_TRUE(Utils::photoExifCreateDate(path.native()).isNull()) << "not the file's time";
    ASSERT_TRUE(
        setTags(path, "-n -EXIF:DateTimeOriginal='    :  :     :  :  ' -EXIF:CreateDate='2012:05:04 01:02:03'"));
    EXPECT_TRUE(Utils::photoExifCreateDate(path.native()).isNull()) << "nor the digitised one";
}

TEST(Utils, PhotoExifCreateDateWithoutExifIsTheFilesOwn)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const String path = makeImage(folder, "a.jpg").native();
    EXPECT_EQ(Utils::photoExifCreateDate(path), Utils::createTime(path));
    EXPECT_FALSE(Utils::photoExifCreateDate(path).isNull());
    EXPECT_TRUE(Utils::photoExifCreateDate(folder.string("missing.jpg")).isNull());
    EXPECT_TRUE(Utils::photoExifCreateDate({}).isNull());
}

TEST(Utils, ImagesOfOthersHaveTheSizesAndDatesThatOtherReadersFind)
{
    const std::filesystem::path samples(KELVANE_SAMPLES);
    if (!std::filesystem::exists(samples / "expected.json"))
        GTEST_SKIP() << "no samples";
    const auto images = nlohmann::json::parse(readAll(samples / "expected.json"))["images"];
    for (const auto &[name, facts] : images.items()) {
        const String path = (samples / "images" / name).native();
        const auto &agreed = facts["agreed"];
        EXPECT_EQ(Utils::getImageSizeFromPath(path), (Size{agreed["width"], agreed["height"]})) << name;
        const bool hasExif = facts["has_exif_subdictionary_by_exiftool"].get<bool>();
        EXPECT_EQ(Utils::getExifInfo(path).isNull(), !hasExif) << name;
        const std::string taken = agreed.value("DateTimeOriginal", agreed.value("DateTimeDigitized", ""));
        EXPECT_EQ(Utils::photoExifCreateDate(path), hasExif ? Utils::dateFormat(taken) : Utils::createTime(path))
            << name;
    }
}

} // namespace
} // namespace kelvane
