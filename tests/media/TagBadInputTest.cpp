// SPDX-License-Identifier: Apache-2.0
// Damaged and hostile files of sound, film and pictures.
#include "BadInput.h"

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

std::string bigEndian(std::uint32_t number)
{
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16), static_cast<char>(number >> 8),
        static_cast<char>(number)};
}

std::string atom(const std::string &name, const std::string &body)
{
    return bigEndian(static_cast<std::uint32_t>(body.size() + 8)) + name + body;
}

const std::string ftyp = atom("ftyp", "M4A \0\0\0\0M4A mp42"s);

const char *const extensions[] = {
    ".mp3", ".m4a", ".mp4", ".flac", ".ogg", ".opus", ".wav", ".aiff", ".wma", ".wv", ".ape", ".aac"};

} // namespace

TEST_F(BadInput, EmptyFiles)
{
    for (const char *extension : extensions)
        expectBytesBounded("a"s + extension, "");
}

TEST_F(BadInput, FilesThatAreCutAtEverySixteenth)
{
    REQUIRE_FFMPEG();
    const auto cover = makeCover(folder, "red");
    for (const char *extension :
        {".mp3", ".m4a", ".mp4", ".flac", ".ogg", ".opus", ".wav", ".aiff", ".wma", ".wv", ".aac"}) {
        const bool hasCover = ".mp3.m4a.flac"s.find(extension) != std::string::npos;
        const bool isRaw = extension == ".aac"s;
        const auto whole = readAll(makeMedia(folder, "whole"s + extension, {{"title", "T"}, {"lyrics", "La"}},
            hasCover ? cover : fs::path(), isRaw ? "-f adts" : ""));
        for (std::size_t part = 1; part < 16; ++part)
            expectBytesBounded(
                "cut"s + extension, whole.substr(0, whole.size() * part / 16), std::to_string(part) + "/16");
    }
}

TEST_F(BadInput, ATagOf256MegabytesAnnouncedInOneKilobyte)
{
    expectBytesBounded("a.mp3", "ID3\4\0\0\x7f\x7f\x7f\x7f"s + std::string(1014, '\0'));
    expectBytesBounded("a.mp3", "ID3\4\0\0\x7f\x7f\x7f\x7f"s + "APIC\x7f\x7f\x7f\x7f\0\0"s + std::string(1004, 'x'));
}

// NOLINTBEGIN(performance-inefficient-string-concatenation): files are easier to read in one expression
TEST_F(BadInput, LengthsOfTwoGigabytes)
{
    for (const char *length : {"\x7f\xff\xff\xff", "\x80\0\0\0", "\xff\xff\xff\xff"}) {
        const std::string size(length, 4);
        expectBytesBounded("a.m4a", ftyp + size + "moov" + std::string(1000, '\0'), "moov");
        expectBytesBounded("a.m4a",
            ftyp + atom("moov", atom("udta", atom("meta", "\0\0\0\0"s + size + "ilst" + std::string(500, 'x')))),
            "ilst");
        expectBytesBounded("a.m4a",
            ftyp
                + atom("moov",
                    atom("udta",
                        atom("meta",
                            "\0\0\0\0"s + atom("ilst", size + "covr" + size + "data" + std::string(500, 'x'))))),
            "covr");
        expectBytesBounded(
            "a.mp3", "ID3\3\0\0\0\0\x07\x76"s + "TIT2" + size + "\0\0\3"s + std::string(1000, 'x'), "frame");
        expectBytesBounded("a.flac", "fLaC\x84\xff\xff\xff"s + size + std::string(500, 'x') + size, "block");
        expectBytesBounded(
            "a.wav", "RIFF" + size + "WAVELIST" + size + "INFOINAM" + size + std::string(500, 'x'), "chunk");
        expectBytesBounded("a.aiff", "FORM" + size + "AIFFID3 " + size + std::string(500, 'x'), "chunk");
        expectBytesBounded("a.ape",
            std::string(500, 'x') + "APETAGEX\xd0\x07\0\0"s + size + size + "\0\0\0\0\0\0\0\0\0\0\0\0"s, "footer");
        expectBytesBounded(
            "a.ogg", "OggS\0\2"s + std::string(20, '\0') + "\1\x1e\1vorbis"s + size + std::string(500, 'x'), "packet");
        expectBytesBounded("a.wma",
            "\x30\x26\xb2\x75\x8e\x66\xcf\x11\xa6\xd9\0\xaa\0\x62\xce\x6c"s + size + size + size + "\1\2"s
                + std::string(500, 'x'),
            "object");
    }
}
// NOLINTEND(performance-inefficient-string-concatenation)

TEST_F(BadInput, AtomsThatPointToThemselvesOrBehindTheFile)
{
    const auto inMoov = [](const std::string &bytes) { return ftyp + atom("moov", bytes); };
    expectBytesBounded("a.m4a", inMoov("\0\0\0\0moov"s + std::string(100, '\0')), "no length");
    expectBytesBounded("a.m4a", inMoov("\0\0\0\1udta\0\0\0\0\0\0\0\0"s), "a long length of nothing");
    expectBytesBounded("a.m4a", inMoov("\0\0\0\1udta\xff\xff\xff\xff\xff\xff\xff\xf0"s), "a negative length");
    expectBytesBounded("a.m4a", inMoov("\0\0\0\4udta"s), "shorter than itself");
    expectBytesBounded("a.m4a", ftyp + "\0\0\0\0"s, "the end in a header");
    std::string many;
    while (many.size() < 4'000'000)
        many += "\0\0\0\0udta"s;
    expectBytesBounded("a.m4a", inMoov(many), "each to the end");
}

