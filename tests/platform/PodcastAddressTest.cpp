// SPDX-License-Identifier: Apache-2.0
// A podcast's address in ID3v2: its makers write it as a text, with the byte of an encoding in front; others write it as
// the bare address that every other frame of its kind holds. And what else of a tag only its bytes tell.
#include <kelvane/platform/AudioMetadata.h>

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>
#include <map>
#include <vector>

using namespace kelvane;
using namespace kelvane::testsupport;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

const std::string address = "http://example.org/feed";

std::string sized(std::size_t size, int bitsPerByte, int bytes)
{
    std::string text;
    for (int i = bytes - 1; i >= 0; --i)
        text += static_cast<char>(size >> (i * bitsPerByte) & ((1U << bitsPerByte) - 1U));
    return text;
}

std::string frame(const std::string &name, const std::string &content)
{
    return name + sized(content.size(), 8, 4) + "\0\0"s + content;
}

std::string tag(char version, const std::string &frames)
{
    return "ID3"s + version + "\0\0"s + sized(frames.size() + 20, 7, 4) + frames + std::string(20, '\0');
}

std::string chunk(const std::string &name, const std::string &content, bool isBigEndian)
{
    std::string size = sized(content.size(), 8, 4);
    return name + (isBigEndian ? size : std::string(size.rbegin(), size.rend())) + content
        + std::string(content.size() % 2, '\0');
}

std::unique_ptr<AudioMetadata> open(const fs::path &path)
{
    return AudioMetadata::CreateMetadataForURL(path.native());
}

String addressOf(const fs::path &path)
{
    const auto file = open(path);
    return file ? file->GetPodcastURL() : String("no file");
}

class PodcastAddress : public testing::Test {
protected:
    void SetUp() override { REQUIRE_FFMPEG(); }

    /// A file of each kind that may have such a tag, with that tag and no other.
    std::vector<fs::path> filesWith(const std::string &bytes)
    {
        std::vector<fs::path> paths;
        for (const char *name : {"a.mp3", "a.tta", "a.flac"}) {
            paths.push_back(folder.path(name));
            writeAll(paths.back(), bytes + soundOf(name));
        }
        for (const char *name : {"a.wav", "a.aiff"}) {
            const bool isBigEndian = name == "a.aiff"s;
            std::string file = soundOf(name) + chunk("ID3 ", bytes, isBigEndian);
            const std::string size = sized(file.size() - 8, 8, 4);
            file.replace(4, 4, isBigEndian ? size : std::string(size.rbegin(), size.rend()));
            paths.push_back(folder.path(name));
            writeAll(paths.back(), file);
        }
        return paths;
    }
    /// A file without any tag.
    static const std::string &soundOf(const std::string &name)
    {
        static std::map<std::string, std::string> made;
        const auto [sound, isNew] = made.try_emplace(name);
        const TemporaryFolder folder;
        if (isNew)
            sound->second =
                readAll(makeMedia(folder, name, {}, {}, name == "a.mp3" ? "-id3v2_version 0 -write_id3v1 0" : ""));
        return sound->second;
    }
    std::string ofMutagen(const fs::path &path)
    {
        const auto out = folder.path("output");
        EXPECT_TRUE(runShell("/usr/bin/python3 -c 'import sys; from mutagen.id3 import ID3; "
                             "print(ID3(sys.argv[1])[\"WFED\"].url)' "
            + quoted(path.native()) + " >" + quoted(out.native())));
        return readAll(out);
    }

    TemporaryFolder folder;
};

TEST_F(PodcastAddress, ThatIsBareIsReadAndKeptByAWrite)
{
    for (const char version : {'\3', '\4'}) {
        for (const fs::path &path : filesWith(tag(version, frame("WFED", address)))) {
            SCOPED_TRACE(path);
            const auto file = open(path);
            ASSERT_TRUE(file);
            EXPECT_EQ(file->GetPodcastURL(), address);
            file->SetArtist("Somebody");
            ASSERT_TRUE(file->WriteMetadata());
            EXPECT_EQ(addressOf(path), address);
            EXPECT_EQ(open(path)->GetArtist(), "Somebody");
            EXPECT_NE(readAll(path).find(frame("WFED", address)), std::string::npos) << "in the form that it had";
        }
    }
}

