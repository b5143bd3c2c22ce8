// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/HeicConverter.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageDestination.h>

#include "tests/support/PictureCompare.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

// Every picture here is compared, as a viewer shows it, with what libheif's own program makes of the same file.
class HeicPictures : public testing::Test {
protected:
    void SetUp() override
    {
        if (!runCommand("command -v ffmpeg && command -v heif-enc && command -v heif-convert && command -v exiftool"))
            GTEST_SKIP() << "ffmpeg, heif-enc, heif-convert and exiftool are needed";
    }

    [[nodiscard]] std::filesystem::path in(std::string_view name) const { return folder.path(name); }

    // A HEIC file of 320 x 192 that heif-enc made.
    HeifItem encoded(const std::string &options = "", const std::string &filter = "null",
        const std::string &format = "rgb24", int width = 320, int height = 192)
    {
        EXPECT_TRUE(makePicture(in("a.png"), width, height, filter, format));
        EXPECT_TRUE(encodeHeic(in("a.png"), in("a.heic"), options));
        return primaryItemOf(in("a.heic"));
    }

    // The same picture with colours by other names.
    void writeNamed(HeifItem item, int primaries, int transfer, int matrix, bool isFullRange)
    {
        item.properties.push_back(colourBox(primaries, transfer, matrix, isFullRange));
        writeFile(in("named.heic"), heifFile({item}));
    }

    void convert(const std::filesystem::path &heic)
    {
        ASSERT_TRUE(HeicConverter::convertHeicToJPG(heic.string(), folder.string("a.jpg")));
    }

    // Within what JPEG loses: the mean of a wrong orientation or wrong colours is over 20.
    void expectSameAsLibheif(std::string_view name, double mean = 2.5, double nearlyAll = 18)
    {
        convert(in(name));
        const PictureDifference found =
            difference(readPicture(in("a.jpg"), folder.path()), uprightByLibheif(in(name), folder.path()));
        std::cout << testing::UnitTest::GetInstance()->current_test_info()->name() << ": " << found << '\n';
        EXPECT_LE(found.mean, mean) << found;
        EXPECT_LE(found.nearlyAll, nearlyAll) << found;
    }

    std::string exif(const std::string &tag)
    {
        std::string text = outputOf("exiftool -s3 -n -" + tag + " " + quoted(in("a.jpg")), folder.path());
        while (!text.empty() && text.back() == '\n')
            text.pop_back();
        return text;
    }

    TemporaryFolder folder;
};

struct Orientation {
    const char *name;
    std::vector<std::string> transforms;
    const char *orientation; // of the JPEG
};

class HeicOrientations : public HeicPictures, public testing::WithParamInterface<Orientation> {};

TEST_P(HeicOrientations, AreShownUprightOnce)
{
    HeifItem item = encoded();
    item.properties.insert(item.properties.end(), GetParam().transforms.begin(), GetParam().transforms.end());
    writeFile(in("turned.heic"), heifFile({item}));

    expectSameAsLibheif("turned.heic");
    EXPECT_EQ(exif("IFD0:Orientation"), GetParam().orientation);
    EXPECT_EQ(exif("IFD1:Orientation"), "");
}

