// SPDX-License-Identifier: Apache-2.0
// Tags that other programs wrote, and what other programs read of ours.
#include <kelvane/platform/AudioMetadata.h>

#include "tests/support/MediaFiles.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace kelvane;
using namespace kelvane::testsupport;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

#define REQUIRE_PROGRAM(command)                                                                                       \
    REQUIRE_FFMPEG();                                                                                                  \
    if (!runShell(command " >/dev/null 2>&1"))                                                                         \
    GTEST_SKIP() << "not installed: " << command

constexpr const char *python = "/usr/bin/python3 -c ";
#define REQUIRE_MUTAGEN() REQUIRE_PROGRAM("/usr/bin/python3 -c 'import mutagen'")
#define REQUIRE_ATOMICPARSLEY() REQUIRE_PROGRAM("AtomicParsley -v")
#define REQUIRE_EXIFTOOL() REQUIRE_PROGRAM("exiftool -ver")

std::unique_ptr<AudioMetadata> open(const fs::path &path)
{
    return AudioMetadata::CreateMetadataForURL(path.native());
}

class Writers : public testing::Test {
protected:
    /// Runs a Python program; what it prints, without the last line break.
    std::string runPython(const std::string &program, const fs::path &path)
    {
        return outputOf(python + quoted(program) + " " + quoted(path.native()));
    }
    std::string outputOf(const std::string &command)
    {
        const auto out = folder.path("output");
        EXPECT_TRUE(runShell(command + " >" + quoted(out.native()))) << command;
        std::string text = readAll(out);
        fs::remove(out);
        while (text.ends_with('\n'))
            text.pop_back();
        return text;
    }
    /// What exiftool says of one tag.
    std::string exifTag(const fs::path &path, const std::string &tag)
    {
        return outputOf("exiftool -s3 -" + tag + " " + quoted(path.native()));
    }

    TemporaryFolder folder;
};

constexpr const char *writeAtoms = R"(
import sys
from mutagen.mp4 import MP4, MP4FreeForm, MP4Cover, AtomDataType
f = MP4(sys.argv[1])
t = f.tags or f.add_tags() or f.tags
t['\xa9nam'] = ['Title'];  t['sonm'] = ['Title, The']; t['soal'] = ['Album, The']; t['soar'] = ['Artist, The']
t['soaa'] = ['Album Artist, The']; t['soco'] = ['Composer, The']
t['purd'] = ['2012-05-03 07:00:00']; t['apID'] = ['somebody@example.org']
t['pcst'] = True; t['purl'] = ['http://example.org/feed']; t['egid'] = ['episode-guid']
t['tvsh'] = ['Show']; t['tvnn'] = ['Network']; t['tven'] = ['E7']; t['tves'] = [7]; t['tvsn'] = [3]; t['stik'] = [10]
t['\xa9lyr'] = ['La la']; t['desc'] = ['About it']; t['\xa9grp'] = ['Group']
t['trkn'] = [(4, 12)]; t['disk'] = [(1, 2)]
t['----:com.example:KEPT'] = [MP4FreeForm(b'kept text', AtomDataType.UTF8)]
t['covr'] = [MP4Cover(b'\xff\xd8first', MP4Cover.FORMAT_JPEG), MP4Cover(b'\x89PNGsecond', MP4Cover.FORMAT_PNG)]
f.save()
)";

void expectAtoms(const AudioMetadata &file)
{
    EXPECT_EQ(file.GetTitleSortOrder(), "Title, The");
    EXPECT_EQ(file.GetAlbumTitleSortOrder(), "Album, The");
    EXPECT_EQ(file.GetArtistSortOrder(), "Artist, The");
    EXPECT_EQ(file.GetAlbumArtistSortOrder(), "Album Artist, The");
    EXPECT_EQ(file.GetComposerSortOrder(), "Composer, The");
    EXPECT_EQ(file.GetPurchaseDate(), "2012-05-03 07:00:00");
    EXPECT_EQ(file.GetiTunesAccount(), "somebody@example.org");
    EXPECT_EQ(file.GetIsPodcast(), Value(1));
    EXPECT_EQ(file.GetPodcastURL(), "http://example.org/feed");
    EXPECT_EQ(file.GetPodcastIdentifier(), "episode-guid");
    EXPECT_EQ(file.GetTVShow(), "Show");
    EXPECT_EQ(file.GetTVShowNetwork(), "Network");
    EXPECT_EQ(file.GetEpisodeID(), "E7");
    EXPECT_EQ(file.GetTVEpisode(), Value(7));
    EXPECT_EQ(file.GetTVSeason(), Value(3));
    EXPECT_EQ(file.GetMediaType(), Value(10));
    EXPECT_EQ(file.GetLyrics(), "La la");
    EXPECT_EQ(file.GetDescription(), "About it");
    EXPECT_EQ(file.GetGrouping(), "Group");
    EXPECT_EQ(file.GetTrackNumber(), Value(4));
    EXPECT_EQ(file.GetTrackTotal(), Value(12));
    EXPECT_EQ(file.GetDiscNumber(), Value(1));
    EXPECT_EQ(file.GetDiscTotal(), Value(2));
    ASSERT_EQ(file.GetAttachedPictures().size(), 2U);
    EXPECT_EQ(file.GetAttachedPictures()[0].GetData().view(),
        "\xff\xd8"
        "first");
    EXPECT_EQ(file.GetAttachedPictures()[1].GetData().view(), "\x89PNGsecond");
}

} // namespace

