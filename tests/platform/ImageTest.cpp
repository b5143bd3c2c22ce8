// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Image.h>

#include <gmock/gmock.h>
#include <tests/support/ImageFiles.h>
#include <tests/support/LogCapture.h>

#include <array>
#include <cstdio>
#include <jpeglib.h>
#include <png.h>
#include <vector>

namespace kelvane {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Case {
    const char *name;
    const char *options;
    double tolerance; ///< mean difference from ffmpeg's pixels; it repeats halved colours where libjpeg blends them
};

std::string nameOf(const testing::TestParamInfo<Case> &info)
{
    return "Case" + std::to_string(info.index);
}

class DecodedImage : public testing::TestWithParam<Case> {};

TEST_P(DecodedImage, HasThePixelsThatAnotherDecoderGives)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeImage(folder, GetParam().name, GetParam().options);
    const Image image = Image::fromFile(path.native());
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.width(), 61);
    EXPECT_EQ(image.height(), 43);
    EXPECT_EQ(image.bytesPerRow(), 61U * 4);
    EXPECT_TRUE(image.isOpaque());
    EXPECT_LE(meanDifference(image.pixels().view(), decodedByFfmpeg(path)), GetParam().tolerance);
    const std::string bytes = readAll(path);
    EXPECT_EQ(Image::fromData(Data(bytes.data(), bytes.size())).pixels(), image.pixels());
}

INSTANTIATE_TEST_SUITE_P(Formats, DecodedImage,
    testing::Values(Case{"a.png", "-pix_fmt rgb24", 0}, Case{"a.png", "-pix_fmt rgba", 0},
        Case{"a.png", "-pix_fmt rgb48be", 0.6}, Case{"a.png", "-pix_fmt gray", 0},
        Case{"a.png", "-pix_fmt gray16be", 0.6}, Case{"a.png", "-pix_fmt pal8", 0}, Case{"a.png", "-pix_fmt monob", 0},
        Case{"a.png", "-pix_fmt ya8", 0}, Case{"a.png", "-pix_fmt rgba64be", 0.6},
        Case{"a.jpg", "-pix_fmt yuvj444p -q:v 2", 2}, Case{"a.jpg", "-pix_fmt yuvj420p -q:v 2", 12},
        Case{"a.jpg", "-pix_fmt gray -q:v 2", 2}, Case{"a.gif", "", 0}, Case{"a.bmp", "", 0}, Case{"a.tiff", "", 0},
        Case{"a.tiff", "-compression_algo deflate", 0}),
    nameOf);

TEST(Image, ProgressiveJpegHasThePixelsOfTheBaselineOne)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto source = makeImage(folder, "a.ppm");
    ASSERT_TRUE(runShell("cjpeg -quality 90 -outfile " + quoted(folder.path("b.jpg")) + " " + quoted(source)));
    ASSERT_TRUE(
        runShell("cjpeg -quality 90 -progressive -outfile " + quoted(folder.path("p.jpg")) + " " + quoted(source)));
    const Image baseline = Image::fromFile(folder.string("b.jpg"));
    ASSERT_FALSE(baseline.isNull());
    EXPECT_EQ(Image::fromFile(folder.string("p.jpg")).pixels(), baseline.pixels());
}

TEST(Image, InterlacedPngHasItsPixels)
{
    const TemporaryFolder folder;
    const Image image = colourful(37, 23);
    std::FILE *file = std::fopen(folder.string("i.png").c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, 37, 23, 8, PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_ADAM7, 0, 0);
    std::vector<png_bytep> rows;
    for (std::size_t y = 0; y < 23; ++y)
        rows.push_back(
            reinterpret_cast<png_bytep>(const_cast<std::byte *>(image.pixels().bytes().data())) + y * 37 * 4);
    png_write_info(png, info);
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
    EXPECT_EQ(Image::fromFile(folder.string("i.png")).pixels(), image.pixels());
}

