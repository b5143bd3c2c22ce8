// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/ImageSource.h>

#include <gmock/gmock.h>
#include <kelvane/foundation/Value.h>
#include <nlohmann/json.hpp>
#include <tests/support/HeifFiles.h>
#include <tests/support/ImageFiles.h>

#include <sys/stat.h>

namespace kelvane {
namespace {

using namespace testsupport;

struct Case {
    const char *name;
    ImageFormat format;
    const char *type;
};

class SourceOf : public testing::TestWithParam<Case> {};

TEST_P(SourceOf, TellsFormatSizeAndExifWithoutDecoding)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, GetParam().name, "", 300, 7);
    const auto source = ImageSource::open(path.native());
    ASSERT_TRUE(source);
    EXPECT_EQ(source->format(), GetParam().format);
    EXPECT_EQ(source->typeIdentifier(), GetParam().type);
    EXPECT_EQ(source->pixelSize(), (Size{300, 7}));
    EXPECT_EQ(source->orientation(), 1);
    EXPECT_EQ(source->properties()["PixelWidth"].intValue(), 300);
    EXPECT_EQ(source->properties()["PixelHeight"].intValue(), 7);
    EXPECT_FALSE(source->properties().contains("{Exif}"));
}

INSTANTIATE_TEST_SUITE_P(Formats, SourceOf,
    testing::Values(Case{"a.jpg", ImageFormat::Jpeg, "public.jpeg"}, Case{"a.png", ImageFormat::Png, "public.png"},
        Case{"a.gif", ImageFormat::Gif, "com.compuserve.gif"}, Case{"a.bmp", ImageFormat::Bmp, "com.microsoft.bmp"},
        Case{"a.tiff", ImageFormat::Tiff, "public.tiff"}, Case{"a.webp", ImageFormat::WebP, "org.webmproject.webp"}),
    [](const auto &one) { return "Case" + std::to_string(one.index); });

class ExifOf : public testing::TestWithParam<const char *> {};