TEST_F(Writers, AtomsOfMutagenAreReadAndKept)
{
    REQUIRE_MUTAGEN();
    const auto path = makeMedia(folder, "a.m4a", {});
    runPython(writeAtoms, path);
    const auto file = open(path);
    ASSERT_TRUE(file);
    expectAtoms(*file);
    file->SetComment("new");
    ASSERT_TRUE(file->WriteMetadata());
    expectAtoms(*open(path));
    EXPECT_EQ(runPython("import sys, mutagen.mp4 as m; t = m.MP4(sys.argv[1]).tags; "
                        "print(t['purd'][0], t['apID'][0], t['pcst'], t['stik'], t['egid'], t['\\xa9cmt'][0], "
                        "bytes(t['----:com.example:KEPT'][0]), [bytes(c) for c in t['covr']])",
                  path),
        "2012-05-03 07:00:00 somebody@example.org True [10] ['episode-guid'] new b'kept text' "
        "[b'\\xff\\xd8first', b'\\x89PNGsecond']");
}

TEST_F(Writers, AtomsOfAtomicParsleyAreRead)
{
    REQUIRE_ATOMICPARSLEY();
    const auto path = makeMedia(folder, "a.m4a", {});
    outputOf("AtomicParsley " + quoted(path.native())
        + " --overWrite --title T --purchaseDate '2012-05-03 07:00:00' --apID me@example.org --podcastFlag true"
          " --podcastURL http://example.org/feed --podcastGUID guid --TVShowName Show --TVNetwork Net --TVEpisode E7"
          " --TVEpisodeNum 7 --TVSeasonNum 3 --stik 'TV Show' --sortOrder name 'T, The' --lyrics 'La la' --tracknum "
          "4/12"
          " --description About");
    const auto file = open(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetTitle(), "T");
    EXPECT_EQ(file->GetPurchaseDate(), "2012-05-03 07:00:00");
    EXPECT_EQ(file->GetiTunesAccount(), "me@example.org");
    EXPECT_EQ(file->GetIsPodcast(), Value(1));
    EXPECT_EQ(file->GetPodcastURL(), "http://example.org/feed");
    EXPECT_EQ(file->GetPodcastIdentifier(), "guid");
    EXPECT_EQ(file->GetTVShow(), "Show");
    EXPECT_EQ(file->GetTVShowNetwork(), "Net");
    EXPECT_EQ(file->GetEpisodeID(), "E7");
    EXPECT_EQ(file->GetTVEpisode(), Value(7));
    EXPECT_EQ(file->GetTVSeason(), Value(3));
    EXPECT_EQ(file->GetMediaType(), Value(10));
    EXPECT_EQ(file->GetTitleSortOrder(), "T, The");
    EXPECT_EQ(file->GetLyrics(), "La la");
    EXPECT_EQ(file->GetTrackTotal(), Value(12));
    EXPECT_EQ(file->GetDescription(), "About");
}

TEST_F(Writers, AtomsOfExiftoolAreRead)
{
    REQUIRE_EXIFTOOL();
    const auto path = makeMedia(folder, "a.m4a", {{"title", "T"}});
    outputOf("exiftool -q -overwrite_original -ItemList:ITunesU#=1 -ItemList:PurchaseDate='2012:05:03 07:00:00'"
             " -ItemList:AppleStoreAccount=me@example.org -ItemList:Podcast#=1 "
        + quoted(path.native()));
    const auto file = open(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetIsiTunesU(), Value(1));
    EXPECT_EQ(file->GetIsPodcast(), Value(1));
    EXPECT_EQ(file->GetPurchaseDate(), "2012:05:03 07:00:00");
    EXPECT_EQ(file->GetiTunesAccount(), "me@example.org");
}