TEST(Image, ColoursAreMultipliedByAlpha)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    runShell("ffmpeg -v error -y -f lavfi -i color=c=0xff8000@0.5:s=4x4,format=rgba -frames:v 1 "
        + quoted(folder.path("a.png")));
    const Image image = Image::fromFile(folder.string("a.png"));
    ASSERT_FALSE(image.isNull());
    EXPECT_FALSE(image.isOpaque());
    const auto *pixel = reinterpret_cast<const unsigned char *>(image.pixels().bytes().data());
    EXPECT_NEAR(pixel[3], 128, 1);
    EXPECT_NEAR(pixel[0], 128, 1);
    EXPECT_NEAR(pixel[1], 64, 1);
    EXPECT_EQ(pixel[2], 0);
}

// A JPEG of one colour in inks; Adobe's programs mark such files, and store how much is not there.
std::string jpegOfInks(std::array<unsigned char, 4> inks, bool isAdobe)
{
    jpeg_compress_struct state = {};
    jpeg_error_mgr errors = {};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&state, &bytes, &size);
    state.image_width = state.image_height = 16;
    state.input_components = 4;
    state.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, 100, TRUE);
    state.write_Adobe_marker = isAdobe ? TRUE : FALSE;
    jpeg_start_compress(&state, TRUE);
    std::vector<unsigned char> row;
    for (int x = 0; x < 16; ++x)
        for (const unsigned char ink : inks)
            row.push_back(isAdobe ? static_cast<unsigned char>(255 - ink) : ink);
    JSAMPROW line = row.data();
    while (state.next_scanline < 16)
        jpeg_write_scanlines(&state, &line, 1);
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    std::string file(reinterpret_cast<char *>(bytes), size);
    std::free(bytes);
    return file;
}

TEST(Image, JpegOfInksIsShownInItsColours)
{
    for (const bool isAdobe : {true, false}) {
        const std::string file = jpegOfInks({0, 255, 127, 51}, isAdobe);
        const Image image = Image::fromData(Data(file.data(), file.size()));
        ASSERT_FALSE(image.isNull());
        const auto *pixel = reinterpret_cast<const unsigned char *>(image.pixels().bytes().data());
        EXPECT_NEAR(pixel[0], 204, 3);
        EXPECT_NEAR(pixel[1], 0, 3);
        EXPECT_NEAR(pixel[2], 102, 3);
        EXPECT_EQ(pixel[3], 255);
    }
}

TEST(Image, IsNullOfWhatIsNone)
{
    const TemporaryFolder folder;
    writeAll(folder.path("text.jpg"), "no picture");
    writeAll(folder.path("empty.png"), "");
    for (const String &path : {String(), String(""), folder.string("missing.jpg"), folder.string("text.jpg"),
             folder.string("empty.png"), folder.string()}) {
        const Image image = Image::fromFile(path);
        EXPECT_TRUE(image.isNull());
        EXPECT_EQ(image.width(), 0);
        EXPECT_EQ(image.height(), 0);
    }
    EXPECT_TRUE(Image::fromData({}).isNull());
    EXPECT_TRUE(Image(Data("abcd", 4), 2, 2).isNull()) << "pixels that do not fit the size";
    EXPECT_TRUE(Image(Data("abcd", 4), -1, -1).isNull());
}

TEST(Image, MaximumEdgeBoundsTheResultAndKeepsTheShape)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    for (const char *name : {"a.jpg", "a.png"}) {
        const auto path = makeImage(folder, name, "", 800, 400);
        for (const int edge : {1, 50, 99, 100, 399, 799}) {
            const Image image = Image::fromFile(path.native(), edge);
            EXPECT_EQ(image.width(), edge) << name;
            EXPECT_NEAR(image.height(), std::max(1.0, edge / 2.0), 1) << name;
        }
        EXPECT_EQ(Image::fromFile(path.native(), 800).width(), 800);
        EXPECT_EQ(Image::fromFile(path.native(), 5000).width(), 800) << "never enlarged";
    }
    const Image whole = Image::fromFile(folder.string("a.jpg")).scaledToFit(100);
    EXPECT_LE(meanDifference(whole.pixels().view(), Image::fromFile(folder.string("a.jpg"), 100).pixels().view()), 4)
        << "scaled while decoding or afterwards";
}

TEST(Image, ScalingTakesTheMean)
{
    const Image image(Data("\x00\x10\x20\xff\x02\x20\x40\xff\x04\x30\x60\xff\x06\x40\x80\xff", 16), 2, 2);
    const Image pixel = image.scaledToFit(1);
    EXPECT_EQ(pixel.pixels(), Data("\x03\x28\x50\xff", 4));
    EXPECT_EQ(image.scaledToFit(0).pixels(), image.pixels());
    EXPECT_EQ(colourful(1000, 2).scaledToFit(10).height(), 1) << "a side never gets lost";
}