TEST_P(ExifOf, IsReadByItsNames)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, GetParam());
    ASSERT_TRUE(setTags(path,
        "-EXIF:DateTimeOriginal='2012:05:03 14:05:09' -EXIF:CreateDate='2012:05:04 01:02:03' "
        "-EXIF:ModifyDate='2013:01:01 "
        "00:00:00' -EXIF:ExposureTime=1/250 -EXIF:FNumber=2.8 -EXIF:ISO=400 -EXIF:LensModel='Prime 35' "
        "-EXIF:Make=Maker "
        "-EXIF:Model='Model 1' -EXIF:Software=Soft -EXIF:ExifImageWidth=61 -EXIF:ExifImageHeight=43 -n "
        "-EXIF:Orientation=6 -EXIF:GPSLatitude=48.5 -EXIF:GPSLatitudeRef=N -EXIF:GPSLongitude=11.25 "
        "-EXIF:GPSLongitudeRef=W -EXIF:GPSAltitude=519.5 -EXIF:GPSTimeStamp=12:30:45 -EXIF:UserComment='A comment' "
        "-EXIF:ExifVersion=0230 -EXIF:SubSecTimeOriginal=12 -EXIF:OffsetTimeOriginal=+02:00 -EXIF:Flash=16"));
    const auto source = ImageSource::open(path.native());
    ASSERT_TRUE(source);
    EXPECT_EQ(source->orientation(), 6);
    const Dictionary all = source->properties();
    EXPECT_EQ(all["Orientation"].intValue(), 6);
    EXPECT_EQ(all["PixelWidth"].intValue(), 61);
    const Dictionary exif = all["{Exif}"].dictionary();
    EXPECT_EQ(exif["DateTimeOriginal"].string(), "2012:05:03 14:05:09");
    EXPECT_EQ(exif["DateTimeDigitized"].string(), "2012:05:04 01:02:03");
    EXPECT_DOUBLE_EQ(exif["ExposureTime"].doubleValue(), 0.004);
    EXPECT_DOUBLE_EQ(exif["FNumber"].doubleValue(), 2.8);
    EXPECT_EQ(exif["ISOSpeedRatings"].array(), (Array{400}));
    EXPECT_EQ(exif["LensModel"].string(), "Prime 35");
    EXPECT_EQ(exif["PixelXDimension"].intValue(), 61);
    EXPECT_EQ(exif["PixelYDimension"].intValue(), 43);
    EXPECT_EQ(exif["UserComment"].string(), "A comment");
    EXPECT_EQ(exif["ExifVersion"].array(), (Array{2, 3}));
    EXPECT_EQ(exif["SubsecTimeOriginal"].string(), "12");
    EXPECT_EQ(exif["OffsetTimeOriginal"].string(), "+02:00");
    EXPECT_EQ(exif["Flash"].intValue(), 16);
    const Dictionary tiff = all["{TIFF}"].dictionary();
    EXPECT_EQ(tiff["Make"].string(), "Maker");
    EXPECT_EQ(tiff["Model"].string(), "Model 1");
    EXPECT_EQ(tiff["Software"].string(), "Soft");
    EXPECT_EQ(tiff["DateTime"].string(), "2013:01:01 00:00:00");
    EXPECT_EQ(tiff["Orientation"].intValue(), 6);
    const Dictionary gps = all["{GPS}"].dictionary();
    EXPECT_DOUBLE_EQ(gps["Latitude"].doubleValue(), 48.5);
    EXPECT_EQ(gps["LatitudeRef"].string(), "N");
    EXPECT_DOUBLE_EQ(gps["Longitude"].doubleValue(), 11.25);
    EXPECT_EQ(gps["LongitudeRef"].string(), "W");
    EXPECT_DOUBLE_EQ(gps["Altitude"].doubleValue(), 519.5);
    EXPECT_EQ(gps["TimeStamp"].string(), "12:30:45");
    EXPECT_FALSE(source->exifBlock().isNull());
    const std::string bytes = readAll(path);
    EXPECT_EQ(ImageSource::fromData(Data(bytes.data(), bytes.size()))->properties(), all);
}

INSTANTIATE_TEST_SUITE_P(Containers, ExifOf, testing::Values("a.jpg", "a.png", "a.tiff", "a.webp"),
    [](const auto &one) { return std::string(one.param).substr(2); });

TEST(ImageSource, APhotoWithTheBrandsOfAvifAndHeicIsAvif)
{
    const std::string file = heifFile({{"av01", "coded", {sizeBox(400, 300)}}}, {}, "avif");
    const auto source = ImageSource::fromData(Data(file.data(), file.size()));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->typeIdentifier(), "public.avif");
}

// How a photo lies is not for its EXIF to say there.
TEST(ImageSource, ReadsTheExifOfHeicPhotos)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "a.heic", "", 64, 48);
    ASSERT_TRUE(setTags(path,
        "-EXIF:DateTimeOriginal='2012:05:03 14:05:09' -EXIF:ISO=400 -EXIF:Make=Maker -n -EXIF:Orientation=6 "
        "-EXIF:GPSLatitude=48.5"));
    const auto source = ImageSource::open(path.native());
    ASSERT_TRUE(source);
    EXPECT_EQ(source->typeIdentifier(), "public.heic");
    EXPECT_EQ(source->pixelSize(), (Size{64, 48}));
    EXPECT_EQ(source->orientation(), 1);
    const Dictionary all = source->properties();
    EXPECT_EQ(all["{Exif}"].dictionary()["DateTimeOriginal"].string(), "2012:05:03 14:05:09");
    EXPECT_EQ(all["{Exif}"].dictionary()["ISOSpeedRatings"].array(), (Array{400}));
    EXPECT_EQ(all["{TIFF}"].dictionary()["Make"].string(), "Maker");
    EXPECT_DOUBLE_EQ(all["{GPS}"].dictionary()["Latitude"].doubleValue(), 48.5);
}

