// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Thumbnail.h>

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>

using namespace kelvane;
using namespace kelvane::testsupport;
namespace fs = std::filesystem;

namespace {

/// What ffmpeg sees of a JPEG: its size, and the colour in the middle of each quarter.
struct Seen {
    int width = 0;
    int height = 0;
    std::string pixels; // RGB

    [[nodiscard]] int at(double x, double y, int colour) const
    {
        const int column = static_cast<int>(x * width);
        const int row = static_cast<int>(y * height);
        return static_cast<unsigned char>(pixels.at(static_cast<std::size_t>((row * width + column) * 3 + colour)));
    }
};

class ThumbnailTest : public testing::Test {
protected:
    void SetUp() override { REQUIRE_FFMPEG(); }

    /// Makes a file with ffmpeg.
    fs::path make(const std::string &name, const std::string &options)
    {
        const fs::path path = folder.path(name);
        EXPECT_TRUE(runShell("ffmpeg -v error -y " + options + " " + quoted(path.native())));
        return path;
    }
    Seen see(const Data &jpeg)
    {
        Seen seen;
        if (jpeg.isNull())
            return seen;
        writeAll(folder.path("seen.jpg"), std::string(jpeg.view()));
        const std::string file = quoted(folder.path("seen.jpg").native());
        const std::string out = folder.path("seen").native();
        runShell("ffprobe -v error -show_entries stream=width,height -of csv=p=0 " + file + " >" + quoted(out));
        std::sscanf(readAll(out).c_str(), "%d,%d", &seen.width, &seen.height);
        runShell("ffmpeg -v error -y -i " + file + " -f rawvideo -pix_fmt rgb24 " + quoted(out));
        seen.pixels = readAll(out);
        return seen;
    }
    Seen thumbnailOf(const fs::path &path) { return see(Thumbnail::jpegOfFile(path.native())); }

    TemporaryFolder folder;
};

// Red above left, green above right, blue below left, white below right.
constexpr const char *quarters =
    "-f lavfi -i \"color=red:s=320x240,drawbox=x=320/2:y=0:w=160:h=120:color=lime:t=fill,"
    "drawbox=x=0:y=120:w=160:h=120:color=blue:t=fill,drawbox=x=160:y=120:w=160:h=120:color=white:t=fill\" ";

void expectUpright(const Seen &seen, const std::string &what)
{
    ASSERT_GT(seen.width, 0) << what;
    EXPECT_GT(seen.at(0.25, 0.25, 0), 180) << what;
    EXPECT_LT(seen.at(0.25, 0.25, 1), 90) << what;
    EXPECT_GT(seen.at(0.75, 0.25, 1), 180) << what;
    EXPECT_LT(seen.at(0.75, 0.25, 0), 90) << what;
    EXPECT_GT(seen.at(0.25, 0.75, 2), 180) << what;
    EXPECT_GT(seen.at(0.75, 0.75, 0), 180) << what;
    EXPECT_GT(seen.at(0.75, 0.75, 2), 180) << what;
}

/// An EXIF block that holds nothing but an orientation.
std::string exif(int orientation)
{
    using namespace std::string_literals;
    return "MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0"s + static_cast<char>(orientation) + "\0\0\0\0\0\0"s;
}

/// The JPEG at `path` with an EXIF block in front of its other ones.
void addOrientation(const fs::path &path, int orientation)
{
    const std::string jpeg = readAll(path);
    const std::string block = std::string("Exif\0\0", 6) + exif(orientation);
    const auto size = static_cast<char>(block.size() + 2);
    writeAll(path, jpeg.substr(0, 2) + "\xff\xe1" + std::string(1, '\0') + size + block + jpeg.substr(2));
}

} // namespace

TEST_F(ThumbnailTest, OfAFilmFitsAndKeepsItsProportions)
{
    const Seen wide = thumbnailOf(make("a.mp4", "-f lavfi -i testsrc=s=1280x720:d=1 -pix_fmt yuv420p"));
    EXPECT_EQ(wide.width, 512);
    EXPECT_EQ(wide.height, 288);
    const Seen small = thumbnailOf(make("b.mp4", "-f lavfi -i testsrc=s=64x48:d=1 -pix_fmt yuv420p"));
    EXPECT_EQ(small.width, 64) << "never scaled up";
    EXPECT_EQ(small.height, 48);
}

TEST_F(ThumbnailTest, OfAFilmThatBeginsBlackShowsALaterFrame)
{
    const Seen seen = thumbnailOf(make("a.mp4",
        "-f lavfi -i color=black:s=64x64:d=4 -f lavfi -i color=red:s=64x64:d=4 -filter_complex "
        "'[0][1]concat=n=2' -pix_fmt yuv420p"));
    EXPECT_GT(seen.at(0.5, 0.5, 0), 150);
}