// Three by two pixels with the letters A to F, as the eight orientations store them.
Image letters(const std::string &rows, int width, int orientation)
{
    std::string pixels;
    for (const char c : rows)
        pixels += std::string(3, c) + '\xff';
    return Image(Data(pixels.data(), pixels.size()), width, static_cast<int>(rows.size()) / width, {}, orientation);
}

TEST(Image, UprightUndoesEachOrientation)
{
    const Image upright = letters("ABCDEF", 3, 1);
    const char *const stored[] = {"ABCDEF", "CBAFED", "FEDCBA", "DEFABC", "ADBECF", "CFBEAD", "FCEBDA", "DAEBFC"};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const Image turned = letters(stored[orientation - 1], orientation < 5 ? 3 : 2, orientation).upright();
        EXPECT_EQ(turned.width(), 3) << orientation;
        EXPECT_EQ(turned.height(), 2) << orientation;
        EXPECT_EQ(turned.pixels(), upright.pixels()) << orientation;
        EXPECT_EQ(turned.orientation(), 1);
    }
    EXPECT_TRUE(Image().upright().isNull());
}

TEST(Image, JpegIsGivenAsStoredWithItsOrientation)
{
    const std::filesystem::path sample =
        std::filesystem::path(KELVANE_SAMPLES) / "images/pillow-hopper_orientation_6.jpg";
    if (!std::filesystem::exists(sample))
        GTEST_SKIP() << "no samples";
    const TemporaryFolder folder;
    const auto copy = folder.path("a.jpg");
    std::filesystem::copy_file(sample, copy);
    const Image image = Image::fromFile(copy.native());
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.orientation(), 6);
    EXPECT_EQ(image.upright().width(), image.height());
    EXPECT_LE(meanDifference(image.pixels().view(), decodedByFfmpeg(copy)), 4);
}

TEST(Image, HeicIsUpright)
{
    const std::filesystem::path samples = std::filesystem::path(KELVANE_SAMPLES) / "images";
    if (!std::filesystem::exists(samples))
        GTEST_SKIP() << "no samples";
    const auto size = [&](const char *name) {
        const Image image = Image::fromFile((samples / name).native());
        EXPECT_EQ(image.orientation(), 1);
        return std::pair(image.width(), image.height());
    };
    EXPECT_EQ(size("exifpy-spring_1440x960.heic"), std::pair(1440, 960));
    EXPECT_EQ(size("kimageformats-orientation6.heic"), std::pair(480, 160));
    EXPECT_EQ(size("kimageformats-crop_orientation5.heic"), std::pair(479, 159));
    EXPECT_EQ(size("kimageformats-rgba.heic"), std::pair(128, 128));
    const std::string bytes = readAll(samples / "kimageformats-orientation6.heic");
    EXPECT_EQ(Image::fromData(Data(bytes.data(), bytes.size())).width(), 480) << "from memory";
    const TemporaryFolder folder;
    for (const char *name : {"exifpy-spring_1440x960.heic", "kimageformats-orientation6.heic"}) {
        ASSERT_TRUE(
            runShell("heif-convert " + quoted(samples / name) + " " + quoted(folder.path("a.png")) + " >/dev/null"));
        const Image image = Image::fromFile((samples / name).native());
        EXPECT_LE(meanDifference(image.pixels().view(), decodedByFfmpeg(folder.path("a.png"))), 2) << name;
    }
}

TEST(Image, WebPIsDecoded)
{
    const std::filesystem::path sample =
        std::filesystem::path(KELVANE_SAMPLES) / "images/pillow-hopper_orientation_8.webp";
    if (!std::filesystem::exists(sample))
        GTEST_SKIP() << "no samples";
    const TemporaryFolder folder;
    std::filesystem::copy_file(sample, folder.path("a.webp"));
    const Image image = Image::fromFile(folder.string("a.webp"));
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.orientation(), 8);
    EXPECT_LE(meanDifference(image.pixels().view(), decodedByFfmpeg(folder.path("a.webp"))), 3);
}

} // namespace
} // namespace kelvane
