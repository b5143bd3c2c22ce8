// SPDX-License-Identifier: Apache-2.0
#include "CrashFixture.h"

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/storage/SqliteHelper.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;

/// What a library on the device says.
struct LibraryContent {
    struct Item {
        std::string source, path, artwork;
    };
    std::vector<Item> items;
    std::set<std::string> expected; // files that are on their way to the device, or off it
};

class SyncCrash : public CrashFixture {
protected:
    void SetUp() override
    {
        CrashFixture::SetUp();
        if (IsSkipped())
            return;
        addMedia("song.mp3", "cover.mp3");
        addMedia("song.flac", "plain.flac");
        addMedia("photo.jpg", "photo.jpg");
        fs::copy_file(KELVANE_OWN_SAMPLES "/Photos/Evening.heic", source("Evening.heic"));
        rememberSources();
    }

    [[nodiscard]] std::vector<std::string> syncProgram() const
    {
        return {KELVANE_TOOL, "sync", "--delete", source(), device()};
    }

    /// All contents that a file on the device may have: those of the sources, then and now, and what becomes of photos.
    void rememberSources()
    {
        for (const auto &[name, content] : contentOf(source()))
            _whole.insert(content);
        const std::string photos = folder("photos");
        fs::remove_all(photos);
        fs::create_directory(photos);
        ASSERT_EQ(runAlone({KELVANE_TOOL, "heic2jpg", source("Evening.heic"), "-o", photos}), 0);
        for (const auto &[name, content] : contentOf(photos))
            _whole.insert(content);
    }

    /// A device as an earlier run left it, and sources that have changed since.
    void prepareChanges()
    {
        ASSERT_EQ(sync({"--delete"}).code, 0);
        write(source("cover.mp3"), read(source("cover.mp3")) + "changed");
        write(source("photo.jpg"), read(source("photo.jpg")) + "changed");
        fs::remove(source("plain.flac"));
        addMedia("song.m4a", "new.m4a");
        rememberSources();
    }

    /// The same, and a run that was killed when a changed photo had its new name, and the library did not know it yet.
    void prepareHalf()
    {
        prepareChanges();
        const WatchedProgram program{{KELVANE_TOOL, "sync", "--jobs", "1", source(), device()}, device()};
        const std::string before = folder("before-repair");
        copyFolder(device(), before);
        const std::vector<RecordedCall> calls = record(program);
        const auto named = std::find_if(calls.begin(), calls.end(),
            [](const RecordedCall &call) { return call.kind == CallKind::Link && call.path.starts_with("Photos/"); });
        ASSERT_NE(named, calls.end());
        fs::remove_all(device());
        copyFolder(before, device());
        // Behind it, its other name goes, and its folder is synchronised.
        ASSERT_TRUE(runUntil(program, static_cast<std::size_t>(named - calls.begin()) + 4));
    }

    /// The library as the next program finds it; from a copy, because looking repairs.
    [[nodiscard]] std::optional<LibraryContent> libraryOfDevice()
    {
        const std::string copy = folder("looked-at");
        fs::remove_all(copy);
        fs::create_directory(copy);
        if (!fs::exists(device(".kelvane/library.sqlite")))
            return std::nullopt;
        for (const char *suffix : {"", "-wal", "-journal"})
            if (const std::string file = "library.sqlite" + std::string(suffix); fs::exists(device(".kelvane/" + file)))
                fs::copy_file(device(".kelvane/" + file), copy + '/' + file);
        SqliteHelper helper(copy + "/library.sqlite");
        EXPECT_EQ(helper.stringForQuery("PRAGMA integrity_check"), "ok");
        LibraryContent content;
        for (const Value &row : helper.executeDataTable("SELECT source, devicePath, devArtworkPath FROM media")) {
            const Dictionary item = row.dictionary();
            const String artwork = item["devArtworkPath"].string();
            content.items.push_back({item["source"].string().str(), item["devicePath"].string().str(),
                artwork.isNull() ? "" : artwork.str()});
        }
        for (const char *query : {"SELECT target AS path FROM transfer", "SELECT devicePath AS path FROM removal"})
            for (const Value &row : helper.executeDataTable(query))
                content.expected.insert(row.dictionary()["path"].string().str());
        return content;
    }