TEST(ImageSource, FindsTheSizeBehindWhatIsNoSegmentOfAJpegFile)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const std::string plain = readAll(makeImage(folder, "a.jpg"));
    using namespace std::string_literals;
    for (const std::string &between :
        {"\xff\xff"s, "padding"s, "\0\0\0"s, "\xff\0"s, "\xff\x01"s, "\xff\xd0"s, std::string(1000, 'x')}) {
        const std::string bytes = plain.substr(0, 2) + "\xff\xfe\0\2"s + between + plain.substr(2);
        const Data file(bytes.data(), bytes.size());
        EXPECT_EQ(ImageSource::fromData(file)->pixelSize(), (Size{61, 43})) << testing::PrintToString(between);
        EXPECT_EQ(Image::fromData(file).width(), 61) << testing::PrintToString(between);
    }
    const std::string endless = "\xff\xd8\xff" + std::string(1 << 20, 'x') + plain;
    EXPECT_EQ(ImageSource::fromData(Data(endless.data(), endless.size()))->pixelSize(), Size());
}

TEST(ImageSource, IsNullOfWhatIsNoPicture)
{
    const TemporaryFolder folder;
    writeAll(folder.path("text.jpg"), "no picture at all, but long enough to look like one");
    writeAll(folder.path("empty"), "");
    ASSERT_EQ(::mkfifo(folder.string("pipe").c_str(), 0644), 0);
    for (const String &path : {String(), String(""), folder.string(), folder.string("missing"),
             folder.string("text.jpg"), folder.string("empty"), folder.string("pipe"), String("/dev/zero")})
        EXPECT_FALSE(ImageSource::open(path)) << path.c_str();
    EXPECT_FALSE(ImageSource::fromData({}));
}

TEST(ImageSource, FilmsInTheContainerOfPhotosAreNone)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    EXPECT_FALSE(ImageSource::open(makeMedia(folder, "film.mp4", {}).native()));
}

TEST(ImageSource, NamesTheProfile)
{
    const std::filesystem::path samples = std::filesystem::path(KELVANE_SAMPLES) / "images";
    if (!std::filesystem::exists(samples))
        GTEST_SKIP() << "no samples";
    int count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(samples)) {
        const auto source = entry.is_regular_file() ? ImageSource::open(entry.path().native()) : nullptr;
        if (source && !source->iccProfile().isNull() && source->properties().contains("ProfileName"))
            ++count;
    }
    EXPECT_GT(count, 0);
}

TEST(ImageSource, AgreesWithOtherReadersOnFilesOfOthers)
{
    const std::filesystem::path samples(KELVANE_SAMPLES);
    if (!std::filesystem::exists(samples / "expected.json"))
        GTEST_SKIP() << "no samples";
    const auto images = nlohmann::json::parse(readAll(samples / "expected.json"))["images"];
    ASSERT_GE(images.size(), 10U);
    for (const auto &[name, facts] : images.items()) {
        const auto source = ImageSource::open((samples / "images" / name).native());
        ASSERT_TRUE(source) << name;
        const auto &agreed = facts["agreed"];
        EXPECT_EQ(source->pixelSize(), (Size{agreed["width"], agreed["height"]})) << name;
        const Dictionary all = source->properties();
        EXPECT_EQ(source->orientation(), agreed.value("orientation", source->orientation())) << name;
        for (const char *key : {"DateTimeOriginal", "DateTimeDigitized"})
            EXPECT_EQ(all["{Exif}"].dictionary()[key].string().str(), agreed.value(key, "")) << name;
        EXPECT_EQ(all["{TIFF}"].dictionary()["DateTime"].string().str(), agreed.value("DateTime", "")) << name;
        EXPECT_EQ(all.contains("{Exif}"), facts["has_exif_subdictionary_by_exiftool"].get<bool>()) << name;
    }
}

} // namespace
} // namespace kelvane
