// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <thread>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class Remove : public SyncFixture {
protected:
    [[nodiscard]] std::string devicePathOf(const std::string &path) const { return library().at(path)["devicePath"]; }
    ToolResult remove(std::vector<std::string> items, const std::vector<std::string> &options = {}) const
    {
        items.insert(items.begin(), {"remove", device()});
        items.insert(items.end(), options.begin(), options.end());
        return runTool(items);
    }
    [[nodiscard]] std::size_t pictures() const
    {
        const fs::directory_iterator entries(device(".kelvane/artwork"));
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
};

TEST_F(Remove, TakesItemsByTheirFileOnTheDeviceByItsPathAndByTheirSource)
{
    addSongs(4);
    sync();
    const std::string relative = devicePathOf(source("song1000.mp3"));
    const std::string absolute = device(devicePathOf(source("song1001.mp3")));
    const ToolResult result = remove({relative, absolute, source("song1002.mp3")});
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_THAT(result.outputLines(),
        ElementsAre(AllOf(HasSubstr("removed " + relative), HasSubstr("song1000.mp3")), HasSubstr("song1001.mp3"),
            HasSubstr("song1002.mp3")));
    EXPECT_THAT(library(), SizeIs(1));
    EXPECT_THAT(deviceFiles(), SizeIs(1));
    EXPECT_THAT(sourceFiles(), SizeIs(4)) << "the sources are none of its business";
}

TEST_F(Remove, TakesThePictureWithTheLastItemThatHasIt)
{
    addMedia("song.mp3", "a.mp3");
    addMedia("song.mp3", "b.mp3");
    sync();
    ASSERT_EQ(pictures(), 1U);
    remove({source("a.mp3")});
    EXPECT_EQ(pictures(), 1U);
    remove({source("b.mp3")});
    EXPECT_EQ(pictures(), 0U);
}

TEST_F(Remove, TheNextSyncBringsTheItemBack)
{
    addSongs(2);
    sync();
    remove({source("song1000.mp3")});
    EXPECT_EQ(summaryOfSync()["added"], 1);
    expectComplete();
}

TEST_F(Remove, AnItemThatIsNotThereIsToldAndTheOthersGo)
{
    addSongs(2);
    sync();
    const ToolResult result = remove({"Music/F00/NONE.mp3", source("song1000.mp3")});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), ElementsAre(AllOf(HasSubstr("Music/F00/NONE.mp3"), HasSubstr("kelvane list"))));
    EXPECT_THAT(library(), SizeIs(1));
}

TEST_F(Remove, AnItemNamedTwiceGoesOnce)
{
    addSongs(1);
    sync();
    EXPECT_THAT(remove({source("song1000.mp3"), source("song1000.mp3")}).outputLines(), SizeIs(1));
}

TEST_F(Remove, DryRunSaysWhatItWouldDoAndDoesNothing)
{
    addSongs(2);
    sync();
    const ToolResult result = remove({source("song1000.mp3")}, {"--dry-run"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.outputLines(), ElementsAre(HasSubstr("would remove Music/")));
    expectComplete();
}

TEST_F(Remove, JsonHasOneObjectForEachItem)
{
    addSongs(1);
    sync();
    const std::string file = devicePathOf(source("song1000.mp3"));
    const std::vector<Json> objects = parse(remove({source("song1000.mp3"), "nothing"}, {"--json"}));
    ASSERT_THAT(objects, SizeIs(2));
    EXPECT_EQ(objects[0]["path"], "nothing");
    EXPECT_TRUE(objects[0].contains("error"));
    EXPECT_EQ(objects[1]["path"], file);
    EXPECT_EQ(objects[1]["source"], source("song1000.mp3"));
    EXPECT_EQ(objects[1]["removed"], true);
}

TEST_F(Remove, LeavesAFileAloneThatTookThePlaceOfOurs)
{
    addSongs(1);
    sync();
    const std::string file = device(devicePathOf(source("song1000.mp3")));
    write(file, "somebody's own");
    EXPECT_EQ(remove({source("song1000.mp3")}).code, 0);
    EXPECT_EQ(read(file), "somebody's own");
    EXPECT_THAT(library(), IsEmpty());
}

TEST_F(Remove, ADeviceWithoutALibraryIsLeftAsItIs)
{
    const ToolResult result = remove({"anything"});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("it has no library")));
    EXPECT_TRUE(fs::is_empty(device()));
}

TEST_F(Remove, KilledAtAnyMomentLeavesALibraryThatTellsTheTruth)
{
    std::mt19937 random(std::random_device{}());
    for (int i = 0; i < 8; ++i) {
        addSongs(20);
        ASSERT_EQ(sync().code, 0);
        std::vector<std::string> words{"remove", device()};
        for (int song = 1000; song < 1015; ++song)
            words.push_back(source("song" + std::to_string(song) + ".mp3"));
        ToolProcess process(words);
        if (i % 2 == 0)
            process.waitForOutput("removed");
        else
            std::this_thread::sleep_for(
                std::chrono::microseconds(std::uniform_int_distribution<int>(0, 60000)(random)));
        process.signal(SIGKILL);
        process.wait();
        for (const auto &[path, item] : library())
            EXPECT_TRUE(fs::exists(device(item["devicePath"].get<std::string>()))) << path;
        const std::size_t known = library().size();
        // The next run, of whatever kind, works off what was left to do.
        EXPECT_EQ(remove({"nothing"}).code, 1);
        EXPECT_EQ(deviceFiles().size(), known);
        EXPECT_EQ(library().size(), known);
    }
}

TEST_F(Remove, NamesDoNotSteerTheTerminal)
{
    const std::string path = addMedia("photo.jpg", "\x1b[31m.jpg");
    sync();
    const ToolResult result = remove({path, "\x1b[32m"});
    EXPECT_THAT(result.output, AllOf(HasSubstr("\\x1B[31m"), Not(HasSubstr("\x1b"))));
    EXPECT_THAT(result.errors, AllOf(HasSubstr("\\x1B[32m"), Not(HasSubstr("\x1b"))));
}

} // namespace
} // namespace kelvane::testsupport
