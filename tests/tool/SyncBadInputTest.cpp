// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <cstring>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

/// Each bad file lies beside a good one: it gives one line with its name and the reason, and the good one goes on.
class SyncBadInput : public SyncFixture {
protected:
    void expectOneLine(const std::string &name, const std::string &reason, const ToolOptions &options = {}) const
    {
        addMedia("song.mp3", "good.mp3");
        const ToolResult result = sync({}, options);
        EXPECT_EQ(result.code, 1);
        EXPECT_THAT(
            result.errorLines(), ElementsAre(AllOf(StartsWith("kelvane: "), HasSubstr(name), HasSubstr(reason))));
        EXPECT_EQ(library().count(source("good.mp3")), 1U);
        EXPECT_THAT(deviceFiles(), SizeIs(1));
    }
    // For whom permissions count: the files become his.
    void giveToNobody() const
    {
        constexpr uid_t nobody = 65534;
        ASSERT_EQ(::chmod(fs::path(source()).parent_path().c_str(), 0755), 0);
        ASSERT_EQ(::chown(device().c_str(), nobody, nobody), 0);
    }
    static bool isRoot() { return ::geteuid() == 0; }
};

TEST_F(SyncBadInput, AnEmptyFile)
{
    write(source("bad.mp3"), "");
    expectOneLine("bad.mp3", "the file is empty");
}

TEST_F(SyncBadInput, AFileWhoseExtensionLies)
{
    write(source("bad.mp3"), "This is no song but a text, and a rather short one.");
    expectOneLine("bad.mp3", "its content is no audio, video or image");
}

TEST_F(SyncBadInput, AMediaFileUnderTheNameOfAnotherKindIsTakenForWhatItIs)
{
    addMedia("photo.jpg", "really a photo.mp3");
    EXPECT_EQ(sync().code, 0);
    EXPECT_THAT(deviceFiles(), ElementsAre("Photos/really a photo.jpg"));
    EXPECT_EQ(library().at(source("really a photo.mp3"))["mediaKind"], 4);
}

TEST_F(SyncBadInput, AFifo)
{
    ASSERT_EQ(::mkfifo(source("bad.mp3").c_str(), 0644), 0);
    expectOneLine("bad.mp3", "is a FIFO");
}

TEST_F(SyncBadInput, ASocket)
{
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(source("bad.mp3").size(), sizeof address.sun_path);
    std::strcpy(address.sun_path, source("bad.mp3").c_str());
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    expectOneLine("bad.mp3", "is a socket");
    ::close(socket);
}

TEST_F(SyncBadInput, ADeviceNamedAsSource)
{
    const ToolResult result = runTool({"sync", "/dev/null", device()});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr("/dev/null"), HasSubstr("is a device"))));
}

TEST_F(SyncBadInput, ALinkThatLeadsNowhere)
{
    fs::create_symlink(source("nowhere"), source("bad.mp3"));
    expectOneLine("bad.mp3", "a link that leads nowhere");
}

TEST_F(SyncBadInput, ALinkToItself)
{
    fs::create_symlink("bad.mp3", source("bad.mp3"));
    expectOneLine("bad.mp3", "ymbolic links");
}

TEST_F(SyncBadInput, FilesThatVanishOrChangeDuringTheSync)
{
    addSongs(60);
    ToolProcess process({"sync", "--json", "--jobs", "1", source(), device()});
    ASSERT_TRUE(process.waitForOutput("started"));
    fs::remove(source("song1058.mp3"));
    write(source("song1059.mp3"), read(source("song1000.mp3")) + "changed");
    EXPECT_EQ(process.wait(), 1);
    const ToolResult result{1, process.output(), process.errors()};
    EXPECT_THAT(result.errorLines(),
        ElementsAre(AllOf(HasSubstr("song1058.mp3"), HasSubstr("No such file or directory")),
            AllOf(HasSubstr("song1059.mp3"), HasSubstr("it was changed during the sync"))));
    EXPECT_THAT(deviceFiles(), SizeIs(58));
    EXPECT_EQ(sync().code, 0);
    expectComplete();
}

TEST_F(SyncBadInput, ASourceThatDoesNotExist)
{
    addMedia("song.mp3", "good.mp3");
    const ToolResult result = runTool({"sync", source("missing"), source(), device()});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(),
        ElementsAre("kelvane: cannot read \"" + source("missing") + "\": No such file or directory"));
    EXPECT_THAT(library(), SizeIs(1));
}

