// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Copy = SyncFixture;

TEST_F(Copy, BringsAFileIntoAFolderUnderItsName)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    const ToolResult result = runTool({"copy", song, device()});
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_THAT(result.outputLines(), ElementsAre(AllOf(HasSubstr("copied " + song), HasSubstr("; 1 file, "))));
    EXPECT_EQ(read(device("a.mp3")), read(song));
    EXPECT_EQ(fs::last_write_time(device("a.mp3")), fs::last_write_time(song));
}

TEST_F(Copy, BringsAFileToANameThatIsFree)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    EXPECT_EQ(runTool({"copy", song, device("b.mp3")}).code, 0);
    EXPECT_EQ(read(device("b.mp3")), read(song));
}

TEST_F(Copy, BringsAWholeTreeAndCountsIt)
{
    addSongs(5);
    addMedia("photo.jpg", "deep/er/photo.jpg");
    write(source("deep/empty"), "");
    fs::create_symlink("photo.jpg", source("deep/er/link"));
    std::uint64_t bytes = 0;
    for (const std::string &file : sourceFiles())
        bytes += fs::is_symlink(file) ? 0 : fs::file_size(file);
    const std::vector<Json> events = parse(runTool({"copy", "--json", source() + '/', device()}));
    ASSERT_GE(events.size(), 2U);
    EXPECT_EQ(events.front()["event"], "started");
    EXPECT_EQ(events.front()["files"], 7);
    EXPECT_EQ(events.back()["event"], "finished");
    EXPECT_EQ(events.back()["bytes"], bytes) << "every byte counts once, however the files follow each other";
    EXPECT_EQ(events.back()["target"], device("source"));
    for (const std::string &file : sourceFiles())
        EXPECT_EQ(read(device("source/" + fs::relative(file, source()).string())), read(file));
    EXPECT_TRUE(fs::is_symlink(device("source/deep/er/link")));
}

TEST_F(Copy, ReplacesNothing)
{
    const std::string song = addMedia("song.mp3", "a.mp3");
    write(device("a.mp3"), "mine");
    for (const std::string &target : {device(), device("a.mp3")}) {
        const ToolResult result = runTool({"copy", song, target});
        EXPECT_EQ(result.code, 3);
        EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("is there already; remove it, or name another place")));
    }
    EXPECT_EQ(read(device("a.mp3")), "mine");
}

TEST_F(Copy, TellsInOneLineWhatCannotBeCopied)
{
    addMedia("song.mp3", "a.mp3");
    ASSERT_EQ(::mkfifo(source("pipe").c_str(), 0644), 0);
    EXPECT_EQ(runTool({"copy", source("missing"), device()}).code, 3);
    EXPECT_EQ(runTool({"copy", source("a.mp3"), device("no/such/place")}).code, 3);
    const ToolResult fifo = runTool({"copy", source("pipe"), device()});
    EXPECT_EQ(fifo.code, 1);
    EXPECT_THAT(fifo.errorLines(), SizeIs(1)) << fifo.errors;
    const ToolResult tree = runTool({"copy", "--json", source(), device()});
    EXPECT_EQ(tree.code, 1) << "the song is there, the pipe is not";
    EXPECT_THAT(tree.errorLines(), ElementsAre(HasSubstr("pipe")));
    EXPECT_EQ(parse(tree).back()["event"], "failed");
    EXPECT_TRUE(fs::exists(device("source/a.mp3")));
}

TEST_F(Copy, CtrlCLeavesNoPartialFile)
{
    addSongs(400);
    ToolProcess process({"copy", "--json", source(), device()});
    ASSERT_TRUE(process.waitForOutput("started"));
    process.signal(SIGINT);
    const int code = process.wait();
    EXPECT_TRUE(code == 130 || code == 0) << code << process.errors();
    for (const auto &entry : fs::recursive_directory_iterator(device()))
        if (entry.is_regular_file()) {
            EXPECT_EQ(read(entry.path()), read(source(entry.path().filename()))) << entry.path();
        }
}

TEST_F(Copy, NamesOfFilesDoNotSteerTheTerminal)
{
    const std::string song = addMedia("song.mp3", "\x1b[31m\n.mp3");
    const ToolResult first = runTool({"copy", song, device()});
    const ToolResult second = runTool({"copy", song, device()});
    EXPECT_THAT(first.outputLines(), SizeIs(1));
    EXPECT_THAT(second.errorLines(), SizeIs(1));
    EXPECT_EQ((first.output + second.errors).find('\x1b'), std::string::npos);
}

} // namespace
} // namespace kelvane::testsupport