INSTANTIATE_TEST_SUITE_P(Table, HeicOrientations,
    testing::Values(Orientation{"NotTurned", {}, "1"}, Orientation{"TurnedBy90", {turnBox(1)}, "8"},
        Orientation{"TurnedBy180", {turnBox(2)}, "3"}, Orientation{"TurnedBy270", {turnBox(3)}, "6"},
        Orientation{"TurnedTwice", {turnBox(1), turnBox(1)}, "3"},
        Orientation{"MirroredSideways", {mirrorBox(true)}, "1"},
        Orientation{"MirroredUpsideDown", {mirrorBox(false)}, "1"},
        Orientation{"TurnedThenMirrored", {turnBox(3), mirrorBox(true)}, "1"},
        Orientation{"MirroredThenTurned", {mirrorBox(true), turnBox(3)}, "1"},
        Orientation{"Cropped", {cropBox(200, 101)}, "1"},
        Orientation{"CroppedAndTurned", {cropBox(201, 100), turnBox(1)}, "1"},
        Orientation{"CroppedTurnedAndMirrored", {cropBox(160, 96), turnBox(2), mirrorBox(false)}, "1"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(HeicPictures, AGridIsPutTogetherOfItsTiles)
{
    // Six tiles of 128 x 128 for 320 x 192: the last ones reach over the edges.
    ASSERT_TRUE(makePicture(in("whole.png"), 320, 192, "pad=384:256"));
    std::vector<HeifItem> items = {{"grid", gridContent(2, 3, 320, 192), {sizeBox(320, 192), turnBox(1)}}};
    HeifReference tiles{"dimg", 1, {}};
    for (int i = 0; i < 6; ++i) {
        ASSERT_TRUE(runCommand("ffmpeg -v error -y -i " + quoted(in("whole.png")) + " -vf crop=128:128:"
            + std::to_string(i % 3 * 128) + ":" + std::to_string(i / 3 * 128) + " " + quoted(in("tile.png"))));
        ASSERT_TRUE(encodeHeic(in("tile.png"), in("tile.heic")));
        items.push_back(primaryItemOf(in("tile.heic")));
        tiles.to.push_back(static_cast<std::uint16_t>(i + 2));
    }
    writeFile(in("grid.heic"), heifFile(items, {tiles}));

    expectSameAsLibheif("grid.heic");
    EXPECT_EQ(exif("IFD0:Orientation"), "8");
    EXPECT_EQ(exif("ImageSize"), "320 192");
}

// What a part of a picture shows, by the number of its first column.
ShownPicture columnsOf(const ShownPicture &picture, int first, int count)
{
    ShownPicture part{count, picture.height, {}};
    for (int y = 0; y < picture.height; ++y)
        part.pixels += picture.pixels.substr(3
                * (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width)
                    + static_cast<std::size_t>(first)),
            3 * static_cast<std::size_t>(count));
    return part;
}

TEST_F(HeicPictures, TilesThatNameOtherColoursThanTheFirstComeOutRight)
{
    // Full range, as JPEG has it, and limited: what goes into the file as it is beside what does not.
    HeifItem full = encoded();
    HeifItem limited = full;
    full.properties.push_back(colourBox(1, 13, 6, true));
    limited.properties.push_back(colourBox(1, 13, 6, false));
    const auto shown = [this](const std::vector<HeifItem> &items, const std::vector<HeifReference> &references = {}) {
        writeFile(in("some.heic"), heifFile(items, references));
        convert(in("some.heic"));
        return readPicture(in("a.jpg"), folder.path());
    };
    const ShownPicture fullAlone = shown({full});
    const ShownPicture limitedAlone = shown({limited});
    ASSERT_GT(difference(fullAlone, limitedAlone).mean, 5);

    const HeifItem grid{"grid", gridContent(1, 2, 640, 192), {sizeBox(640, 192)}};
    const HeifReference tiles{"dimg", 1, {2, 3}};
    for (const bool isFullFirst : {true, false}) {
        const ShownPicture both =
            isFullFirst ? shown({grid, full, limited}, {tiles}) : shown({grid, limited, full}, {tiles});
        ASSERT_EQ(both.width, 640);
        EXPECT_LE(difference(columnsOf(both, 0, 320), isFullFirst ? fullAlone : limitedAlone).mean, 1);
        EXPECT_LE(difference(columnsOf(both, 320, 320), isFullFirst ? limitedAlone : fullAlone).mean, 1);
    }
}

TEST_F(HeicPictures, ColoursAsJpegHasThemAreTheSameOnTheWayThroughPixels)
{
    // The image layer reads pixels, the converter takes planes.
    encoded("", "format=rgb24,crop=311:187:0:0:exact=1");
    convert(in("a.heic"));
    const ShownPicture byPlanes = readPicture(in("a.jpg"), folder.path());
    const auto destination = ImageDestination::create(folder.string("pixels.jpg"), ImageFormat::Jpeg);
    ASSERT_TRUE(destination);
    ASSERT_TRUE(destination->write(Image::fromFile(folder.string("a.heic"))));
    const PictureDifference found = difference(byPlanes, readPicture(in("pixels.jpg"), folder.path()));
    EXPECT_LE(found.mean, 0.7) << found;
    EXPECT_LE(found.nearlyAll, 6) << found;
}

TEST_F(HeicPictures, TenBitsAndTwelveBecomeEight)
{
    for (const char *depth : {"10", "12"}) {
        encoded(std::string("-b ") + depth, "null", "rgb48be");
        expectSameAsLibheif("a.heic");
    }
}

TEST_F(HeicPictures, FullAndLimitedRangeAndAllMatricesComeOutRight)
{
    const HeifItem item = encoded();
    for (const bool isFullRange : {false, true})
        for (const int matrix : {1, 5, 6, 9}) {
            SCOPED_TRACE("matrix " + std::to_string(matrix) + (isFullRange ? ", full range" : ", limited range"));
            writeNamed(item, 1, 13, matrix, isFullRange);
            expectSameAsLibheif("named.heic", 3);
        }
}

TEST_F(HeicPictures, FullyCodedColourAndLosslessRgbComeOutRight)
{
    encoded("-p chroma=444");
    expectSameAsLibheif("a.heic");
    encoded("-L -p chroma=444 --matrix_coefficients=0");
    expectSameAsLibheif("a.heic");
    encoded("-p chroma=422");
    expectSameAsLibheif("a.heic");
}

TEST_F(HeicPictures, GreyPicturesComeOutGrey)
{
    encoded("", "null", "gray");
    expectSameAsLibheif("a.heic");
}

TEST_F(HeicPictures, OddSizesComeOutWhole)
{
    encoded("", "format=rgb24,crop=319:191:0:0:exact=1");
    expectSameAsLibheif("a.heic");
    EXPECT_EQ(exif("ImageSize"), "319 191");
}

TEST_F(HeicPictures, AStreamOfAllCoresIsNoOtherThanOneOfOne)
{
    encoded("", "null", "rgb24", 1600, 1201);
    expectSameAsLibheif("a.heic");
}

TEST_F(HeicPictures, TransparentPlacesBecomeWhite)
{
    encoded("", "format=rgba,geq=r=r(X\\,Y):g=g(X\\,Y):b=b(X\\,Y):a=255*gt(X\\,W/2)", "rgba");
    convert(in("a.heic"));

    const ShownPicture shown = readPicture(in("a.jpg"), folder.path());
    ASSERT_EQ(shown.width, 320);
    EXPECT_GE(*std::min_element(shown.pixels.begin(), shown.pixels.begin() + 3 * 100,
                  [](char a, char b) { return static_cast<unsigned char>(a) < static_cast<unsigned char>(b); }),
        static_cast<char>(250));
    // The opaque half is what it is without alpha.
    ASSERT_TRUE(makePicture(in("opaque.png"), 320, 192));
    ShownPicture opaque = readPicture(in("opaque.png"), folder.path());
    double sum = 0;
    for (std::size_t y = 0; y < 192; ++y)
        for (std::size_t i = 3 * 180; i < 3 * 320; ++i)
            sum += std::abs(static_cast<unsigned char>(shown.pixels[y * 960 + i])
                - static_cast<unsigned char>(opaque.pixels[y * 960 + i]));
    EXPECT_LE(sum / (192 * 3 * 140), 3);
}

TEST_F(HeicPictures, OfSeveralPicturesThePrimaryOneCounts)
{
    ASSERT_TRUE(makePicture(in("b.png"), 128, 64, "negate"));
    ASSERT_TRUE(encodeHeic(in("b.png"), in("b.heic")));
    const HeifItem other = primaryItemOf(in("b.heic"));
    writeFile(in("several.heic"), heifFile({encoded(), other, other}, {{"thmb", 2, {1}}}));

    expectSameAsLibheif("several.heic");
    EXPECT_EQ(exif("ImageSize"), "320 192");
}

TEST_F(HeicPictures, APictureDerivedFromAnotherComesOutUpright)
{
    HeifItem item = encoded();
    item.properties.push_back(turnBox(1));
    writeFile(in("identity.heic"), heifFile({{"iden", "", {sizeBox(192, 320), turnBox(1)}}, item}, {{"dimg", 1, {2}}}));

    expectSameAsLibheif("identity.heic");
}

TEST_F(HeicPictures, AnEmbeddedProfileIsKeptByteByByte)
{
    writeNamed(encoded(), 12, 13, 6, true);
    convert(in("named.heic"));
    const std::string profile = outputOf("exiftool -b -icc_profile " + quoted(in("a.jpg")), folder.path());
    ASSERT_FALSE(profile.empty());
    writeFile(in("p3.icc"), profile);
    ASSERT_TRUE(makePicture(in("p3.jpg"), 320, 192));
    ASSERT_TRUE(runCommand(
        "exiftool -overwrite_original '-icc_profile<=" + in("p3.icc").string() + "' " + quoted(in("p3.jpg"))));
    ASSERT_TRUE(encodeHeic(in("p3.jpg"), in("p3.heic")));

    expectSameAsLibheif("p3.heic");
    EXPECT_EQ(outputOf("exiftool -b -icc_profile " + quoted(in("a.jpg")), folder.path()), profile);
}

TEST_F(HeicPictures, ColoursThatAreOnlyNamedBecomeAProfile)
{
    writeNamed(encoded(), 12, 13, 6, true);
    expectSameAsLibheif("named.heic");
    EXPECT_EQ(exif("ICC_Profile:ProfileDescription"), "Display P3");
    // What every profile of Display P3 has, to four places.
    EXPECT_EQ(exif("ICC_Profile:RedMatrixColumn").substr(0, 7), "0.51512");
}

TEST_F(HeicPictures, SrgbNeedsNoProfile)
{
    writeNamed(encoded(), 1, 13, 6, true);
    convert(in("named.heic"));
    EXPECT_EQ(exif("ICC_Profile:ProfileDescription"), "");
}

TEST_F(HeicPictures, ExifSurvivesWithTheOrientationThatIsAskedFor)
{
    ASSERT_TRUE(makePicture(in("camera.jpg"), 320, 192));
    ASSERT_TRUE(
        runCommand("exiftool -overwrite_original -n -DateTimeOriginal='2023:04:05 06:07:08' -Make=Maker -Model=Camera "
                   "-GPSLatitude=48.2 -GPSLatitudeRef=N -GPSLongitude=16.37 -GPSLongitudeRef=E -Orientation=6 "
                   "-ExifImageWidth=1 -ExifImageHeight=1 -XMP-dc:Title=Title -XMP-tiff:Orientation=6 "
            + quoted(in("camera.jpg"))));
    ASSERT_TRUE(encodeHeic(in("camera.jpg"), in("camera.heic")));

    expectSameAsLibheif("camera.heic");
    EXPECT_EQ(exif("DateTimeOriginal"), "2023:04:05 06:07:08");
    EXPECT_EQ(exif("Make"), "Maker");
    EXPECT_EQ(exif("Model"), "Camera");
    EXPECT_EQ(exif("GPS:GPSLatitude").substr(0, 4), "48.2");
    EXPECT_EQ(exif("GPS:GPSLongitude").substr(0, 5), "16.37");
    EXPECT_EQ(exif("ExifImageWidth"), "320");
    EXPECT_EQ(exif("ExifImageHeight"), "192");
    EXPECT_EQ(exif("XMP-dc:Title"), "Title");
    EXPECT_EQ(exif("IFD0:Orientation"), exif("XMP-tiff:Orientation"));
    EXPECT_EQ(outputOf("exiftool -validate -warning -a -s3 " + quoted(in("a.jpg")), folder.path()), "OK\n");
}

TEST_F(HeicPictures, RealFilesAreShownAsLibheifShowsThem)
{
    const std::filesystem::path samples = std::filesystem::path(KELVANE_SAMPLES) / "images";
    if (!std::filesystem::exists(samples))
        GTEST_SKIP() << "the media files of others are not there";
    for (const char *name : {"kimageformats-orientation6.heic", "kimageformats-crop_orientation5.heic"}) {
        SCOPED_TRACE(name);
        std::filesystem::copy_file(samples / name, in(name));
        expectSameAsLibheif(name, 2.5, 40); // small coloured letters, of which JPEG loses more
        EXPECT_EQ(exif("DateTimeOriginal").substr(0, 10), "2025:02:25");
    }
}

} // namespace
