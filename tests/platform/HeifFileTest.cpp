// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/HeifFile.h>

#include "tests/support/HeifFiles.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace kelvane::detail;
using namespace kelvane::testsupport;

namespace {

std::optional<HeifFile> parse(const std::string &bytes)
{
    return HeifFile::parse(std::as_bytes(std::span(bytes)));
}

// A photo of 400 x 300 with nothing to decode.
HeifItem photo(const std::vector<std::string> &properties = {})
{
    HeifItem item{"hvc1", "coded", {sizeBox(400, 300)}};
    item.properties.insert(item.properties.end(), properties.begin(), properties.end());
    return item;
}

struct Case {
    const char *name;
    std::vector<std::string> transforms;
    int rotation;
    int orientation;
    std::uint32_t width; // upright
    std::uint32_t height;
};

class HeifOrientation : public testing::TestWithParam<Case> {};

TEST_P(HeifOrientation, FollowsFromTheTransformsInTheirOrder)
{
    const auto file = parse(heifFile({photo(GetParam().transforms)}));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->rotation, GetParam().rotation);
    EXPECT_EQ(file->orientation, GetParam().orientation);
    EXPECT_EQ(file->storedWidth, 400U);
    EXPECT_EQ(file->storedHeight, 300U);
    EXPECT_EQ(file->uprightWidth, GetParam().width);
    EXPECT_EQ(file->uprightHeight, GetParam().height);
}

INSTANTIATE_TEST_SUITE_P(Table, HeifOrientation,
    testing::Values(Case{"None", {}, 0, 1, 400, 300}, Case{"Sideways", {mirrorBox(true)}, 0, 2, 400, 300},
        Case{"HalfTurn", {turnBox(2)}, 180, 3, 400, 300}, Case{"UpsideDown", {mirrorBox(false)}, 0, 4, 400, 300},
        Case{"Transposed", {turnBox(3), mirrorBox(true)}, 270, 5, 300, 400},
        Case{"Clockwise", {turnBox(3)}, 270, 6, 300, 400},
        Case{"Transversed", {turnBox(1), mirrorBox(true)}, 90, 7, 300, 400},
        Case{"Anticlockwise", {turnBox(1)}, 90, 8, 300, 400}, Case{"Twice", {turnBox(1), turnBox(2)}, 270, 6, 300, 400},
        Case{"MirroredFirst", {mirrorBox(true), turnBox(1)}, 90, 5, 300, 400},
        Case{"Cropped", {cropBox(200, 100), turnBox(1)}, 90, 8, 100, 200},
        Case{"CroppedLarger", {cropBox(1000, 1000)}, 0, 1, 400, 300}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(HeifFile, BrandsAreReadInTheirOrder)
{
    const auto file = parse(heifFile({photo()}, {}, "heix"));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->majorBrand, "heix");
    EXPECT_EQ(file->compatibleBrands, (std::vector<std::string>{"mif1", "heic"}));
    EXPECT_EQ(file->itemType, "hvc1");
}

TEST(HeifFile, ExifOfThePrimaryItemIsTakenFromItsTiffHeaderOn)
{
    using namespace std::string_literals;
    const HeifItem other{"Exif", bigEndian(0, 4) + "II*\0other"s, {}};
    const HeifItem own{"Exif", bigEndian(6, 4) + "Exif\0\0MM\0*own"s, {}};
    const HeifItem thumbnail = photo();
    const auto file =
        parse(heifFile({photo(), other, own, thumbnail}, {{"cdsc", 2, {4}}, {"cdsc", 3, {1}}, {"thmb", 4, {1}}}));
    ASSERT_TRUE(file);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(file->exif.data()), file->exif.size()), "MM\0*own"s);
}

TEST(HeifFile, ExifWithAWrongOffsetIsFoundNearby)
{
    using namespace std::string_literals;
    const HeifItem exif{"Exif", bigEndian(0, 4) + "Exif\0\0II*\0own"s, {}};
    const auto file = parse(heifFile({photo(), exif}, {{"cdsc", 2, {1}}}));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->exif.size(), 7U);
}

TEST(HeifFile, ColoursAndAProfileAreBothKept)
{
    const auto file = parse(heifFile({photo({box("colr", "profICC"), colourBox(12, 13, 6, true)})}));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->iccProfile.size(), 3U);
    EXPECT_EQ(file->colour, (HeifColour{12, 13, 6, true}));
    EXPECT_EQ(iccProfileOf(*file).size(), 3U);
}

TEST(HeifFile, TheFirstOfTwoProfilesCounts)
{
    const auto file = parse(heifFile({photo({box("colr", "profICC"), box("colr", "profanother")})}));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->iccProfile.size(), 3U);
}

TEST(HeifFile, ProfilesAreMadeOfColourNumbersThatAreNotSrgb)
{
    EXPECT_TRUE(iccProfileOf(HeifColour{1, 13, 6, true}).empty());
    EXPECT_TRUE(iccProfileOf(HeifColour{1, 1, 1, false}).empty());
    EXPECT_TRUE(iccProfileOf(HeifColour{2, 2, 2, true}).empty());
    EXPECT_TRUE(iccProfileOf(HeifColour{99, 13, 6, true}).empty());
    EXPECT_TRUE(iccProfileOf(HeifColour{12, 99, 6, true}).empty());
    for (const HeifColour &colour : {HeifColour{12, 13, 6, true}, HeifColour{9, 16, 9, false},
             HeifColour{9, 18, 9, false}, HeifColour{1, 8, 6, true}}) {
        const std::vector<std::byte> profile = iccProfileOf(colour);
        ASSERT_GT(profile.size(), 132U);
        HeifReader reader(profile);
        EXPECT_EQ(reader.word(), profile.size());
        EXPECT_EQ(profile.size() % 4, 0U);
    }
}

