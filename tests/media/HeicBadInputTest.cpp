// SPDX-License-Identifier: Apache-2.0
// HEIC photos that lie about what they hold.
#include "BadInput.h"

#include "tests/support/HeifFiles.h"

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

using Tiles = std::vector<std::uint16_t>;

class HeicBadInput : public BadInput {
protected:
    void SetUp() override
    {
        if (!runCommand("command -v ffmpeg && command -v heif-enc"))
            GTEST_SKIP() << "ffmpeg and heif-enc are needed";
    }

    /// A tile of one colour, whose coded bytes are few.
    HeifItem tile(int size)
    {
        const std::string edge = std::to_string(size);
        EXPECT_TRUE(runCommand("ffmpeg -v error -y -f lavfi -i color=red:s=" + edge + "x" + edge + " -frames:v 1 "
            + quoted(folder.path("tile.png"))));
        EXPECT_TRUE(encodeHeic(folder.path("tile.png"), folder.path("tile.heic")));
        return primaryItemOf(folder.path("tile.heic"));
    }
    /// The same tile, which says that it is of another size.
    static HeifItem sized(HeifItem item, std::uint32_t width, std::uint32_t height)
    {
        for (std::string &property : item.properties)
            if (property.substr(4, 4) == "ispe")
                property = sizeBox(width, height);
        return item;
    }
    static std::string grid(int rows, int columns, std::uint32_t width, std::uint32_t height,
        const std::vector<HeifItem> &items, const Tiles &tiles)
    {
        std::vector<HeifItem> all = {{"grid", gridContent(rows, columns, width, height), {sizeBox(width, height)}}};
        all.insert(all.end(), items.begin(), items.end());
        return heifFile(all, {{"dimg", 1, tiles}});
    }
};

TEST_F(HeicBadInput, GridsThatNameTilesThatAreNotThere)
{
    const HeifItem item = tile(256);
    expectEachBytesBounded("a.heic", grid(1, 2, 512, 256, {item}, {2, 3}), "a missing tile");
    expectEachBytesBounded("a.heic", grid(1, 2, 512, 256, {item}, {2, 1}), "itself");
    expectEachBytesBounded("a.heic", grid(256, 256, 8192, 6144, {item}, Tiles(65535, 900)), "none but missing tiles");
    expectEachBytesBounded("a.heic", grid(256, 256, 65536, 65536, {item}, Tiles(60000, 2)), "too few");
    expectEachBytesBounded("a.heic", grid(256, 256, 65536, 65536, {}, {}), "none");
}

TEST_F(HeicBadInput, GridsThatLieAboutSizes)
{
    const HeifItem item = tile(256);
    for (const std::uint32_t edge : {60000U, 65536U, 0x7fffffffU, 0x80000000U, 0xffffffffU})
        expectEachBytesBounded("a.heic", grid(1, 2, edge, edge, {item}, {2, 2}), "picture of " + std::to_string(edge));
    expectEachBytesBounded(
        "a.heic", grid(1, 2, 8192, 6144, {sized(item, 4096, 6144)}, {2, 2}), "tiles that are smaller");
    expectEachBytesBounded(
        "a.heic", grid(1, 2, 512, 256, {sized(item, 60000, 60000)}, {2, 2}), "tiles that are larger");
    expectEachBytesBounded("a.heic", grid(192, 256, 8192, 6144, {sized(item, 32, 32)}, Tiles(192 * 256, 2)), "many");
}

TEST_F(HeicBadInput, GridsOfThousandsOfTinyTiles)
{
    const HeifItem item = tile(64);
    expectEachBytesBounded("a.heic", grid(96, 128, 8192, 6144, {item}, Tiles(std::size_t{96} * 128, 2)), "64 x 64");
    expectEachBytesBounded(
        "a.heic", grid(192, 256, 8192, 6144, {sized(item, 32, 32)}, Tiles(std::size_t{192} * 256, 2)), "32 x 32");
    expectEachBytesBounded(
        "a.heic", grid(256, 255, 2040, 2048, {sized(item, 8, 8)}, Tiles(std::size_t{256} * 255, 2)), "8 x 8");
}