TEST_F(BadInput, AHundredThousandNestedAtoms)
{
    for (const char *name : {"moov", "udta", "meta", "trak"}) {
        std::string bytes;
        for (std::uint32_t depth = 100'000; depth > 0; --depth)
            bytes += bigEndian(depth * 8) + (depth == 100'000 ? "moov" : name);
        expectBytesBounded("a.m4a", ftyp + bytes, name);
    }
}

TEST_F(BadInput, SparseFilesOfFourGigabytes)
{
    for (const auto &[name, head] : {std::pair{"a.mp3", "ID3\4\0\0\0\0\0\0"s}, {"a.mp3", "\xff\xfb\x90\x64"s},
             {"a.mp3", ""s}, {"a.m4a", ftyp}, {"a.mp4", ftyp}, {"a.mov", atom("ftyp", "qt  \0\0\0\0"s)},
             {"a.flac", "fLaC"s}, {"a.ogg", "OggS"s}, {"a.opus", "OggS"s}, {"a.wav", "RIFF\xff\xff\xff\xffWAVE"s},
             {"a.aiff",
                 "FORM\xff\xff\xff\xff"
                 "AIFF"s},
             {"a.avi",
                 "RIFF\xff\xff\xff\xff"
                 "AVI "s},
             {"a.wma", "\x30\x26\xb2\x75\x8e\x66\xcf\x11\xa6\xd9\0\xaa\0\x62\xce\x6c"s}, {"a.ape", "MAC \x96\x0f"s},
             {"a.wv", "wvpk"s}, {"a.mkv", "\x1a\x45\xdf\xa3"s}, {"a.aac", "\xff\xf1\x50\x80\x01\x1f\xfc"s},
             {"a.heic", atom("ftyp", "heic\0\0\0\0mif1heic"s)}, {"a.jpg", "\xff\xd8\xff\xe0"s},
             {"a.png", "\x89PNG\r\n\x1a\n"s}, {"a.gif", "GIF89a"s}, {"a.tiff", "II*\0\x08\0\0\0"s}, {"a.bmp", "BM"s},
             {"a.webp", "RIFF\xff\xff\xff\xffWEBP"s}, {"a.txt", ""s}}) {
        const auto path = folder.path(name);
        writeAll(path, head);
        if (::truncate(path.c_str(), off_t{1} << 32) != 0)
            GTEST_SKIP() << "no sparse files here";
        expectEachBounded(path, "of holes");
        fs::remove(path);
    }
}

TEST_F(BadInput, MalformedFilesOfOtherProjects)
{
    const fs::path samples = fs::path(KELVANE_SAMPLES) / "media" / "bad";
    if (!fs::exists(samples))
        GTEST_SKIP() << "no samples in " << samples;
    for (const auto &entry : fs::directory_iterator(samples))
        expectBytesBounded(entry.path().filename(), readAll(entry.path()));
}

TEST_F(BadInput, RealFilesWithBytesOverwritten)
{
    const fs::path samples = fs::path(KELVANE_SAMPLES) / "media";
    if (!fs::exists(samples))
        GTEST_SKIP() << "no samples in " << samples;
    unsigned seed = 1;
    for (const auto &entry : fs::directory_iterator(samples)) {
        if (!entry.is_regular_file())
            continue;
        std::string bytes = readAll(entry.path());
        for (int round = 0; round < 4; ++round) {
            std::string damaged = bytes;
            for (int i = 0; i < 40; ++i) {
                seed = seed * 1664525 + 1013904223;
                damaged[seed % std::min<std::size_t>(damaged.size(), 4096)] = static_cast<char>(seed >> 24);
            }
            expectBytesBounded(entry.path().filename(), damaged, "round " + std::to_string(round));
        }
    }
}

TEST_F(BadInput, PicturesThatClaim60000By60000Pixels)
{
    REQUIRE_FFMPEG();
    const auto make = [this](const std::string &name) {
        const auto path = folder.path(name);
        runShell("ffmpeg -v error -y -f lavfi -i testsrc=s=64x48 -frames:v 1 " + quoted(path.native()));
        return readAll(path);
    };
    std::string jpeg = make("a.jpg");
    jpeg.replace(jpeg.find("\xff\xc0"s) + 5, 4, "\xea\x60\xea\x60");
    expectBytesBounded("bomb.jpg", jpeg);
    std::string png = make("a.png");
    png.replace(16, 8, "\0\0\xea\x60\0\0\xea\x60"s);
    expectBytesBounded("bomb.png", png);
    std::string gif = make("a.gif");
    gif.replace(6, 4, "\x60\xea\x60\xea");
    expectBytesBounded("bomb.gif", gif);
    std::string bmp = make("a.bmp");
    bmp.replace(18, 8, "\x60\xea\0\0\x60\xea\0\0"s);
    expectBytesBounded("bomb.bmp", bmp);
    std::string tiff = make("a.tiff"); // little-endian: width 256 and height 257, as numbers of 16 or 32 bits
    for (const char tag : {'\0', '\1'})
        for (const char type : {'\3', '\4'})
            if (const auto at = tiff.find({tag, '\1', type, '\0', '\1', '\0', '\0', '\0'}); at != std::string::npos)
                tiff.replace(at + 8, 2, "\x60\xea");
    expectBytesBounded("bomb.tiff", tiff);
}
