// SPDX-License-Identifier: Apache-2.0
// Broken and hostile files: whatever they claim, the index and thumbnails come to an end soon, in little memory.
#include <kelvane/platform/FileMetadataIndex.h>
#include <kelvane/platform/Thumbnail.h>

#include <kelvane/foundation/Value.h>

#include "tests/support/Cost.h"
#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

constexpr const char *noTool = "/nowhere/mdls";
constexpr double mostSeconds = 2;
constexpr double mostMegabytes = 512;

std::string big(std::uint64_t number, int bytes)
{
    std::string text;
    while (bytes-- > 0)
        text += static_cast<char>(static_cast<unsigned char>(bytes < 8 ? number >> (8 * bytes) : 0));
    return text;
}

std::string little(std::uint64_t number, int bytes)
{
    const std::string text = big(number, bytes);
    return {text.rbegin(), text.rend()};
}

std::string atom(const std::string &name, const std::string &body)
{
    return big(body.size() + 8, 4) + name + body;
}

const std::string ftyp = atom("ftyp", "isom\0\0\2\0isomiso2"s);

/// A film whose only track has the given tables of samples.
std::string mp4(const std::string &tables, const std::string &behind = {}, bool isSound = false)
{
    const std::string header = atom("mvhd", big(0, 12) + big(1000, 4) + big(1000, 4) + std::string(80, '\0'));
    const std::string track = atom("tkhd", big(7, 4) + big(0, 8) + big(1, 4) + std::string(68, '\0'));
    const std::string media = atom("mdhd", big(0, 12) + big(44100, 4) + big(44100, 4) + big(0, 4));
    const std::string handler = atom("hdlr", big(0, 8) + (isSound ? "soun" : "vide") + std::string(13, '\0'));
    const std::string picture =
        atom("mp4v", big(0, 6) + big(1, 2) + std::string(16, '\0') + big(0x00400030, 4) + std::string(50, '\0'));
    const std::string sound =
        atom("sowt", big(0, 6) + big(1, 2) + big(0, 8) + big(0x00010010, 4) + big(0, 4) + big(44100U << 16, 4));
    const std::string description = atom("stsd", big(0, 4) + big(1, 4) + (isSound ? sound : picture));
    return ftyp
        + atom("moov",
            header + atom("mvex", atom("trex", big(0, 4) + big(1, 4) + big(1, 4) + big(1, 4) + big(1, 4) + big(0, 4)))
                + atom(
                    "trak", track + atom("mdia", media + handler + atom("minf", atom("stbl", description + tables)))))
        + behind;
}

const std::string onePicture = atom("stts", big(0, 4) + big(1, 4) + big(1, 4) + big(1, 4))
    + atom("stsc", big(0, 4) + big(1, 4) + big(1, 4) + big(1, 4) + big(1, 4))
    + atom("stco", big(0, 4) + big(1, 4) + big(8, 4));

class MediaIndexSafety : public testing::Test {
protected:
    MediaIndexSafety()
    {
        // Loads the module here, so that not every child does.
        writeAll(folder.path("a.txt"), "text");
        (void)FileMetadataIndex::propertiesOfFile(folder.string("a.txt"), noTool);
    }

    void expectCheap(const fs::path &path)
    {
        const String file = path.native();
        const Cost index = costOf([&] { (void)FileMetadataIndex::propertiesOfFile(file, noTool); });
        const Cost thumbnail = costOf([&] { (void)Thumbnail::jpegOfFile(file); });
        for (const auto &[what, cost] : {std::pair("index of ", index), {"thumbnail of ", thumbnail}}) {
            EXPECT_TRUE(cost.isDone) << what << path;
            EXPECT_LE(cost.processorSeconds, mostSeconds * sanitizerFactor) << what << path;
            EXPECT_LE(cost.megabytes, mostMegabytes * sanitizerFactor) << what << path;
        }
    }
    void expectCheap(const std::string &name, const std::string &bytes)
    {
        writeAll(folder.path(name), bytes);
        expectCheap(folder.path(name));
    }
    /// A file of 4 GB that begins with `head` and has nothing behind it.
    fs::path sparse(const std::string &name, const std::string &head)
    {
        writeAll(folder.path(name), head);
        fs::resize_file(folder.path(name), std::uintmax_t{4} << 30);
        return folder.path(name);
    }

    TemporaryFolder folder;
};

TEST_F(MediaIndexSafety, ReadsAnHonestFileOfThisMake)
{
    writeAll(folder.path("a.mp4"), mp4(onePicture + atom("stsz", big(0, 4) + big(1, 4) + big(1, 4))));
    const Dictionary index = FileMetadataIndex::propertiesOfFile(folder.string("a.mp4"), noTool);
    EXPECT_EQ(index["kMDItemMediaTypes"], Value(Array{"Video"})) << "else the others would show nothing";
}