TEST_F(HeicBadInput, GridsOfTilesThatAreHardToFind)
{
    // A thousand of them, behind thousands of other items: each look-up that walks through all of these is too long.
    std::vector<HeifItem> items(40'000, HeifItem{"Exif", "", {}});
    items.insert(items.begin(), HeifItem{"grid", gridContent(32, 32, 2048, 2048), {sizeBox(2048, 2048)}});
    items.push_back(tile(64));
    const auto last = static_cast<std::uint16_t>(items.size());
    expectEachBytesBounded("a.heic", heifFile(items, {{"dimg", 1, Tiles(std::size_t{32} * 32, last)}}));
}

TEST_F(HeicBadInput, GridsOfPaddedFiles)
{
    // A file that is as large as a photo of a gigapixel, most of it a hole, and has one tile again and again.
    const HeifItem item = tile(512);
    for (const int edge : {16, 24, 64}) {
        const auto size = static_cast<std::uint32_t>(512 * edge);
        const auto path = folder.path("a.heic");
        writeFile(path, grid(edge, edge, size, size, {item}, Tiles(static_cast<std::size_t>(edge) * edge, 2)));
        std::filesystem::resize_file(path, 64U << 20);
        expectEachBounded(path, std::to_string(size));
    }
}

TEST_F(HeicBadInput, ContentOfManyPiecesThatAreTheSame)
{
    HeifItem item = tile(256);
    item.content += std::string(120'000, '\0');
    std::string file = grid(1, 2, 512, 256, {item}, {2, 2});
    // The tile's one extent becomes a thousand, each of which is all of it.
    const std::size_t at = file.find("iloc") + 4 + 4 + 2 + 2 + 14; // behind the grid's own entry
    const std::string extent = file.substr(at + 6, 8);
    std::string extents;
    for (int i = 0; i < 1000; ++i)
        extents += extent;
    const std::size_t added = extents.size() - extent.size();
    const auto grow = [&](std::size_t size) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(file[size + i]);
        file.replace(size, 4, bigEndian(value + added, 4));
    };
    grow(file.find("meta") - 4);
    grow(file.find("iloc") - 4);
    file.replace(at + 4, 10, bigEndian(1000, 2) + extents);
    expectEachBytesBounded("a.heic", file);
}

TEST_F(HeicBadInput, SinglePicturesThatLieAboutTheirSize)
{
    const HeifItem item = tile(256);
    for (const auto &[width, height] : {std::pair(60000U, 60000U), std::pair(8192U, 6144U), std::pair(0xffffffffU, 1U),
             std::pair(0x80000000U, 0x80000000U), std::pair(50'331'648U, 1U)})
        expectEachBytesBounded(
            "a.heic", heifFile({sized(item, width, height)}), std::to_string(width) + " x " + std::to_string(height));
}

TEST_F(HeicBadInput, PicturesPutTogetherOfThemselves)
{
    const HeifItem item = tile(256);
    std::vector<HeifItem> items;
    std::vector<HeifReference> references;
    for (std::uint16_t i = 1; i <= 30; ++i) {
        items.push_back({"iden", "", {sizeBox(256, 256)}});
        references.push_back({"dimg", i, Tiles(1000, static_cast<std::uint16_t>(i + 1))});
    }
    items.push_back(item);
    expectEachBytesBounded("a.heic", heifFile(items, references), "30 deep, 1000 wide");
    const std::string overlay =
        bigEndian(0, 2) + std::string(8, '\0') + bigEndian(60000, 2) + bigEndian(60000, 2) + std::string(480'000, '\0');
    expectEachBytesBounded("a.heic",
        heifFile({{"iovl", overlay, {sizeBox(60000, 60000)}}, item}, {{"dimg", 1, Tiles(60'000, 2)}}), "overlay");
}

} // namespace
