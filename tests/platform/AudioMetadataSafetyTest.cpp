// SPDX-License-Identifier: Apache-2.0
// What hostile files, full disks and kill -9 do to the tag reader: nothing.
#include <kelvane/platform/AudioMetadata.h>

#include "tests/support/MediaFiles.h"

#include <array>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kelvane;
using namespace kelvane::testsupport;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int slowdown = 10;
#else
constexpr int slowdown = 1;
#endif

/// Opens `path`, and fails if that takes more work than a bounded reader has: seconds of processor time, which other
/// programs on the machine do not change.
std::unique_ptr<AudioMetadata> openInTime(const fs::path &path, String *error = nullptr)
{
    constexpr double limit = 10.0 * slowdown;
    const std::clock_t start = std::clock();
    auto file = AudioMetadata::CreateMetadataForURL(path.native(), error);
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, limit) << path;
    return file;
}

std::string bigEndian(std::uint32_t number)
{
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16), static_cast<char>(number >> 8),
        static_cast<char>(number)};
}

std::string atom(const std::string &name, const std::string &body)
{
    return bigEndian(static_cast<std::uint32_t>(body.size() + 8)) + name + body;
}

/// An ID3v2.4 tag with a header that tells the truth about `frames`.
std::string id3(const std::string &frames)
{
    const auto size = static_cast<std::uint32_t>(frames.size());
    std::string tag = "ID3\x04\0\0"s;
    for (int shift = 21; shift >= 0; shift -= 7)
        tag += static_cast<char>(size >> shift & 0x7f);
    return tag + frames;
}

std::string frame(const std::string &id, const std::string &body, char flags = 0)
{
    const auto size = static_cast<std::uint32_t>(body.size());
    std::string bytes = id;
    for (int shift = 21; shift >= 0; shift -= 7)
        bytes += static_cast<char>(size >> shift & 0x7f);
    return bytes + '\0' + flags + body;
}

/// Runs `work` in a child process; its exit code, or the negative signal that ended it.
template <class Work>
int inChild(Work work)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(work());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

const char *const extensions[] = {".mp3", ".m4a", ".flac", ".ogg", ".opus", ".wav", ".aiff", ".wma", ".wv"};

} // namespace

TEST(AudioMetadataSafety, WhatIsNoRegularFileIsRefusedWithAReason)
{
    const TemporaryFolder folder;
    const fs::path fifo = folder.path("fifo.mp3");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    writeAll(folder.path("empty.mp3"), "");
    for (const fs::path &path :
        {fifo, folder.path(), fs::path("/dev/zero"), folder.path("missing.mp3"), folder.path("empty.mp3")}) {
        String error;
        EXPECT_FALSE(openInTime(path, &error)) << path;
        EXPECT_NE(error.view().find(path.native()), std::string_view::npos) << error.c_str();
    }
    EXPECT_FALSE(AudioMetadata::CreateMetadataForURL(nullptr));
    EXPECT_FALSE(AudioMetadata::CreateMetadataForURL(""));
    EXPECT_FALSE(AudioMetadata::CreateMetadataForURL(String("/tmp/a\0b"s)));
}

TEST(AudioMetadataSafety, AFileNameMayBeAnyBytes)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto made = makeMedia(folder, "a.mp3", {{"title", "T"}});
    const fs::path odd = folder.path("\xff\xfe new\nline.mp3");
    fs::rename(made, odd);
    const auto file = openInTime(odd);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetTitle(), "T");
    file->SetTitle("U");
    EXPECT_TRUE(file->WriteMetadata());
    EXPECT_EQ(openInTime(odd)->GetTitle(), "U");
}

TEST(AudioMetadataSafety, FilesOfOtherKindsAreRefused)
{
    const TemporaryFolder folder;
    writeAll(folder.path("text.mp3"), "just some text, no sound at all");
    writeAll(folder.path("zeros.flac"), std::string(100000, '\0'));
    EXPECT_FALSE(openInTime(folder.path("text.mp3")));
    EXPECT_FALSE(openInTime(folder.path("zeros.flac")));
}