TEST_F(SyncBadInput, ANamedFileThatIsNoMedia)
{
    write(source("notes.txt"), "a text");
    addMedia("song.mp3", "good.mp3");
    const ToolResult result = runTool({"sync", source("notes.txt"), source("good.mp3"), device()});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("its content is no audio, video or image")));
    EXPECT_THAT(library(), SizeIs(1));
}

TEST_F(SyncBadInput, AFileThatMayNotBeRead)
{
    if (!canRunUnprivileged())
        GTEST_SKIP() << "there is no other user here who could run the command";
    giveToNobody();
    const std::string path = addMedia("song.flac", "bad.flac");
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    expectOneLine("bad.flac", "Permission denied", {{}, true});
}

TEST_F(SyncBadInput, AFolderThatMayNotBeReadDeletesNothing)
{
    if (!canRunUnprivileged())
        GTEST_SKIP() << "there is no other user here who could run the command";
    giveToNobody();
    addMedia("song.flac", "closed/b.flac");
    EXPECT_EQ(sync({}, {{}, true}).code, 0);
    ASSERT_EQ(::chmod(source("closed").c_str(), 0700), 0);
    const ToolResult result = sync({"--delete"}, {{}, true});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr("closed"), HasSubstr("Permission denied"))));
    EXPECT_THAT(deviceFiles(), SizeIs(1));
}

TEST_F(SyncBadInput, ANameThatIsNoUtf8IsCopiedAndShownEscaped)
{
    const std::string path = addMedia("photo.jpg", "caf\xe9.jpg");
    ToolResult result = sync();
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.output, HasSubstr("caf\\xE9.jpg"));
    EXPECT_THAT(deviceFiles(), ElementsAre("Photos/caf_xE9.jpg"));
    EXPECT_EQ(summaryOfSync()["unchanged"], 1);
    EXPECT_EQ(library().begin()->first, source("caf\\xE9.jpg"));
}

TEST_F(SyncBadInput, NamesThatSteerATerminalAreShownEscaped)
{
    addMedia("song.mp3", "\x1b[31mred\n\r.mp3");
    addMedia("song.mp3", "\u202egnp.mp3");
    write(source("\x1b[2J.mp3"), "");
    const ToolResult result = sync();
    EXPECT_THAT(result.output, HasSubstr("\\x1B[31mred\\x0A\\x0D.mp3"));
    EXPECT_THAT(result.output, HasSubstr("\\xE2\\x80\\xAEgnp.mp3"));
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("\\x1B[2J.mp3")));
    EXPECT_EQ((result.output + result.errors).find_first_of("\x1b\r"), std::string::npos);
}

TEST_F(SyncBadInput, ANameOf255BytesIsCopied)
{
    addMedia("photo.jpg", std::string(251, 'x') + ".jpg");
    addMedia("photo.jpg", "other/" + std::string(251, 'x') + ".jpg");
    addMedia("song.mp3", std::string(251, 'y') + ".mp3");
    EXPECT_EQ(sync().code, 0);
    EXPECT_EQ(summaryOfSync()["unchanged"], 3);
    for (const std::string &name : deviceFiles())
        EXPECT_LE(fs::path(name).filename().string().size(), 255U);
    expectComplete();
}

TEST_F(SyncBadInput, LongNamesAreCutBetweenCharacters)
{
    std::string name;
    for (int i = 0; i < 125; ++i)
        name += "\xc3\xa4";
    name += 'x'; // the number that the second one gets leaves room for one byte of the last but one of these characters
    addMedia("photo.jpg", name + ".jpg");
    addMedia("photo.jpg", "other/" + name + ".jpg");
    EXPECT_EQ(sync().code, 0);
    EXPECT_THAT(deviceFiles(), SizeIs(2));
    for (const std::string &file : deviceFiles())
        EXPECT_TRUE(String(file).isValidUtf8()) << file;
    expectComplete();
}

TEST_F(SyncBadInput, AReadOnlyDeviceIsRefused)
{
    if (!canRunUnprivileged())
        GTEST_SKIP() << "there is no other user here who could run the command";
    addMedia("song.mp3", "a.mp3");
    ASSERT_EQ(::chmod(fs::path(source()).parent_path().c_str(), 0755), 0);
    const ToolResult result = sync({}, {{}, true});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr(device()), HasSubstr("Permission denied"))));
    EXPECT_TRUE(fs::is_empty(device()));
}

