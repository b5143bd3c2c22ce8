// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ImageDestination.h>

#include <gmock/gmock.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/ImageSource.h>
#include <tests/support/ImageFiles.h>

namespace kelvane {
namespace {

using namespace testsupport;
using testing::HasSubstr;

std::size_t filesIn(const TemporaryFolder &folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

TEST(ImageDestination, PngComesBackPixelByPixel)
{
    const TemporaryFolder folder;
    for (const int alpha : {255, 0}) {
        const Image image = colourful(70, 31, alpha);
        ASSERT_TRUE(ImageDestination::create(folder.string("a.png"), ImageFormat::Png)->write(image));
        EXPECT_EQ(Image::fromFile(folder.string("a.png")).pixels(), image.pixels()) << alpha;
    }
    const Image half = colourful(70, 31, 128);
    ASSERT_TRUE(ImageDestination::create(folder.string("a.png"), ImageFormat::Png)->write(half));
    EXPECT_LE(meanDifference(Image::fromFile(folder.string("a.png")).pixels().view(), half.pixels().view()), 0.5);
    EXPECT_EQ(filesIn(folder), 1U) << "nothing is left beside it";
}

TEST(ImageDestination, OtherDecodersReadWhatIsWritten)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const Image image = colourful(70, 31);
    ASSERT_TRUE(ImageDestination::create(folder.string("a.png"), ImageFormat::Png)->write(image));
    EXPECT_EQ(decodedByFfmpeg(folder.path("a.png")), image.pixels().view());
    ASSERT_TRUE(ImageDestination::create(folder.string("a.jpg"), ImageFormat::Jpeg)->write(image));
    EXPECT_LE(meanDifference(decodedByFfmpeg(folder.path("a.jpg")), image.pixels().view()), 6);
}

TEST(ImageDestination, QualityTradesSizeForLikeness)
{
    const TemporaryFolder folder;
    const Image image = colourful(200, 200);
    std::uintmax_t last = 0;
    for (const double quality : {0.1, 0.5, 0.8, 1.0}) {
        ImageDestinationOptions options;
        options.quality = quality;
        ASSERT_TRUE(ImageDestination::create(folder.string("a.jpg"), ImageFormat::Jpeg)->write(image, options));
        const auto size = std::filesystem::file_size(folder.path("a.jpg"));
        EXPECT_GT(size, last);
        last = size;
    }
}

TEST(ImageDestination, TakesExifOrientationAndProfileAlong)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "source.jpg");
    ASSERT_TRUE(setTags(path, "-EXIF:DateTimeOriginal='2012:05:03 14:05:09' -n -EXIF:Orientation=3"));
    const auto source = ImageSource::open(path.native());
    ImageDestinationOptions options;
    options.exifBlock = source->exifBlock();
    options.iccProfile = Data(std::string(200, 'p').data(), 200);
    for (const int orientation : {0, 8}) {
        options.orientation = orientation;
        for (const auto &[name, format] : {std::pair("a.jpg", ImageFormat::Jpeg), {"a.png", ImageFormat::Png}}) {
            ASSERT_TRUE(ImageDestination::create(folder.string(name), format)->write(colourful(9, 9), options));
            const auto written = ImageSource::open(folder.string(name));
            EXPECT_EQ(written->properties()["{Exif}"].dictionary()["DateTimeOriginal"].string(), "2012:05:03 14:05:09");
            EXPECT_EQ(written->orientation(), orientation == 0 ? 3 : 8) << name;
        }
        EXPECT_EQ(ImageSource::open(folder.string("a.jpg"))->iccProfile(), options.iccProfile);
    }
}

TEST(ImageDestination, CannotBeMadeWhereNoFileCan)
{
    const TemporaryFolder folder;
    writeAll(folder.path("file"), "x");
    EXPECT_FALSE(ImageDestination::create(folder.string("missing/a.jpg"), ImageFormat::Jpeg));
    EXPECT_FALSE(ImageDestination::create(folder.string("file/a.jpg"), ImageFormat::Jpeg));
    EXPECT_FALSE(ImageDestination::create({}, ImageFormat::Jpeg));
    EXPECT_FALSE(ImageDestination::create("", ImageFormat::Png));
    EXPECT_FALSE(ImageDestination::create(folder.string("a.gif"), ImageFormat::Gif));
    EXPECT_FALSE(ImageDestination::create(String(std::string_view("/tmp/a\0b", 8)), ImageFormat::Png));
}

TEST(ImageDestination, AFailedWriteLeavesWhatWasThere)
{
    const TemporaryFolder folder;
    writeAll(folder.path("a.jpg"), "old");
    const auto destination = ImageDestination::create(folder.string("a.jpg"), ImageFormat::Jpeg);
    ASSERT_TRUE(destination);
    EXPECT_FALSE(destination->write(Image()));
    EXPECT_FALSE(destination->write(colourful(70000, 1))) << "wider than JPEG allows";
    EXPECT_EQ(readAll(folder.path("a.jpg")), "old");
    EXPECT_EQ(filesIn(folder), 1U);
    std::filesystem::create_directories(folder.path("b.png/full"));
    EXPECT_FALSE(ImageDestination::create(folder.string("b.png"), ImageFormat::Png)->write(colourful(2, 2)));
    EXPECT_EQ(filesIn(folder), 2U);
}

} // namespace
} // namespace kelvane