TEST(AudioMetadataSafety, TruncatedFilesOfEveryKindAreReadInTime)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    for (const char *extension : extensions) {
        const auto whole = makeMedia(folder, "a"s + extension, {{"title", "T"}, {"comment", std::string(500, 'c')}});
        const std::string bytes = readAll(whole);
        const fs::path part = folder.path("part"s + extension);
        for (std::size_t size = 0; size < bytes.size(); size += 1 + bytes.size() / 25) {
            writeAll(part, bytes.substr(0, size));
            if (const auto file = openInTime(part)) {
                file->SetTitle("New");
                if (file->WriteMetadata())
                    EXPECT_TRUE(openInTime(part)) << extension << size;
                else
                    EXPECT_EQ(readAll(part), bytes.substr(0, size)) << extension << size;
            }
        }
    }
}

TEST(AudioMetadataSafety, FilesWithDamagedBytesAreReadInTime)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    for (const char *extension : extensions) {
        const std::string bytes =
            readAll(makeMedia(folder, "a"s + extension, {{"title", "T"}, {"comment", "c"}, {"track", "1/2"}}));
        const fs::path bad = folder.path("bad"s + extension);
        for (std::size_t at = 0; at < std::min<std::size_t>(bytes.size(), 1200); at += 9) {
            std::string damaged = bytes;
            for (std::size_t i = at; i < std::min(at + 4, bytes.size()); ++i)
                damaged[i] = '\xff';
            writeAll(bad, damaged);
            openInTime(bad);
        }
    }
}

TEST(AudioMetadataSafety, AnAnnouncedTagOf256MegabytesIsNotRead)
{
    const TemporaryFolder folder;
    writeAll(
        folder.path("a.mp3"), "ID3\x04\0\0\x7f\x7f\x7f\x7f"s + frame("TIT2", "\x03Title") + std::string(1000, '\0'));
    openInTime(folder.path("a.mp3"));
    const fs::path sparse = folder.path("sparse.mp3");
    writeAll(sparse, "ID3\x04\0\0\x7f\x7f\x7f\x7f"s);
    fs::resize_file(sparse, std::uintmax_t{4} << 30);
    openInTime(sparse);
    fs::resize_file(sparse, 0);
    fs::resize_file(sparse, std::uintmax_t{4} << 30);
    openInTime(sparse);
}

TEST(AudioMetadataSafety, AtomsThatLieAboutTheirSizeAreSurvived)
{
    const TemporaryFolder folder;
    const std::string start = atom("ftyp", "M4A \0\0\0\0"s);
    for (const std::uint32_t size : {0U, 1U, 2U, 7U, 8U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        for (const char *name : {"moov", "mdat", "meta", "udta"}) {
            writeAll(folder.path("a.m4a"), start + bigEndian(size) + name + std::string(100, '\0'));
            openInTime(folder.path("a.m4a"));
            writeAll(folder.path("a.m4a"),
                start + atom("moov", atom("udta", bigEndian(size) + name + std::string(100, '\0'))));
            openInTime(folder.path("a.m4a"));
        }
        const std::string item = bigEndian(size) + "\251nam" + bigEndian(size) + "data" + std::string(20, '\1');
        writeAll(
            folder.path("a.m4a"), start + atom("moov", atom("udta", atom("meta", "\0\0\0\0"s + atom("ilst", item)))));
        openInTime(folder.path("a.m4a"));
    }
}

TEST(AudioMetadataSafety, ATableOfOffsetsThatLiesAboutItsSizeIsReadButNotMoved)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.m4a", {{"title", "Blue"}});
    std::string bytes = readAll(path);
    const std::size_t table = bytes.find("stco");
    ASSERT_NE(table, std::string::npos);
    bytes.replace(table + 8, 4, "\x7f\xff\xff\xff");
    writeAll(path, bytes);
    const auto tags = AudioMetadata::CreateMetadataForURL(path.native());
    ASSERT_TRUE(tags);
    EXPECT_EQ(tags->GetTitle(), "Blue");
    tags->SetTitle("Red");
    EXPECT_FALSE(tags->WriteMetadata());
    EXPECT_TRUE(readAll(path) == bytes);
}

