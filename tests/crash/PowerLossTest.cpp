// SPDX-License-Identifier: Apache-2.0
#include "CrashFixture.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::Pair;
using Names = PowerLoss::Luck::Names;
using Data = PowerLoss::Luck::Data;

class PowerLossTest : public testing::Test {
protected:
    PowerLossTest() { fs::create_directory(_folder.path("start")); }
    [[nodiscard]] PowerLoss disk() const { return PowerLoss(_folder.path("start")); }
    [[nodiscard]] FolderContent after(const PowerLoss &disk, Names names, Data data)
    {
        const std::string path = _folder.path("state" + std::to_string(++_states));
        disk.materialise(path, {names, data, 1});
        return contentOf(path);
    }
    void put(const std::string &name, const std::string &content) const
    {
        std::ofstream(_folder.path("start") / name) << content;
    }
    [[nodiscard]] std::uint64_t inodeOf(const std::string &name) const
    {
        struct stat status {};
        ::stat((_folder.path("start") / name).c_str(), &status);
        return status.st_ino;
    }

private:
    TemporaryFolder _folder;
    int _states = 0;
};

TEST_F(PowerLossTest, AWriteIsCertainWhenItsFileIsSynchronised)
{
    put("file", "old");
    PowerLoss disk = this->disk();
    disk.apply({CallKind::Write, inodeOf("file"), 0, "", "", "newer"});
    EXPECT_THAT(after(disk, Names::All, Data::Lost), ElementsAre(Pair("file", "old")));
    EXPECT_THAT(after(disk, Names::All, Data::Zeros), ElementsAre(Pair("file", std::string("old\0\0", 5))));
    EXPECT_THAT(after(disk, Names::All, Data::All), ElementsAre(Pair("file", "newer")));
    disk.apply({CallKind::Sync, inodeOf("file"), 0, "", "", ""});
    EXPECT_THAT(after(disk, Names::All, Data::Lost), ElementsAre(Pair("file", "newer")));
}

TEST_F(PowerLossTest, ANameIsCertainWhenItsFolderIsSynchronised)
{
    PowerLoss disk = this->disk();
    disk.apply({CallKind::Create, 77, 0, "file", "", ""});
    disk.apply({CallKind::Sync, 77, 0, "", "", ""});
    EXPECT_TRUE(after(disk, Names::None, Data::All).empty());
    disk.apply({CallKind::SyncFolder, 0, 0, "", "", ""});
    EXPECT_THAT(after(disk, Names::None, Data::All), ElementsAre(Pair("file", "")));
}

TEST_F(PowerLossTest, ARenamedFileMayBeEmptyUnlessItWasSynchronised)
{
    put("file", "old");
    PowerLoss disk = this->disk();
    disk.apply({CallKind::Create, 77, 0, "new", "", ""});
    disk.apply({CallKind::Write, 77, 0, "", "", "content"});
    disk.apply({CallKind::Rename, 0, 0, "new", "file", ""});
    EXPECT_THAT(after(disk, Names::All, Data::Lost), ElementsAre(Pair("file", "")));
    EXPECT_THAT(after(disk, Names::None, Data::All), ElementsAre(Pair("file", "old")));
}

/// The model and the recorder against a real program: what it wrote, played again without any loss, is what it left.
class RecordingTest : public CrashFixture {
protected:
    static FolderContent mediaOf(const std::string &folder)
    {
        FolderContent files = contentOf(folder);
        std::erase_if(files, [](const auto &file) { return file.first.starts_with(".kelvane/"); });
        return files;
    }
};

TEST_F(RecordingTest, PlayedAgainGivesWhatTheProgramLeft)
{
    addAllKinds();
    fs::copy_file(KELVANE_OWN_SAMPLES "/Photos/Evening.heic", source("Evening.heic"));
    const std::vector<std::string> program{KELVANE_TOOL, "sync", "--delete", source(), device()};
    for (int run = 1; run <= 2; ++run) {
        PowerLoss disk(device());
        for (const RecordedCall &call : record({program, device()}))
            disk.apply(call);
        const std::string copy = folder("again" + std::to_string(run));
        disk.materialise(copy, {Names::All, Data::All});
        EXPECT_TRUE(contentOf(copy) == contentOf(device()));
        disk.materialise(copy + "-certain", {Names::None, Data::Lost});
        EXPECT_TRUE(mediaOf(copy + "-certain") == mediaOf(device())) << "what a run that ended well did may be undone";
        write(source("song.mp3"), read(source("song.mp3")) + "more");
        fs::remove(source("song.flac"));
    }
}

} // namespace
} // namespace kelvane::testsupport
