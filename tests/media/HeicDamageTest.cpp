// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/HeicConverter.h>

#include "tests/support/HeifFiles.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <ctime>
#include <sys/resource.h>
#include <thread>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

class HeicDamage : public testing::Test {
protected:
    void SetUp() override
    {
        if (!runCommand("command -v ffmpeg && command -v heif-enc"))
            GTEST_SKIP() << "ffmpeg and heif-enc are needed";
        ASSERT_TRUE(makePicture(folder.path("a.png"), 256, 256));
        ASSERT_TRUE(encodeHeic(folder.path("a.png"), folder.path("a.heic")));
        whole = readFile(folder.path("a.heic"));
        item = primaryItemOf(folder.path("a.heic"));
    }

    bool convert(const std::string &bytes)
    {
        writeFile(folder.path("b.heic"), bytes);
        std::filesystem::remove(folder.path("b.jpg"));
        return HeicConverter::convertHeicToJPG(folder.string("b.heic"), folder.string("b.jpg"));
    }

    // Fails, in little processor time and memory.
    void expectRefused(const std::string &bytes)
    {
        const std::clock_t before = std::clock();
        EXPECT_FALSE(convert(bytes));
        EXPECT_FALSE(std::filesystem::exists(folder.path("b.jpg")));
        EXPECT_LT(std::clock() - before, 2 * CLOCKS_PER_SEC);
    }

    HeifItem sized(std::uint32_t width, std::uint32_t height) const
    {
        HeifItem lying = item;
        for (std::string &property : lying.properties)
            if (property.substr(4, 4) == "ispe")
                property = sizeBox(width, height);
        return lying;
    }

    TemporaryFolder folder;
    LogCapture log;
    std::string whole;
    HeifItem item;
};

TEST_F(HeicDamage, AFileCutOffAnywhereIsRefused)
{
    ASSERT_TRUE(convert(whole));
    for (std::size_t sixteenth = 0; sixteenth < 16; ++sixteenth) {
        SCOPED_TRACE(sixteenth);
        expectRefused(whole.substr(0, whole.size() * sixteenth / 16));
    }
}

TEST_F(HeicDamage, AFileWithAnyByteOfItsHeadersChangedDoesNoHarm)
{
    const std::size_t headers = whole.find("mdat");
    ASSERT_NE(headers, std::string::npos);
    for (std::size_t i = 12; i < headers; i += 3) {
        std::string changed = whole;
        changed[i] = static_cast<char>(~changed[i]);
        convert(changed);
    }
}

TEST_F(HeicDamage, ADamagedStreamDoesNoHarm)
{
    for (std::size_t i = whole.find("mdat") + 12; i < whole.size(); i += 97) {
        std::string changed = whole;
        changed[i] = static_cast<char>(~changed[i]);
        convert(changed);
    }
}

TEST_F(HeicDamage, ASizeThatTheFileCannotHoldIsRefused)
{
    for (const auto &[width, height] : {std::pair(60000U, 60000U), std::pair(0xffffffffU, 0xffffffffU),
             std::pair(0x80000000U, 2U), std::pair(0U, 256U), std::pair(8000U, 6000U), std::pair(257U, 321U)}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        expectRefused(heifFile({sized(width, height)}));
    }
}

TEST_F(HeicDamage, AStreamLargerThanTheFileSaysIsRefused)
{
    expectRefused(heifFile({sized(64, 64)}));
}

TEST_F(HeicDamage, AGridThatLiesIsRefused)
{
    const auto grid = [this](int rows, int columns, std::uint32_t width, std::uint32_t height,
                          const std::vector<std::uint16_t> &tiles) {
        return heifFile({{"grid", gridContent(rows, columns, width, height), {sizeBox(width, height)}}, item},
            {{"dimg", 1, tiles}});
    };
    EXPECT_TRUE(convert(grid(1, 2, 512, 256, {2, 2})));
    expectRefused(grid(1, 2, 512, 256, {2, 3})); // a tile that is not there
    expectRefused(grid(1, 2, 512, 256, {2, 1})); // the grid itself
    expectRefused(grid(1, 2, 512, 256, {2})); // too few
    expectRefused(grid(1, 2, 512, 256, {2, 2, 2})); // too many
    expectRefused(grid(1, 2, 513, 256, {2, 2})); // which leave a gap
    expectRefused(grid(1, 2, 256, 256, {2, 2})); // one of them outside
    expectRefused(grid(256, 256, 65536, 65536, std::vector<std::uint16_t>(60000, 2)));
    expectRefused(grid(1, 2, 60000, 60000, {2, 2}));
}

