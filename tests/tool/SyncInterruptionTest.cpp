// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <set>
#include <thread>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

class SyncInterruption : public SyncFixture {
protected:
    // After any end: what has a name is whole, what has a row has its file.
    void expectConsistent() const
    {
        std::set<std::string> contents;
        for (const std::string &file : sourceFiles())
            contents.insert(read(file));
        for (const std::string &name : deviceFiles())
            if (name.find(".kelvane/") != 0) {
                EXPECT_EQ(contents.count(read(device(name))), 1U) << name << " is not a whole copy";
            }
    }
    void expectRowsHaveFiles() const
    {
        for (const auto &[path, item] : library())
            EXPECT_TRUE(fs::exists(device(item["devicePath"].get<std::string>()))) << path;
    }
};

class SyncSignal : public SyncInterruption, public testing::WithParamInterface<int> {};

TEST_P(SyncSignal, StopsTheSyncInOrderAndTheNextRunFinishesIt)
{
    addSongs(80);
    ToolProcess process({"sync", "--json", source(), device()});
    ASSERT_TRUE(process.waitForOutput("finished"));
    process.signal(GetParam());
    EXPECT_EQ(process.wait(), 130);
    EXPECT_THAT(process.errors(), IsEmpty());
    EXPECT_THAT(process.output(), HasSubstr("\"event\":\"summary\""));
    EXPECT_THAT(process.output(), HasSubstr("\"interrupted\":true"));
    expectConsistent();
    expectRowsHaveFiles();
    const std::size_t done = library().size();
    EXPECT_EQ(deviceFiles().size(), done) << "leftovers";
    EXPECT_GT(done, 0U);
    EXPECT_LT(done, 80U);
    EXPECT_EQ(summaryOfSync()["unchanged"], done);
    expectComplete();
}

INSTANTIATE_TEST_SUITE_P(Signals, SyncSignal, testing::Values(SIGINT, SIGTERM, SIGHUP), [](const auto &row) {
    return row.param == SIGINT ? "Int" : row.param == SIGTERM ? "Term" : "Hup";
});

TEST_F(SyncInterruption, ASecondCtrlCEndsAtOnceAndTheNextRunFinishesTheJob)
{
    addSongs(80);
    ToolProcess process({"sync", "--json", source(), device()});
    ASSERT_TRUE(process.waitForOutput("finished"));
    process.signal(SIGINT);
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait(), 130);
    expectConsistent();
    EXPECT_EQ(sync().code, 0);
    expectComplete();
}

TEST_F(SyncInterruption, KilledAtAnyMomentTheNextRunFinishesTheJob)
{
    const char *asked = std::getenv("KELVANE_KILLS");
    const int kills = asked ? std::atoi(asked) : 6;
    addSongs(25);
    addAllKinds();
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(sync({"--jobs", "3"}).code, 0);
    const auto wholeTime =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    std::mt19937 random(std::random_device{}());
    for (int i = 0; i < kills; ++i) {
        // Every other time on a full device, with changed and vanished sources.
        if (i % 2 == 0) {
            fs::remove_all(device());
            fs::create_directory(device());
        } else {
            for (int song = 1000; song < 1010; ++song) {
                const std::string path = source("song" + std::to_string(song) + ".mp3");
                write(path, read(path) + std::to_string(i));
            }
            fs::remove(source("song" + std::to_string(1010 + i) + ".mp3"));
        }
        const auto moment =
            std::chrono::microseconds(std::uniform_int_distribution<std::int64_t>(0, wholeTime.count())(random));
        ToolProcess process({"sync", "--delete", "--jobs", "3", source(), device()});
        std::this_thread::sleep_for(moment);
        process.signal(SIGKILL);
        process.wait();
        ASSERT_EQ(sync({"--delete"}).code, 0) << "after a kill at " << moment.count() << " us";
        expectComplete();
        EXPECT_EQ(summaryOfSync()["unchanged"], sourceFiles().size());
        if (HasFailure())
            FAIL() << "killed at " << moment.count() << " us of " << wholeTime.count();
    }
}

TEST_F(SyncInterruption, KilledWhileArtworkIsStoredTheNextRunFinishesTheJob)
{
    addMedia("song.mp3", "a.mp3");
    addMedia("film.mp4", "b.mp4");
    addMedia("photo.jpg", "c.jpg");
    addSongs(40);
    int killed = 0;
    for (std::size_t pictures = 1; pictures <= 2; ++pictures) {
        fs::remove_all(device());
        fs::create_directory(device());
        const fs::path artwork = device(".kelvane/artwork");
        ToolProcess process({"sync", "--jobs", "2", source(), device()});
        const auto count = [&artwork] {
            std::error_code error;
            const fs::directory_iterator entries(artwork, error);
            return error ? 0 : static_cast<std::size_t>(std::distance(fs::begin(entries), fs::end(entries)));
        };
        // From the first name in the folder on: a picture is being stored, or has just been.
        while (process.isRunning() && count() < pictures)
            std::this_thread::yield();
        process.signal(SIGKILL);
        killed += process.wait() == -SIGKILL ? 1 : 0;
        expectConsistent();
        ASSERT_EQ(sync().code, 0);
        expectComplete();
        std::set<std::string> used;
        for (const auto &[path, item] : library())
            if (item["devArtworkPath"].is_string() && item["devArtworkPath"] != "")
                used.insert(device(item["devArtworkPath"].get<std::string>()));
        EXPECT_EQ(used.size(), count()) << "leftovers or missing pictures";
        for (const std::string &picture : used)
            EXPECT_EQ(read(picture).substr(0, 2), "\xff\xd8") << picture;
        EXPECT_EQ(summaryOfSync()["unchanged"], sourceFiles().size());
    }
    EXPECT_GT(killed, 0) << "no run was killed in time";
}

} // namespace
} // namespace kelvane::testsupport