TEST_F(SyncBadInput, AReadOnlyMountCanBeListedButNotSynchronised)
{
    if (!isRoot() || ::mount("none", device().c_str(), "tmpfs", 0, "size=10m") != 0)
        GTEST_SKIP() << "no small file system can be mounted here";
    addMedia("song.mp3", "a.mp3");
    EXPECT_EQ(sync().code, 0);
    EXPECT_EQ(::mount("none", device().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, ""), 0);
    EXPECT_THAT(library(), SizeIs(1));
    EXPECT_EQ(sync({"--dry-run"}).code, 0);
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr(device()), HasSubstr("Read-only"))));
    ::umount(device().c_str());
}

TEST_F(SyncBadInput, ADeviceThatIsMissingOrAFileIsRefused)
{
    addMedia("song.mp3", "a.mp3");
    for (const std::string &path : {folder("missing"), source("a.mp3")}) {
        const ToolResult result = runTool({"sync", source(), path});
        EXPECT_EQ(result.code, 3);
        EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("cannot open the device \"" + path)));
    }
}

TEST_F(SyncBadInput, ASourceInsideTheDeviceIsWrongUse)
{
    fs::create_directory(device("inside"));
    for (const std::string &path : {device("inside"), device()}) {
        const ToolResult result = runTool({"sync", path, device()});
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("is inside the device")));
    }
}

TEST_F(SyncBadInput, LinksPlantedOnTheDeviceAreNotFollowed)
{
    addMedia("song.mp3", "a.mp3");
    addMedia("photo.jpg", "b.jpg");
    fs::create_directory(folder("outside"));
    for (const char *name : {"Music", "Photos", ".kelvane"}) {
        fs::create_directory_symlink(folder("outside"), device(name));
        const ToolResult result = sync();
        EXPECT_EQ(result.code, 3) << name;
        EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr(name), HasSubstr("is not followed"))));
        EXPECT_TRUE(fs::is_empty(folder("outside"))) << name;
        fs::remove(device(name));
    }
}

TEST_F(SyncBadInput, LinksPlantedInTheFoldersOfMusicAreNotFollowed)
{
    addSongs(1);
    fs::create_directory(folder("outside"));
    fs::create_directory(device("Music"));
    for (int i = 0; i < 100; ++i)
        fs::create_directory_symlink(
            folder("outside"), device("Music/F" + std::string(i < 10 ? "0" : "") + std::to_string(i)));
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("is not followed")));
    EXPECT_TRUE(fs::is_empty(folder("outside")));
    EXPECT_THAT(library(), IsEmpty());
}

TEST_F(SyncBadInput, AFullDeviceFailsTheFilesThatDoNotFitAndKeepsTheRest)
{
    if (!isRoot() || ::mount("none", device().c_str(), "tmpfs", 0, "size=1200k") != 0)
        GTEST_SKIP() << "no small file system can be mounted here";
    addSongs(10);
    std::string big = read(source("song1000.mp3"));
    big.resize(3'000'000, 'x');
    write(source("big1.mp3"), big);
    write(source("big2.mp3"), big);
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(),
        UnorderedElementsAre(AllOf(HasSubstr("big1.mp3"), HasSubstr("no space left on the device (needs 3.0 MB, ")),
            AllOf(HasSubstr("big2.mp3"), HasSubstr("no space left on the device (needs 3.0 MB, ")),
            AllOf(HasSubstr("make room with \"kelvane remove " + device()), HasSubstr("--reserve"))));
    fs::remove(source("big1.mp3"));
    fs::remove(source("big2.mp3"));
    expectComplete();
    ::umount(device().c_str());
}

TEST_F(SyncBadInput, ACompletelyFullDeviceIsToldInOneLine)
{
    if (!isRoot() || ::mount("none", device().c_str(), "tmpfs", 0, "size=16k") != 0)
        GTEST_SKIP() << "no small file system can be mounted here";
    addMedia("song.mp3", "a.mp3");
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), SizeIs(1)) << result.errors;
    EXPECT_FALSE(fs::exists(device("Music/F00")));
    ::umount(device().c_str());
}

} // namespace
} // namespace kelvane::testsupport