TEST_F(HeicDamage, OfATileThatSaysItIsHugeThePartThatFitsIsShown)
{
    ASSERT_TRUE(convert(whole));
    const std::string alone = readFile(folder.path("b.jpg"));
    const HeifItem grid{"grid", gridContent(1, 1, 256, 256), {sizeBox(256, 256)}};
    for (const std::uint32_t edge : {300U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        EXPECT_TRUE(convert(heifFile({grid, sized(edge, edge)}, {{"dimg", 1, {2}}}))) << edge;
        EXPECT_EQ(readFile(folder.path("b.jpg")), alone) << edge;
    }
}

TEST_F(HeicDamage, AGridWithoutTilesOrContentIsRefused)
{
    expectRefused(heifFile({{"grid", gridContent(1, 1, 256, 256), {sizeBox(256, 256)}}}));
    expectRefused(heifFile({{"grid", "", {sizeBox(256, 256)}}, item}, {{"dimg", 1, {2}}}));
}

TEST_F(HeicDamage, AlphaThatIsDamagedIsRefused)
{
    const std::string alpha = box("auxC", bigEndian(0, 4) + "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha" + '\0');
    HeifItem broken = item;
    broken.properties.push_back(alpha);
    ASSERT_TRUE(convert(heifFile({item, broken}, {{"auxl", 2, {1}}})));
    broken.content.resize(broken.content.size() / 2);
    expectRefused(heifFile({item, broken}, {{"auxl", 2, {1}}}));
}

TEST_F(HeicDamage, AnOverlayOfItselfIsRefused)
{
    const std::string overlay =
        bigEndian(0, 2) + std::string(8, '\0') + bigEndian(256, 2) + bigEndian(256, 2) + bigEndian(0, 4);
    expectRefused(heifFile({{"iovl", overlay, {sizeBox(256, 256)}}}, {{"dimg", 1, {1}}}));
    expectRefused(heifFile({{"iden", "", {sizeBox(256, 256)}}}, {{"dimg", 1, {1}}}));
}

TEST_F(HeicDamage, ASparseFileOfFourGigabytesIsRefused)
{
    HeifItem zeros = item;
    writeFile(folder.path("b.heic"), heifFile({zeros}).substr(0, 40));
    std::filesystem::resize_file(folder.path("b.heic"), 4ULL << 30);
    const std::clock_t before = std::clock();
    EXPECT_FALSE(HeicConverter::convertHeicToJPG(folder.string("b.heic"), folder.string("b.jpg")));
    EXPECT_LT(std::clock() - before, 2 * CLOCKS_PER_SEC);
}

TEST_F(HeicDamage, AnythingThatDescribesThePictureMayBeDamaged)
{
    // What cannot be read of it is left out, the picture is there.
    HeifItem exif{
        "Exif", bigEndian(6, 4) + "Exif" + bigEndian(0, 2) + "MM" + bigEndian(42, 2) + bigEndian(0x7fffffff, 4), {}};
    EXPECT_TRUE(convert(heifFile({item, exif}, {{"cdsc", 2, {1}}})));
    exif.content = bigEndian(0x80000000, 4);
    EXPECT_TRUE(convert(heifFile({item, exif}, {{"cdsc", 2, {1}}})));
}

TEST_F(HeicDamage, ADescriptionThatAJpegFileHasNoRoomForIsLeftOutAndAShorterOneStays)
{
    for (const std::uint32_t length : {60'000U, 66'000U}) {
        const std::string tiff = "MM" + bigEndian(42, 2) + bigEndian(8, 4) + bigEndian(1, 2) + bigEndian(0x010e, 2)
            + bigEndian(2, 2) + bigEndian(length, 4) + bigEndian(26, 4) // ImageDescription, ASCII
            + bigEndian(0, 4) + std::string(length - 1, 'x') + '\0';
        const HeifItem exif{"Exif", bigEndian(0, 4) + tiff, {}};
        ASSERT_TRUE(convert(heifFile({item, exif}, {{"cdsc", 2, {1}}})));
        const std::string jpeg = readFile(folder.path("b.jpg"));
        EXPECT_EQ(jpeg.find(std::string(1000, 'x')) != std::string::npos, length == 60'000) << length;
        EXPECT_NE(jpeg.find("Exif"), std::string::npos);
        EXPECT_EQ(outputOf("ffprobe -v error -show_entries stream=width,height -of csv=p=0 '"
                          + folder.string("b.jpg").str() + "' 2>&1",
                      folder.path()),
            "256,256\n");
    }
}

TEST_F(HeicDamage, SeveralThreadsConvertAtOnce)
{
    std::vector<std::thread> threads;
    std::vector<char> isConverted(6);
    for (std::size_t i = 0; i < isConverted.size(); ++i)
        threads.emplace_back([&, i] {
            const auto made = folder.string("thread" + std::to_string(i) + ".jpg");
            isConverted[i] = HeicConverter::convertHeicToJPG(folder.string("a.heic"), made) ? 1 : 0;
        });
    for (std::thread &thread : threads)
        thread.join();
    for (std::size_t i = 0; i < isConverted.size(); ++i) {
        EXPECT_TRUE(isConverted[i]);
        EXPECT_EQ(readFile(folder.path("thread" + std::to_string(i) + ".jpg")), readFile(folder.path("thread0.jpg")));
    }
}

} // namespace