    void expectConsistent()
    {
        const FolderContent files = contentOf(device());
        const std::optional<LibraryContent> library = libraryOfDevice();
        std::set<std::string> known = library ? library->expected : std::set<std::string>();
        for (const LibraryContent::Item &item : library ? library->items : std::vector<LibraryContent::Item>()) {
            EXPECT_TRUE(files.contains(item.path)) << item.source << " has a row and no file " << item.path;
            EXPECT_TRUE(item.artwork.empty() || files.contains(item.artwork)) << item.source << " has no picture";
            known.insert(item.path);
        }
        for (const auto &[name, content] : files) {
            if (name.starts_with(".kelvane/"))
                continue;
            EXPECT_TRUE(_whole.contains(content)) << name << " is not a whole copy: " << content.size() << " bytes";
            EXPECT_TRUE(known.contains(name)) << name << " is a file that nobody knows of";
        }
    }

    /// The next sync brings everything and tidies up.
    void expectRecovery()
    {
        ASSERT_EQ(runAlone(syncProgram()), 0);
        const std::optional<LibraryContent> library = libraryOfDevice();
        ASSERT_TRUE(library);
        EXPECT_TRUE(library->expected.empty());
        std::set<std::string> sources, files{".kelvane/library.sqlite", ".kelvane/lock"};
        const FolderContent content = contentOf(device());
        for (const LibraryContent::Item &item : library->items) {
            sources.insert(item.source);
            files.insert(item.path);
            if (!item.artwork.empty())
                files.insert(item.artwork);
            ASSERT_TRUE(content.contains(item.path)) << item.path;
            if (!item.source.ends_with(".heic"))
                EXPECT_TRUE(content.at(item.path) == read(item.source)) << item.path;
            else
                EXPECT_TRUE(_whole.contains(content.at(item.path))) << item.path;
        }
        std::set<std::string> expectedSources, present;
        for (const auto &[name, bytes] : contentOf(source()))
            expectedSources.insert(source(name));
        for (const auto &[name, bytes] : content)
            present.insert(name);
        EXPECT_EQ(sources, expectedSources);
        EXPECT_EQ(present, files);
    }

    [[nodiscard]] Operation operation(const std::string &name, std::vector<std::string> program)
    {
        return {name, device(), std::move(program), [this] { expectConsistent(); }, [this] { expectRecovery(); }};
    }

private:
    std::set<std::string> _whole;
};

TEST_F(SyncCrash, KilledAnywhereInTheFirstRun)
{
    killEverywhere(operation("first sync", syncProgram()));
}

TEST_F(SyncCrash, KilledAnywhereInARunWithChanges)
{
    prepareChanges();
    killEverywhere(operation("sync of changes", syncProgram()));
}

TEST_F(SyncCrash, WithoutPowerAnywhereInTheFirstRun)
{
    losePowerEverywhere(operation("first sync", syncProgram()));
}

TEST_F(SyncCrash, WithoutPowerAnywhereInARunWithChanges)
{
    prepareChanges();
    losePowerEverywhere(operation("sync of changes", syncProgram()));
}

TEST_F(SyncCrash, KilledAnywhereInARemove)
{
    ASSERT_EQ(sync().code, 0);
    killEverywhere(operation("remove", {KELVANE_TOOL, "remove", device(), source("cover.mp3"), source("plain.flac")}));
}

TEST_F(SyncCrash, WithoutPowerAnywhereInARemove)
{
    ASSERT_EQ(sync().code, 0);
    losePowerEverywhere(
        operation("remove", {KELVANE_TOOL, "remove", device(), source("cover.mp3"), source("plain.flac")}));
}

TEST_F(SyncCrash, KilledWhileTheNextRunRepairs)
{
    prepareHalf();
    killEverywhere(operation("repair", syncProgram()));
}

TEST_F(SyncCrash, WithoutPowerWhileTheNextRunRepairs)
{
    prepareHalf();
    losePowerEverywhere(operation("repair", syncProgram()));
}

} // namespace
} // namespace kelvane::testsupport