TEST(AudioMetadataSafety, AHundredThousandNestedAtomsAreRefused)
{
    const TemporaryFolder folder;
    constexpr std::uint32_t depth = 100000;
    std::string bytes = atom("ftyp", "M4A \0\0\0\0"s);
    for (std::uint32_t left = depth; left > 0; --left)
        bytes += bigEndian(left * 8) + "moov";
    writeAll(folder.path("a.m4a"), bytes);
    EXPECT_FALSE(openInTime(folder.path("a.m4a")));
}

TEST(AudioMetadataSafety, AMillionTinyAtomsAreRefused)
{
    const TemporaryFolder folder;
    std::string bytes = atom("ftyp", "M4A \0\0\0\0"s);
    for (int i = 0; i < 1000000; ++i)
        bytes += "\0\0\0\x08"
                 "free"s;
    writeAll(folder.path("a.m4a"), bytes);
    EXPECT_FALSE(openInTime(folder.path("a.m4a")));
}

TEST(AudioMetadataSafety, ChaptersNestedInChaptersAreRefused)
{
    const TemporaryFolder folder;
    std::string frames;
    for (int i = 0; i < 20000; ++i)
        frames = frame("CHAP", "c\0"s + std::string(16, '\0') + frames);
    writeAll(folder.path("a.mp3"), id3(frames));
    openInTime(folder.path("a.mp3"));
}

TEST(AudioMetadataSafety, NestedChaptersAreFoundHoweverTheTagHidesThem)
{
    const TemporaryFolder folder;
    std::string nested;
    for (int i = 0; i < 20000; ++i)
        nested = frame("CHAP", "c\0"s + std::string(16, '\0') + nested);
    const std::string title = frame("TIT2", "\x03T");
    const std::string cover = frame("APIC", std::string(20000, '\xff'));
    const auto refuses = [&](std::string tag, char version, char flags) {
        tag[3] = version;
        tag[5] = flags;
        writeAll(folder.path("a.mp3"), tag);
        const auto file = openInTime(folder.path("a.mp3"));
        return !file || file->GetTitle().isNull();
    };
    EXPECT_TRUE(refuses(id3(title + cover + nested), 4, 0)) << "behind a cover";
    EXPECT_TRUE(refuses(id3("\0\0\0\x06\1\0"s + title + nested), 4, 0x40)) << "behind an extended header";
    // Sizes of version 3: the library goes by the name behind each frame.
    const std::string plain = "APIC"s + bigEndian(200) + "\0\0"s + std::string(200, 'x');
    const std::string chapters = "CHAP"s + bigEndian(static_cast<std::uint32_t>(nested.size())) + "\0\0"s + nested;
    EXPECT_TRUE(refuses(id3(title + plain + chapters), 4, 0)) << "behind a size of the older kind";
    EXPECT_TRUE(refuses(id3(title + plain + chapters), 3, 0)) << "in a tag of version 3";
    // Each zero behind 0xff goes away before the library looks at the frames.
    std::string stuffed = "APIC"s + bigEndian(200) + "\0\0"s;
    for (int i = 0; i < 200; ++i)
        stuffed += "\xff\0"s;
    EXPECT_TRUE(refuses(id3(title + stuffed + chapters), 3, '\x80')) << "in an unsynchronised tag";
}