TEST_F(MediaIndexSafety, EmptyFilesAndFilesOfAFewBytes)
{
    expectCheap("empty.mp3", "");
    for (const char *name : {"a.mp3", "a.mp4", "a.flac", "a.jpg"})
        for (const std::string &bytes : {"I"s, "ID3"s, "ID3\4\0\0"s, "\xff\xfb"s, "ftyp"s,
                 "\0\0\0\x14"
                 "ftypM4A "s,
                 "fLaC"s, "OggS"s, "RIFF"s, "\x1a\x45\xdf\xa3"s, "MAC \x96\x0f"s, "\xff\xd8\xff"s, "GIF89a"s, "BM"s,
                 "\x89PNG\r\n"s})
            expectCheap(name, bytes);
}

TEST_F(MediaIndexSafety, AtomsBehindTheEndToThemselvesAndOfEverySize)
{
    for (const std::uint32_t size : {0U, 1U, 4U, 7U, 8U, 0x7fffffffU, 0x80000000U, 0xffffffffU})
        for (const char *name : {"moov", "mdat", "free", "trak", "meta"})
            expectCheap("a.mp4", ftyp + big(size, 4) + name + std::string(64, '\0'));
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{16}, ~std::uint64_t{0}, std::uint64_t{1} << 63})
        expectCheap("a.mp4", ftyp + big(1, 4) + "moov" + big(size, 8) + std::string(64, '\0'));
}

TEST_F(MediaIndexSafety, AHundredThousandNestedAtoms)
{
    constexpr std::uint32_t count = 100'000;
    for (const char *name : {"moov", "trak", "meta", "udta"}) {
        std::string bytes = ftyp;
        for (std::uint32_t i = 0; i < count; ++i)
            bytes += big((count - i) * 8, 4) + (i == 0 ? "moov" : name);
        expectCheap("a.mp4", bytes);
    }
}

TEST_F(MediaIndexSafety, TablesOfTwoBillionSamplesThatTakeNoRoom)
{
    for (const std::uint32_t count : {100'000'000U, 0x7fffffffU, 0xffffffffU}) {
        const std::string chunk = atom("stsc", big(0, 4) + big(1, 4) + big(1, 4) + big(count, 4) + big(1, 4));
        const std::string times = atom("stts", big(0, 4) + big(1, 4) + big(count, 4) + big(1, 4));
        const std::string sizes = atom("stsz", big(0, 4) + big(1, 4) + big(count, 4));
        const std::string offsets = atom("stco", big(0, 4) + big(1000, 4) + std::string(4000, '\0'));
        expectCheap("a.mp4", mp4(times + chunk + sizes + offsets));
        expectCheap("b.mov", mp4(times + chunk + sizes + offsets, {}, true));
        const std::string run = atom("moof",
            atom("mfhd", big(0, 8))
                + atom("traf", atom("tfhd", big(0, 4) + big(1, 4)) + atom("trun", big(0, 4) + big(count, 4))));
        expectCheap("c.mp4", mp4(onePicture + atom("stsz", big(0, 4) + big(1, 4) + big(1, 4)), run));
    }
}

TEST_F(MediaIndexSafety, AMillionEditsOfOneFilm)
{
    constexpr int count = 1'000'000;
    std::string edits = big(0, 4) + big(count, 4);
    for (int i = 0; i < count; ++i)
        edits += big(1000, 4) + big(0, 4) + big(0x10000, 4);
    const std::string sizes = atom("stsz", big(0, 4) + big(1, 4) + big(1000, 4));
    std::string bytes = mp4(onePicture + sizes);
    const auto track = bytes.find("mdia") - 4;
    bytes.insert(track, atom("edts", atom("elst", edits)));
    expectCheap("a.mp4", bytes);
}

TEST_F(MediaIndexSafety, ATagOf256MegabytesAnnouncedInAKilobyte)
{
    for (const int version : {2, 3, 4}) {
        const std::string header = "ID3"s + static_cast<char>(version) + "\0\0\x7f\x7f\x7f\x7f"s;
        expectCheap("a.mp3", header + std::string(1014, 'x'));
        expectCheap("b.mp3", header + "APIC" + big(0x0f000000, 4) + "\0\0"s + std::string(990, 'x'));
        expectCheap("c.flac", header + "fLaC");
    }
}