TEST_F(ThumbnailTest, OfAFilmThatIsBlackThroughoutIsBlack)
{
    const Seen seen = thumbnailOf(make("a.mp4", "-f lavfi -i color=black:s=64x64:d=1 -pix_fmt yuv420p"));
    ASSERT_EQ(seen.width, 64);
    EXPECT_LT(seen.at(0.5, 0.5, 0), 30);
}

TEST_F(ThumbnailTest, OfAFilmIsUprightAndInItsShape)
{
    const fs::path film = make("a.mp4", std::string(quarters) + "-t 1 -pix_fmt yuv420p");
    expectUpright(thumbnailOf(film), "as it is");
    for (const char *degrees : {"90", "180", "270"}) {
        const std::string filter = std::string(degrees) == "90" ? "transpose=1"
            : std::string(degrees) == "180"                     ? "hflip,vflip"
                                                                : "transpose=2";
        const fs::path lying = make("lying.mp4", "-i " + quoted(film.native()) + " -vf " + filter);
        const fs::path turned =
            make("turned.mov", "-i " + quoted(lying.native()) + " -c copy -metadata:s:v rotate=" + degrees);
        const Seen seen = thumbnailOf(turned);
        EXPECT_EQ(seen.width, 320) << degrees;
        expectUpright(seen, degrees);
    }
    const Seen wide = thumbnailOf(make("wide.mp4", "-f lavfi -i testsrc=s=200x200:d=1,setsar=2 -pix_fmt yuv420p"));
    EXPECT_EQ(wide.width, 400) << "pixels that are not square";
    EXPECT_EQ(wide.height, 200);
}

TEST_F(ThumbnailTest, OfImagesOfEveryKindShowsThem)
{
    for (const char *name : {"a.jpg", "a.png", "a.gif", "a.bmp", "a.tiff", "a.webp"}) {
        const std::string options = std::string(quarters) + "-frames:v 1 ";
        const Seen seen = thumbnailOf(make(name, options));
        EXPECT_EQ(seen.width, 320) << name;
        expectUpright(seen, name);
    }
    const Seen large = thumbnailOf(make("large.png", "-f lavfi -i testsrc=s=600x1200 -frames:v 1"));
    EXPECT_EQ(large.width, 256);
    EXPECT_EQ(large.height, 512);
}

TEST_F(ThumbnailTest, OfAPhotoIsUprightWhateverItsOrientation)
{
    // What turns an upright picture into one that lies as the number says.
    const std::pair<int, const char *> ways[] = {{1, "null"}, {2, "hflip"}, {3, "hflip,vflip"}, {4, "vflip"},
        {5, "transpose=0"}, {6, "transpose=2"}, {7, "transpose=3"}, {8, "transpose=1"}};
    for (const auto &[orientation, filter] : ways) {
        const std::string options = std::string(quarters) + "-frames:v 1 -q:v 2 -vf " + filter;
        const fs::path photo = make("photo.jpg", options);
        addOrientation(photo, orientation);
        const Seen seen = thumbnailOf(photo);
        EXPECT_EQ(seen.width, 320) << orientation;
        expectUpright(seen, std::to_string(orientation));
    }
}

TEST_F(ThumbnailTest, OfWhatCanBeLookedThroughIsOnWhite)
{
    const Seen seen =
        thumbnailOf(make("a.png", "-f lavfi -i color=black@0.0:s=32x32,format=rgba -frames:v 1 -pix_fmt rgba"));
    ASSERT_EQ(seen.width, 32);
    EXPECT_GT(seen.at(0.5, 0.5, 0), 250);
}

TEST_F(ThumbnailTest, OfSoundOtherFilesAndNoFileIsAbsent)
{
    const fs::path cover = makeCover(folder, "red");
    EXPECT_TRUE(Thumbnail::jpegOfFile(makeMedia(folder, "a.mp3", {}).native()).isNull());
    EXPECT_TRUE(Thumbnail::jpegOfFile(makeMedia(folder, "b.mp3", {}, cover).native()).isNull());
    writeAll(folder.path("a.txt"), "text");
    EXPECT_TRUE(Thumbnail::jpegOfFile(folder.string("a.txt")).isNull());
    EXPECT_TRUE(Thumbnail::jpegOfFile(folder.string("missing.mp4")).isNull());
    EXPECT_TRUE(Thumbnail::jpegOfFile(folder.string()).isNull());
    EXPECT_TRUE(Thumbnail::jpegOfFile(nullptr).isNull());
}