TEST(AudioMetadataSafety, CompressedFramesAreFoundHoweverTheTagHidesThem)
{
    const TemporaryFolder folder;
    const auto plainFrame = [](const std::string &name, const std::string &body, char flags) {
        return name + bigEndian(static_cast<std::uint32_t>(body.size())) + '\0' + flags + body;
    };
    const std::string title = plainFrame("TIT2", "\0T"s, 0);
    const std::string bomb = plainFrame("TXXX", std::string(2000000, 'z'), '\x80');
    std::string stuffed = plainFrame("APIC", std::string(200, '\xff'), 0);
    for (std::size_t at = stuffed.size() - 199; at <= stuffed.size(); at += 2)
        stuffed.insert(at, 1, '\0');
    const auto refuses = [&](std::string tag, char flags) {
        tag[3] = 3;
        tag[5] = flags;
        writeAll(folder.path("a.mp3"), tag);
        const auto file = openInTime(folder.path("a.mp3"));
        return !file || file->GetTitle().isNull();
    };
    EXPECT_FALSE(refuses(id3(title), 0));
    EXPECT_TRUE(refuses(id3(title + bomb), 0));
    EXPECT_TRUE(refuses(id3("\0\0\0\x06\0\0"s + title + bomb), 0x40)) << "behind an extended header";
    EXPECT_TRUE(refuses(id3(title + stuffed + bomb), '\x80')) << "in an unsynchronised tag";
}

TEST(AudioMetadataSafety, CompressedFramesThatCouldFillTheMemoryAreNotInflated)
{
    const TemporaryFolder folder;
    constexpr char compressed = 0x09;
    writeAll(folder.path("a.mp3"), id3(frame("TXXX", std::string(2000000, 'z'), compressed) + frame("TIT2", "\x03T")));
    if (const auto file = openInTime(folder.path("a.mp3"))) {
        EXPECT_TRUE(file->GetTitle().isNull());
    }
    writeAll(folder.path("a.mp3"), id3(frame("CHAP", std::string(2000, 'z'), compressed) + frame("TIT2", "\x03T")));
    if (const auto file = openInTime(folder.path("a.mp3"))) {
        EXPECT_TRUE(file->GetTitle().isNull());
    }
}

TEST(AudioMetadataSafety, ChaptersSideBySideAreReadAndKept)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.mp3", {}, {}, "-id3v2_version 0 -write_id3v1 0");
    std::string frames = frame("TIT2", "\x03Title");
    for (int i = 0; i < 300; ++i)
        frames += frame("CHAP", "c" + std::to_string(i) + '\0' + std::string(16, '\0') + frame("TIT2", "\x03Part"));
    writeAll(path, id3(frames) + readAll(path));
    const auto file = openInTime(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetTitle(), "Title");
    file->SetTitle("Other");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_NE(readAll(path).find("c299\0"s), std::string::npos);
}

TEST(AudioMetadataSafety, MillionsOfTinyFramesAreReadInTimeOrRefused)
{
    const TemporaryFolder folder;
    std::string frames;
    for (int i = 0; i < 500000; ++i)
        frames += "TXXX\0\0\0\x02\0\0\0a"s;
    writeAll(folder.path("a.mp3"), id3(frames));
    openInTime(folder.path("a.mp3"));
}

TEST(AudioMetadataSafety, ATextCutInTheMiddleOfACharacterLosesThatCharacterOnly)
{
    const TemporaryFolder folder;
    // UTF-16: "Hi ", then the first half of a character beyond the first 65,536.
    writeAll(folder.path("a.mp3"), id3(frame("TIT2", "\x01\xff\xfeH\0i\0 \0\x3d\xd8"s)));
    const auto tags = openInTime(folder.path("a.mp3"));
    ASSERT_TRUE(tags);
    EXPECT_EQ(tags->GetTitle(), "Hi \xef\xbf\xbd");
}

TEST(AudioMetadataSafety, AFullDiskLeavesTheFileAsItWas)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    for (const char *extension : extensions) {
        const auto path = makeMedia(folder, "a"s + extension, {{"title", "Old"}});
        const std::string before = readAll(path);
        // At different points of the write: while copying, and while the tags go into the copy.
        for (const std::size_t limit : {before.size() / 2, before.size() - 1, before.size() + 1000}) {
            const int result = inChild([&] {
                ::signal(SIGXFSZ, SIG_IGN);
                const rlimit small{limit, limit};
                ::setrlimit(RLIMIT_FSIZE, &small);
                const auto file = AudioMetadata::CreateMetadataForURL(path.native());
                file->SetLyrics(std::string(100000, 'x'));
                String error;
                return file->WriteMetadata(&error) || error.view().find("large") == std::string_view::npos ? 1 : 0;
            });
            EXPECT_EQ(result, 0) << extension << " " << limit;
            EXPECT_EQ(readAll(path), before) << extension;
        }
        fs::remove(path);
        EXPECT_TRUE(fs::is_empty(folder.path())) << "a temporary file was left";
    }
}

