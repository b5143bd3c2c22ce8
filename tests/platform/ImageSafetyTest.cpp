// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageSource.h>

#include <gmock/gmock.h>
#include <tests/support/ImageFiles.h>

#include <ctime>

namespace kelvane {
namespace {

using namespace testsupport;
using namespace std::string_literals;

Data dataOf(const std::string &bytes)
{
    return Data(bytes.data(), bytes.size());
}

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

std::string samples()
{
    const std::filesystem::path folder = std::filesystem::path(KELVANE_SAMPLES) / "images";
    return std::filesystem::exists(folder) ? folder.native() : "";
}

// Reads all there is of a file, whatever it is.
void readEverything(const std::string &bytes)
{
    const Data data = dataOf(bytes);
    if (const auto source = ImageSource::fromData(data)) {
        (void)source->properties();
        (void)Image::fromData(data, 32);
    }
}

TEST(ImageSafety, ClaimedSizesAreRefusedBeforeAnyMemoryIsSpent)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    std::string jpeg = readAll(makeImage(folder, "a.jpg"));
    const auto frame = jpeg.find("\xff\xc0"s);
    ASSERT_NE(frame, std::string::npos);
    jpeg.replace(frame + 5, 4, "\xea\x60\xea\x60"); // 60000 by 60000
    std::string png = readAll(makeImage(folder, "a.png"));
    png.replace(16, 8, "\x00\x00\xea\x60\x00\x00\xea\x60"s);
    std::string largest = png;
    largest.replace(16, 8, "\x7f\xff\xff\xff\x7f\xff\xff\xff");
    const double start = processorSeconds();
    for (const std::string &bomb : {jpeg, png, largest}) {
        EXPECT_TRUE(Image::fromData(dataOf(bomb)).isNull());
        EXPECT_TRUE(Image::fromData(dataOf(bomb), 100).isNull());
        EXPECT_TRUE(ImageSource::fromData(dataOf(bomb)));
    }
    EXPECT_LT(processorSeconds() - start, 2);
    EXPECT_EQ(ImageSource::fromData(dataOf(jpeg))->pixelSize(), (Size{60000, 60000})) << "the header says so";
}

TEST(ImageSafety, APhotoOf48MegapixelsIsDecoded)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, "large.jpg", "", 8064, 6048);
    EXPECT_EQ(Image::fromFile(path.native()).width(), 8064);
    EXPECT_EQ(Image::fromFile(path.native(), 512).width(), 512);
}

TEST(ImageSafety, TruncatedFilesEndInPictureOrNone)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    for (const char *name : {"a.jpg", "a.png", "a.gif", "a.bmp", "a.tiff"}) {
        const std::string whole = readAll(makeImage(folder, name));
        for (std::size_t size = 0; size < whole.size(); size += whole.size() / 97 + 1)
            readEverything(whole.substr(0, size));
    }
    const std::string png = readAll(folder.path("a.png"));
    EXPECT_TRUE(Image::fromData(dataOf(png.substr(0, png.size() / 2))).isNull());
    const std::string jpeg = readAll(folder.path("a.jpg"));
    EXPECT_EQ(Image::fromData(dataOf(jpeg.substr(0, jpeg.size() - 200))).width(), 61) << "shown as far as it goes";
}

TEST(ImageSafety, DamagedBytesDoNoHarm)
{
    if (samples().empty())
        GTEST_SKIP() << "no samples";
    for (const auto &entry : std::filesystem::directory_iterator(samples())) {
        if (!entry.is_regular_file() || entry.path().extension() == ".heic")
            continue;
        const std::string whole = readAll(entry.path());
        unsigned int state = 1;
        for (int round = 0; round < 60; ++round) {
            std::string bytes = whole;
            for (int i = 0; i < 8; ++i) {
                state = state * 1664525 + 1013904223;
                bytes[(state >> 8) % std::min<std::size_t>(bytes.size(), 2048)] = static_cast<char>(state >> 24);
            }
            readEverything(bytes);
        }
    }
}

TEST(ImageSafety, BadFilesOfOthersGiveNothing)
{
    if (samples().empty())
        GTEST_SKIP() << "no samples";
    for (const auto &entry : std::filesystem::directory_iterator(samples() + "/bad"))
        EXPECT_TRUE(Image::fromFile(entry.path().native()).isNull()) << entry.path();
}

std::string jpegWith(const std::string &exifBlock)
{
    const std::string content = "Exif\0\0"s + exifBlock;
    const std::size_t size = content.size() + 2;
    return "\xff\xd8\xff\xe1"s + static_cast<char>(size >> 8) + static_cast<char>(size & 0xff) + content
        + "\xff\xc0\x00\x0b\x08\x00\x10\x00\x20\x01\x01\x11\x00\xff\xd9"s;
}

std::string entry(int tag, int type, std::uint32_t count, std::uint32_t value)
{
    std::string bytes;
    const auto add = [&](std::uint32_t number, int size) {
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(number >> 8 * i);
    };
    add(static_cast<std::uint32_t>(tag), 2);
    add(static_cast<std::uint32_t>(type), 2);
    add(count, 4);
    add(value, 4);
    return bytes;
}

TEST(ImageSafety, DirectoriesThatLeadInCirclesEnd)
{
    // The EXIF directory is the main one, and that is its own successor.
    const std::string block =
        "II*\0\x08\0\0\0\x02\0"s + entry(0x0112, 3, 1, 6) + entry(0x8769, 4, 1, 8) + "\x08\0\0\0"s;
    const auto source = ImageSource::fromData(dataOf(jpegWith(block)));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->orientation(), 6);
    EXPECT_EQ(source->pixelSize(), (Size{32, 16}));
    EXPECT_FALSE(source->properties().contains("{Exif}"));
}

TEST(ImageSafety, ValuesThatClaimGigabytesAreLeftOut)
{
    const std::string block = "II*\0\x08\0\0\0\x03\0"s + entry(0x010f, 2, 0x80000000U, 8)
        + entry(0x0110, 5, 0xffffffffU, 8) + entry(0x0112, 3, 1, 3) + "\0\0\0\0"s;
    const Dictionary tiff = ImageSource::fromData(dataOf(jpegWith(block)))->properties()["{TIFF}"].dictionary();
    EXPECT_FALSE(tiff.contains("Make"));
    EXPECT_FALSE(tiff.contains("Model"));
    EXPECT_EQ(tiff["Orientation"].intValue(), 3);
}

TEST(ImageSafety, EntriesOutsideOfTheBlockAreLeftOut)
{
    const std::string block = "MM\0*\xff\xff\xff\xf0"s;
    EXPECT_FALSE(ImageSource::fromData(dataOf(jpegWith(block)))->properties().contains("{TIFF}"));
}

} // namespace
} // namespace kelvane