TEST(HeifFile, GridsTellTheirShape)
{
    const HeifItem grid{"grid", gridContent(2, 3, 500, 400), {sizeBox(500, 400)}};
    const auto file = parse(heifFile({grid, photo()}, {{"dimg", 1, {2, 2, 2, 2, 2, 2}}}));
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->grid);
    EXPECT_EQ(file->grid->rows, 2U);
    EXPECT_EQ(file->grid->columns, 3U);
    EXPECT_EQ(file->grid->width, 500U);
    EXPECT_EQ(file->grid->height, 400U);
    EXPECT_EQ(file->grid->tiles, 6U);
}

TEST(HeifFile, AlphaIsFoundByItsName)
{
    const std::string name = box("auxC", bigEndian(0, 4) + "urn:mpeg:hevc:2015:auxid:1" + '\0');
    const HeifItem depth = photo({box("auxC", bigEndian(0, 4) + "urn:mpeg:hevc:2015:auxid:2" + '\0')});
    const auto file =
        parse(heifFile({photo(), depth, photo({name})}, {{"auxl", 2, {1}}, {"auxl", 3, {1}}, {"prem", 1, {3}}}));
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->hasAlpha);
    EXPECT_EQ(file->alphaItem, 3U);
    EXPECT_TRUE(file->isPremultiplied);
}

TEST(HeifFile, AFileCutOffAnywhereIsNoneOrHasWhatIsThere)
{
    const std::string whole = heifFile({photo({turnBox(1)})});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const auto file = parse(whole.substr(0, size));
        EXPECT_TRUE(!file || file->storedWidth == 400) << size;
    }
}

TEST(HeifFile, AnyByteMayBeWrong)
{
    const std::string whole =
        heifFile({photo({turnBox(1), cropBox(10, 10), colourBox(12, 13, 6, true)})}, {{"dimg", 1, {1}}});
    for (std::size_t i = 0; i < whole.size(); ++i)
        for (const int value : {0, 1, 0x7f, 0x80, 0xff}) {
            std::string changed = whole;
            changed[i] = static_cast<char>(value);
            (void)parse(changed);
        }
}

TEST(HeifFile, LengthsThatLeadOutOfTheFileAreNotFollowed)
{
    EXPECT_FALSE(parse(""));
    EXPECT_FALSE(parse(box("ftyp", "heic") + bigEndian(0x80000000, 4) + "meta"));
    EXPECT_FALSE(parse(box("ftyp", "heic") + bigEndian(1, 4) + "meta" + bigEndian(UINT64_MAX, 8)));
    EXPECT_FALSE(parse(box("ftyp", "heic") + bigEndian(1, 4) + "free" + bigEndian(UINT64_MAX - 7, 8)));
    EXPECT_FALSE(parse(box("ftyp", "heic") + bigEndian(4, 4) + "meta"));
}

TEST(HeifFile, AHundredThousandBoxesAreNotWalkedThrough)
{
    std::string bytes = box("ftyp", "heic");
    for (int i = 0; i < 100000; ++i)
        bytes += box("free", "");
    EXPECT_FALSE(parse(bytes + heifFile({photo()})));
}

TEST(HeifFile, WhatIsNoRegularFileIsNotWaitedFor)
{
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    for (const std::filesystem::path &path : {folder.path("pipe"), folder.path(), folder.path("none")})
        EXPECT_FALSE(HeifFile::read(path.string())) << path;
}

TEST(HeifFile, RealFilesSayWhatOthersReadInThem)
{
    const std::filesystem::path samples = std::filesystem::path(KELVANE_SAMPLES) / "images";
    if (!std::filesystem::exists(samples))
        GTEST_SKIP() << "the media files of others are not there";
    const auto spring = HeifFile::read((samples / "exifpy-spring_1440x960.heic").string());
    ASSERT_TRUE(spring);
    EXPECT_EQ(spring->majorBrand, "mif1");
    EXPECT_EQ(spring->uprightWidth, 1440U);
    const auto turned = HeifFile::read((samples / "kimageformats-orientation6.heic").string());
    ASSERT_TRUE(turned);
    EXPECT_EQ(turned->orientation, 6);
    EXPECT_EQ(turned->uprightWidth, 480U);
    EXPECT_FALSE(turned->exif.empty());
    const auto cropped = HeifFile::read((samples / "kimageformats-crop_orientation5.heic").string());
    ASSERT_TRUE(cropped);
    EXPECT_EQ(cropped->orientation, 5);
    EXPECT_EQ(cropped->uprightWidth, 479U);
    EXPECT_EQ(cropped->uprightHeight, 159U);
    const auto clear = HeifFile::read((samples / "kimageformats-rgba.heic").string());
    ASSERT_TRUE(clear);
    EXPECT_TRUE(clear->hasAlpha);
    const auto broken = HeifFile::read((samples / "bad/libheif-github_44.heic").string());
    EXPECT_TRUE(!broken || broken->exif.empty());
}

} // namespace