TEST(AudioMetadataSafety, ATextThatTheKindOfFileCannotCountIsRefusedAndTheFileKept)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.wma", {{"title", "Old"}});
    const std::string before = readAll(path);
    const auto file = openInTime(path);
    file->SetTitle(std::string(300000, 'l'));
    String error;
    EXPECT_FALSE(file->WriteMetadata(&error));
    EXPECT_NE(error.view().find("cannot hold"), std::string_view::npos) << error.c_str();
    EXPECT_EQ(readAll(path), before);
}

// A tag of more than 64 MiB is written, and read by nobody: the texts that were there would be gone with it.
TEST(AudioMetadataSafety, ATextThatWouldTakeOtherTagsWithItIsRefusedAndTheFileKept)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.aiff", {{"title", "Old"}}, {}, "-write_id3v2 1");
    const std::string before = readAll(path);
    const auto file = openInTime(path);
    ASSERT_EQ(file->GetTitle(), "Old");
    file->SetLyrics(std::string(65 << 20, 'l'));
    String error;
    EXPECT_FALSE(file->WriteMetadata(&error));
    EXPECT_NE(error.view().find("cannot hold"), std::string_view::npos) << error.c_str();
    EXPECT_TRUE(readAll(path) == before);
}

TEST(AudioMetadataSafety, AShortTextThatHasNoFormInAFileIsLeftOutAndTheOthersAreWritten)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    const auto path = makeMedia(folder, "a.mp3", {{"title", "Old"}}, {}, "-id3v2_version 3");
    const auto file = openInTime(path);
    file->SetYear("a/b");
    file->SetTitle("New");
    EXPECT_TRUE(file->WriteMetadata());
    EXPECT_EQ(openInTime(path)->GetTitle(), "New");
}

TEST(AudioMetadataSafety, Kill9InTheMiddleOfAWriteLeavesTheOldFileOrTheNewOne)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    for (const char *extension : {".mp3", ".m4a", ".flac", ".ogg", ".wma"}) {
        const auto path = makeMedia(folder, "a"s + extension, {{"title", "Old"}, {"album", "Kept"}}, {}, "");
        const std::string sound = soundDigest(path);
        for (int round = 1; round <= 6; ++round) {
            std::array<int, 2> pipe{};
            ASSERT_EQ(::pipe(pipe.data()), 0);
            const pid_t child = ::fork();
            if (child == 0) {
                // Long and short in turn, so that the sound moves at each write.
                for (int i = 0;; ++i) {
                    const auto file = AudioMetadata::CreateMetadataForURL(path.native());
                    file->SetTitle(i % 2 ? String("Short") : String(std::string(30000, 'l')));
                    (void)!::write(pipe[1], "x", 1);
                    file->WriteMetadata();
                }
            }
            ::close(pipe[1]);
            // The child has begun its write number `round`; where in it the signal comes is left to chance.
            for (int begun = 0; begun < round; ++begun) {
                char byte = 0;
                ASSERT_EQ(::read(pipe[0], &byte, 1), 1);
            }
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
            ::close(pipe[0]);
            const auto file = openInTime(path);
            ASSERT_TRUE(file) << extension;
            EXPECT_TRUE(file->GetTitle() == "Old" || file->GetTitle() == "Short" || file->GetTitle().size() == 30000);
            EXPECT_EQ(file->GetAlbumTitle(), "Kept");
        }
        EXPECT_EQ(soundDigest(path), sound) << extension;
    }
}