TEST_F(PodcastAddress, OfAnyLengthIsReadToItsEnd)
{
    for (const char *text : {"h", "ht", "http://a", "feed://b/c", "http://example.org/caf\xe9"}) {
        for (const fs::path &path : filesWith(tag('\3', frame("TIT2", "\0T"s) + frame("WFED", text)))) {
            const String expected = text == "http://example.org/caf\xe9"s ? "http://example.org/caf\u00e9" : text;
            EXPECT_EQ(addressOf(path), expected) << path;
        }
    }
}

TEST_F(PodcastAddress, ThatIsATextIsReadInEachEncodingAndKept)
{
    const std::string wide = "h\0t\0t\0p\0:\0/\0/\0a\0"s;
    for (const std::string &content :
        {'\0' + address, '\1' + "\xff\xfe"s + wide, '\3' + address, '\3' + address + '\0'}) {
        const String expected = content[0] == '\1' ? "http://a" : address;
        for (const fs::path &path : filesWith(tag('\4', frame("WFED", content)))) {
            SCOPED_TRACE(path);
            const auto file = open(path);
            ASSERT_TRUE(file);
            EXPECT_EQ(file->GetPodcastURL(), expected);
            file->SetTitle("New");
            ASSERT_TRUE(file->WriteMetadata());
            EXPECT_EQ(addressOf(path), expected);
            const std::string bytes = readAll(path);
            EXPECT_EQ(bytes[bytes.find("WFED") + 10], content[0]);
        }
    }
}

TEST_F(PodcastAddress, OfTheOldestTagsIsReadAndKept)
{
    const std::string title = "TT2"s + sized(2, 8, 3) + "\0T"s;
    for (const std::string &content : {address, '\0' + address}) {
        const auto path = filesWith(tag('\2', title + "WFD" + sized(content.size(), 8, 3) + content)).front();
        const auto file = open(path);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->GetTitle(), "T");
        EXPECT_EQ(file->GetPodcastURL(), address);
        file->SetTitle("New");
        ASSERT_TRUE(file->WriteMetadata());
        EXPECT_EQ(addressOf(path), address);
        EXPECT_NE(readAll(path).find(frame("WFED", content)), std::string::npos);
    }
}

TEST_F(PodcastAddress, IsReplacedInTheFormThatItHasAndRemoved)
{
    if (!runShell("/usr/bin/python3 -c 'import mutagen' 2>/dev/null"))
        GTEST_SKIP() << "mutagen is not installed";
    const auto path = makeMedia(folder, "b.mp3", {});
    ASSERT_TRUE(runShell("/usr/bin/python3 -c 'import sys; from mutagen.id3 import ID3, WFED; t = ID3(); "
                         "t.add(WFED(url=\"http://example.org/feed\")); t.save(sys.argv[1])' "
        + quoted(path.native())));
    const auto file = open(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetPodcastURL(), address);
    file->SetTitle("New");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_EQ(ofMutagen(path), address + "\n");
    file->SetPodcastURL("http://example.org/another");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_EQ(ofMutagen(path), "http://example.org/another\n");
    file->SetPodcastURL("http://example.org/\u65e5\u672c");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_EQ(addressOf(path), "http://example.org/\u65e5\u672c") << "which only a text can hold";
    file->SetPodcastURL("");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_TRUE(addressOf(path).isNull());
    EXPECT_EQ(readAll(path).find("WFED"), std::string::npos);
}

TEST_F(PodcastAddress, ADamagedFrameIsNoAddress)
{
    for (const std::string &content : {"\0"s, "\1"s, "\3"s, "\0\0\0"s, "\1\xff"s})
        EXPECT_TRUE(addressOf(filesWith(tag('\3', frame("TIT2", "\0T"s) + frame("WFED", content))).front()).isEmpty());
}

TEST_F(PodcastAddress, OldFramesWithoutASuccessorSurviveAWriteInEveryKindOfFile)
{
    const std::string volume = "\0\0\x03\x10\0\x7f\0\x7f"s;
    for (const fs::path &path : filesWith(tag('\3', frame("RVAD", volume) + frame("TIT2", "\0T"s)))) {
        SCOPED_TRACE(path);
        const auto file = open(path);
        ASSERT_TRUE(file);
        file->SetTitle("New");
        ASSERT_TRUE(file->WriteMetadata());
        EXPECT_EQ(open(path)->GetTitle(), "New");
        EXPECT_NE(readAll(path).find(frame("RVAD", volume)), std::string::npos);
    }
}

} // namespace