TEST_F(MediaIndexSafety, SparseFilesOfFourGigabytes)
{
    const std::string wave = "RIFF"s + little(0xffffffff, 4) + "WAVEfmt " + little(16, 4) + little(1, 2) + little(2, 2)
        + little(44100, 4) + little(176400, 4) + little(4, 2) + little(16, 2) + "data" + little(0xffffffff, 4);
    expectCheap(sparse("a.mp3", ""));
    expectCheap(sparse("b.mp3", "ID3\4\0\0\0\0\0\0"s));
    expectCheap(sparse("c.mp3", "\xff\xfb\x90\x64"));
    expectCheap(sparse("a.mp4", ftyp));
    expectCheap(sparse("b.mp4", mp4(onePicture + atom("stsz", big(0, 4) + big(1, 4) + big(0x7fffffff, 4)))));
    expectCheap(sparse("a.ogg", "OggS"));
    expectCheap(sparse("a.wav", wave));
    expectCheap(sparse("a.mkv", "\x1a\x45\xdf\xa3"));
    expectCheap(sparse("a.ts", "G" + std::string(187, '\0') + "G"));
    expectCheap(sparse("a.aac", "\xff\xf1\x50\x80"));
    expectCheap(sparse("a.mpg", "\0\0\1\xba"s));
    expectCheap(sparse("a.jpg", "\xff\xd8\xff\xe0"));
}

TEST_F(MediaIndexSafety, FramesThatTheTableHasNoRoomFor)
{
    const std::string descriptor = "MAC " + little(3990, 2) + little(0, 2) + little(52, 4) + little(24, 4)
        + little(0xfffffff0, 4) + std::string(32, '\0');
    const std::string header = little(2000, 2) + little(0, 2) + little(73728, 4) + little(1, 4) + little(170'000'000, 4)
        + little(16, 2) + little(2, 2) + little(44100, 4);
    expectCheap("a.ape", descriptor + header + std::string(1000, '\0'));
}

TEST_F(MediaIndexSafety, PicturesThatClaimToBeEnormous)
{
    const std::string jpeg = "\xff\xd8\xff\xc0"s + big(17, 2) + "\x08" + big(60000, 2) + big(60000, 2)
        + "\x03\x01\x22\0\x02\x11\x01\x03\x11\x01"s + "\xff\xda"s + big(12, 2) + "\x03\x01\0\x02\x11\x03\x11\0\x3f\0"s;
    expectCheap("a.jpg", jpeg + std::string(1000, 'x') + "\xff\xd9");
    expectCheap("a.gif",
        "GIF89a"s + little(65535, 2) + little(65535, 2) + "\x80\0\0"s + std::string(6, '\0') + "," + little(0, 4)
            + little(65535, 2) + little(65535, 2) + "\0\x08\xff"s + std::string(255, 'x') + "\0;"s);
    expectCheap("a.bmp",
        "BM"s + little(1000, 4) + little(0, 4) + little(54, 4) + little(40, 4) + little(60000, 4) + little(60000, 4)
            + little(1, 2) + little(24, 2) + std::string(1000, '\0'));
    expectCheap("a.png",
        "\x89PNG\r\n\x1a\n"s + big(13, 4) + "IHDR" + big(60000, 4) + big(60000, 4) + "\x08\x06\0\0\0"s
            + std::string(100, '\0'));
}

TEST_F(MediaIndexSafety, TruncatedAndDamagedFilesOfEveryKind)
{
    REQUIRE_FFMPEG();
    const fs::path cover = makeCover(folder, "red");
    std::mt19937 random(7);
    for (const char *name :
        {"a.mp3", "a.m4a", "a.flac", "a.ogg", "a.wav", "a.wma", "a.mp4", "a.mov", "a.mka", "a.wv"}) {
        const bool takesCover = std::string(name) == "a.mp3" || std::string(name) == "a.m4a";
        const std::string whole = readAll(makeMedia(folder, name, {{"title", "T"}}, takesCover ? cover : fs::path()));
        for (const double part : {0.05, 0.3, 0.7, 0.99})
            expectCheap(name, whole.substr(0, static_cast<std::size_t>(part * static_cast<double>(whole.size()))));
        for (int i = 0; i < 12; ++i) {
            std::string damaged = whole;
            const std::size_t reach = i % 2 == 0 ? damaged.size() : std::min<std::size_t>(damaged.size(), 2000);
            for (int k = 0; k < 20; ++k)
                damaged[random() % reach] = static_cast<char>(random() % 256);
            expectCheap(name, damaged);
        }
    }
}

TEST_F(MediaIndexSafety, APipeIsNotWaitedFor)
{
    ASSERT_EQ(::mkfifo(folder.string("pipe.mp3").c_str(), 0600), 0);
    EXPECT_TRUE(FileMetadataIndex::propertiesOfFile(folder.string("pipe.mp3"), noTool).isNull());
    EXPECT_TRUE(Thumbnail::jpegOfFile(folder.string("pipe.mp3")).isNull());
}

} // namespace