TEST_F(Writers, OurAtomsAreReadByOthers)
{
    REQUIRE_EXIFTOOL();
    const auto path = makeMedia(folder, "a.m4a", {});
    const auto file = open(path);
    file->SetTitle("Caf\xc3\xa9");
    file->SetAlbumArtist("Band");
    file->SetTitleSortOrder("Cafe");
    file->SetPodcastURL("http://example.org/feed");
    file->SetIsPodcast(1);
    file->SetIsiTunesU(1);
    file->SetTrackNumber(3);
    file->SetTrackTotal(9);
    file->SetLyrics("La la");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_EQ(exifTag(path, "Title"), "Caf\xc3\xa9");
    EXPECT_EQ(exifTag(path, "AlbumArtist"), "Band");
    EXPECT_EQ(exifTag(path, "SortName"), "Cafe");
    EXPECT_EQ(exifTag(path, "PodcastURL"), "http://example.org/feed");
    EXPECT_EQ(exifTag(path, "Podcast"), "Yes");
    EXPECT_EQ(exifTag(path, "TrackNumber"), "3 of 9");
    EXPECT_EQ(exifTag(path, "Lyrics"), "La la");
    EXPECT_EQ(exifTag(path, "ITunesU#"), "1");
}

TEST_F(Writers, OurFramesAreReadByOthers)
{
    REQUIRE_MUTAGEN();
    const auto path = makeMedia(folder, "a.mp3", {{"title", "Old"}}, makeCover(folder, "red"));
    const auto file = open(path);
    file->SetTitle("Caf\xc3\xa9");
    file->SetAlbumArtistSortOrder("Band, The");
    file->SetPodcastURL("http://example.org/feed");
    file->SetIsPodcast(1);
    file->SetDiscNumber(1);
    file->SetDiscTotal(2);
    file->SetLyrics("La la");
    ASSERT_TRUE(file->WriteMetadata());
    EXPECT_EQ(
        runPython("import sys; from mutagen.id3 import ID3; t = ID3(sys.argv[1], translate=False); "
                  "print(t['TIT2'].text[0].encode(), t['TSO2'], t['WFED'].url.lstrip('\\x03'), 'PCST' in t, t['TPOS'], "
                  "t.getall('USLT')[0].text, len(t.getall('APIC')))",
            path),
        "b'Caf\\xc3\\xa9' Band, The http://example.org/feed True 1/2 La la 1");
}

TEST_F(Writers, FramesOfMutagenInEveryVersionAreRead)
{
    REQUIRE_MUTAGEN();
    for (const char *version : {"3", "4"}) {
        const auto path = makeMedia(folder, "v"s + version + ".mp3", {});
        runPython("import sys; from mutagen.id3 import *; from mutagen.id3._frames import *; t = ID3(); "
                  "t.add(TIT2(encoding=1, text='\\u65e5\\u672c')); t.add(TSO2(encoding=3, text='Sorted')); "
                  "t.add(PCST(value=0)); "
                  "t.add(TGID(encoding=3, text='guid')); t.add(TDES(encoding=3, text='About')); "
                  "t.add(USLT(encoding=1, lang='eng', desc='', text='La la')); t.add(TRCK(encoding=3, text='4/12')); "
                  "t.add(COMM(encoding=3, lang='eng', desc='iTunNORM', text='0000')); "
                  "t.add(COMM(encoding=3, lang='eng', desc='', text='For people')); "
                  "t.add(APIC(encoding=0, mime='image/png', type=3, desc='', data=b'picture')); "
                  "t.save(sys.argv[1], v2_version="s
                + version + ")",
            path);
        const auto file = open(path);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->GetTitle(), "\u65e5\u672c");
        EXPECT_EQ(file->GetAlbumArtistSortOrder(), "Sorted");
        EXPECT_EQ(file->GetIsPodcast(), Value(1));
        EXPECT_EQ(file->GetPodcastIdentifier(), "guid");
        EXPECT_EQ(file->GetDescription(), "About");
        EXPECT_EQ(file->GetLyrics(), "La la");
        EXPECT_EQ(file->GetTrackNumber(), Value(4));
        EXPECT_EQ(file->GetTrackTotal(), Value(12));
        EXPECT_EQ(file->GetComment(), "For people");
        ASSERT_EQ(file->GetAttachedPictures().size(), 1U);
        EXPECT_EQ(file->GetAttachedPictures()[0].GetData().view(), "picture");
    }
}

TEST_F(Writers, PicturesInVorbisCommentsAreReadAndKept)
{
    REQUIRE_MUTAGEN();
    for (const char *name : {"a.ogg", "a.opus"}) {
        const auto path = makeMedia(folder, name, {{"title", "T"}});
        runPython("import sys, base64, mutagen; from mutagen.flac import Picture\n"
                  "f = mutagen.File(sys.argv[1])\n"
                  "def block(data):\n"
                  "    p = Picture(); p.data = data; p.type = 3; p.mime = 'image/jpeg'; p.width = 1; p.height = 1\n"
                  "    return base64.b64encode(p.write()).decode()\n"
                  "f['metadata_block_picture'] = [block(b'\\xff\\xd8first'), block(b'second' * 20000)]\n"
                  "f.save()",
            path);
        const auto expectPictures = [&](const AudioMetadata &file) {
            ASSERT_EQ(file.GetAttachedPictures().size(), 2U) << name;
            EXPECT_EQ(file.GetAttachedPictures()[0].GetData().view(),
                "\xff\xd8"
                "first");
            EXPECT_EQ(file.GetAttachedPictures()[1].GetData().size(), 120000U);
        };
        const auto file = open(path);
        ASSERT_TRUE(file) << name;
        expectPictures(*file);
        file->SetLyrics("La la");
        ASSERT_TRUE(file->WriteMetadata());
        expectPictures(*open(path));
        EXPECT_EQ(runPython("import sys, mutagen; f = mutagen.File(sys.argv[1]); "
                            "print(f['title'][0], f['lyrics'][0], len(f['metadata_block_picture']))",
                      path),
            "T La la 2");
    }
}

TEST_F(Writers, RawAacIsMeasuredFrameByFrame)
{
    REQUIRE_MUTAGEN();
    const auto path = makeMedia(folder, "a.aac", {}, {}, "-f adts -ac 2 -ar 22050");
    const auto file = open(path);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->GetSampleRate(), Value(22050));
    EXPECT_EQ(file->GetChannelsPerFrame(), Value(2));
    const std::string seconds =
        runPython("import sys, mutagen.aac; print(mutagen.aac.AAC(sys.argv[1]).info.length)", path);
    EXPECT_NEAR(file->GetDuration().doubleValue(), std::stod(seconds), 0.1);
    EXPECT_NEAR(file->GetDuration().doubleValue() * file->GetBitrate().doubleValue() / 8,
        static_cast<double>(fs::file_size(path)), 10);
}

TEST_F(Writers, RawAacKeepsItsSoundBehindATag)
{
    REQUIRE_FFMPEG();
    const auto path = makeMedia(folder, "a.aac", {}, {}, "-f adts");
    const std::string sound = soundDigest(path);
    const auto before = open(path);
    const auto renamed = folder.path("a.bin");
    fs::copy_file(path, renamed);
    EXPECT_EQ(open(renamed)->GetDuration(), before->GetDuration()) << "told by its content";
    const auto file = open(path);
    file->SetTitle("New");
    String error;
    ASSERT_TRUE(file->WriteMetadata(&error)) << error.c_str();
    const auto after = open(path);
    EXPECT_EQ(after->GetTitle(), "New");
    EXPECT_EQ(after->GetDuration(), before->GetDuration());
    EXPECT_EQ(after->GetBitrate(), before->GetBitrate());
    EXPECT_EQ(soundDigest(path), sound);
}

TEST_F(Writers, ACopyThatAKillLeftBehindIsRemovedByTheNextWrite)
{
    REQUIRE_FFMPEG();
    const auto path = makeMedia(folder, "a.mp3", {{"title", "Old"}});
    const auto bystander = makeMedia(folder, "b.mp3", {{"title", "Old"}});
    const auto write = [&](const fs::path &target) {
        const auto file = open(target);
        file->SetTitle("New");
        return file->WriteMetadata();
    };
    const auto names = [&] {
        std::size_t count = 0;
        for (const auto &entry : fs::directory_iterator(folder.path()))
            count += entry.path().filename().native().starts_with(".kelvane-") ? 1U : 0U;
        return count;
    };
    int rounds = 0;
    for (; names() == 0 && rounds < 200; ++rounds) {
        const pid_t child = ::fork();
        if (child == 0) {
            for (;;)
                write(path);
        }
        // The moment of the signal is left to chance; the loop ends with the first copy that is left.
        const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(3000 + 37 * rounds);
        while (std::chrono::steady_clock::now() < until)
            (void)names();
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    ASSERT_TRUE(write(bystander));
    const std::size_t left = names();
    ASSERT_TRUE(write(path));
    EXPECT_EQ(names(), 0U) << left << " before, after " << rounds << " rounds";
    EXPECT_EQ(open(path)->GetTitle(), "New");
}

TEST_F(Writers, ManyAtOnceLeaveOneWholeFileAndNothingElse)
{
    REQUIRE_FFMPEG();
    const auto path = makeMedia(folder, "a.mp3", {{"title", "Old"}, {"album", "Kept"}});
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&path, i] {
            for (int k = 0; k < 10; ++k) {
                const auto file = open(path);
                ASSERT_TRUE(file);
                file->SetTitle(std::string(static_cast<std::size_t>(1000 * i + 1), 't'));
                String error;
                EXPECT_TRUE(file->WriteMetadata(&error)) << error.c_str();
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(open(path)->GetAlbumTitle(), "Kept");
    EXPECT_EQ(open(path)->GetTitle().size() % 1000, 1U);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}
