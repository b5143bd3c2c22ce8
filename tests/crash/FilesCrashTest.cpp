// SPDX-License-Identifier: Apache-2.0
#include "CrashFixture.h"

#include <kelvane/media/TagFile.h>
#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/UserDefaults.h>
#include <kelvane/storage/SqliteHelper.h>

#include <filesystem>
#include <gmock/gmock.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Eq;
using testing::StartsWith;

/// One file that an operation replaces.
class FileCrash : public CrashFixture {
protected:
    void SetUp() override
    {
        CrashFixture::SetUp();
        fs::create_directory(place());
    }
    [[nodiscard]] std::string place() const { return folder("place"); }
    [[nodiscard]] std::string place(const std::string &name) const { return place() + '/' + name; }
    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const auto &[name, content] : contentOf(place()))
            names.push_back(name);
        return names;
    }

    /// The whole life of an operation that replaces `name`: the old file or the new one, and nothing beside it in the
    /// end.
    [[nodiscard]] Operation replacing(const std::string &operation, const std::string &name)
    {
        const std::string old = read(place(name));
        const std::vector<std::string> program = library(operation, place(name));
        EXPECT_EQ(runAlone(program), 0);
        const std::string made = read(place(name));
        EXPECT_TRUE(made != old);
        write(place(name), old);
        return {operation, place(), program,
            [this, name, old, made] {
                const std::string now = read(place(name));
                EXPECT_TRUE(now == old || now == made) << now.size() << " bytes are neither the old nor the new file";
            },
            [this, name, made, program] {
                const bool wasDone = read(place(name)) == made;
                const int code = runAlone(program);
                EXPECT_TRUE(code == 0 || wasDone) << code;
                EXPECT_TRUE(read(place(name)) == made);
                EXPECT_THAT(names(), ElementsAre(name)) << "the copy of the one that was ended";
            }};
    }
};

TEST_F(FileCrash, TagsAreTheOldOnesOrTheNewOnes)
{
    for (const char *name : {"song.mp3", "song.m4a", "song.flac", "song.ogg"}) {
        fs::remove_all(place());
        fs::create_directory(place());
        fs::copy_file(addMedia(name, name), place(name));
        Operation operation = replacing("tags", name);
        operation.name += std::string(" of ") + name;
        operation.expectRecovery = [this, name, program = operation.program] {
            EXPECT_EQ(runAlone(program), 0);
            const auto metadata = AudioMetadata::CreateMetadataForURL(place(name));
            ASSERT_TRUE(metadata);
            EXPECT_EQ(metadata->GetTitle(), String(std::string(5000, 'n')));
            EXPECT_THAT(names(), ElementsAre(name)) << "the copy of the killed one";
        };
        losePowerEverywhere(operation);
        if (HasFailure())
            return;
    }
}

TEST_F(FileCrash, TagsOfAKilledWriterAreTheOldOnesOrTheNewOnes)
{
    fs::copy_file(addMedia("song.mp3", "song.mp3"), place("song.mp3"));
    Operation operation = replacing("tags", "song.mp3");
    operation.expectRecovery = [this, program = operation.program] {
        EXPECT_EQ(runAlone(program), 0);
        EXPECT_THAT(names(), ElementsAre("song.mp3"));
    };
    killEverywhere(operation);
}

class LyricsCrash : public FileCrash, public testing::WithParamInterface<bool> {};

TEST_P(LyricsCrash, AreAllThereOrNotAtAll)
{
    fs::copy_file(addMedia("song.mp3", "song.mp3"), place("song.mp3"));
    const Operation operation = replacing("lyrics", "song.mp3");
    if (GetParam())
        killEverywhere(operation);
    else
        losePowerEverywhere(operation);
}

INSTANTIATE_TEST_SUITE_P(
    Ends, LyricsCrash, testing::Bool(), [](const auto &row) { return row.param ? "OfAKilledWriter" : "WithoutPower"; });

/// Defaults of an earlier run, which a program changes three times.
class DefaultsCrash : public FileCrash {
protected:
    [[nodiscard]] Operation changing()
    {
        UserDefaults(place("defaults")).setObject("kept", "before");
        const std::vector<std::string> program = library("defaults", place("defaults"));
        return {"defaults", place(), program,
            [this] {
                const UserDefaults defaults(place("defaults"));
                EXPECT_EQ(defaults.objectForKey("before").string(), "kept");
                // One change after the other.
                for (int i = 2; i <= 3; ++i) {
                    const String present("key" + std::to_string(i)), earlier("key" + std::to_string(i - 1));
                    EXPECT_TRUE(defaults.objectForKey(present).isNil() || !defaults.objectForKey(earlier).isNil());
                }
            },
            [this, program] {
                EXPECT_EQ(runAlone(program), 0);
                EXPECT_EQ(UserDefaults(place("defaults")).dictionaryRepresentation().size(), 4U);
                EXPECT_THAT(names(), ElementsAre("defaults", "defaults.lock"));
            }};
    }
};

TEST_F(DefaultsCrash, KilledWhereverItIsTheChangesSoFarAreThere)
{
    killEverywhere(changing());
}

TEST_F(DefaultsCrash, WithoutPowerTheChangesSoFarAreThere)
{
    losePowerEverywhere(changing());
}

TEST_F(DefaultsCrash, ADamagedFileIsSomewhereAtEveryMoment)
{
    const std::string damaged = "this was a list once";
    write(place("defaults"), damaged);
    const std::vector<std::string> program = library("defaults", place("defaults"));
    const Operation operation{"damaged defaults", place(), program,
        [this, damaged] {
            const FolderContent content = contentOf(place());
            EXPECT_TRUE(std::any_of(content.begin(), content.end(), [&](const auto &file) {
                return file.second == damaged && file.first.starts_with("defaults");
            })) << "what the user may want to mend is lost";
        },
        [this, program] {
            EXPECT_EQ(runAlone(program), 0);
            EXPECT_EQ(UserDefaults(place("defaults")).dictionaryRepresentation().size(), 3U);
        }};
    killEverywhere(operation);
}

/// Updates of a library, each of which is acknowledged.
class DatabaseCrash : public FileCrash, public testing::WithParamInterface<const char *> {
protected:
    [[nodiscard]] std::int64_t rows() const
    {
        SqliteHelper helper(place("db"));
        EXPECT_EQ(helper.stringForQuery("PRAGMA integrity_check"), "ok");
        EXPECT_EQ(helper.longForQuery("SELECT count(*) FROM log WHERE length(text) <> 10000"), 0);
        EXPECT_EQ(helper.longForQuery("SELECT coalesce(max(id), 0) FROM log"),
            helper.longForQuery("SELECT count(*) FROM log"));
        return helper.longForQuery("SELECT count(*) FROM log");
    }
    /// The updates that were acknowledged are there, and at most the one on its way besides.
    [[nodiscard]] Operation updating(bool isLosingPower)
    {
        const std::vector<std::string> program = library(std::string("sqlite-") + GetParam(), place("db"));
        EXPECT_EQ(runAlone(program), 0);
        EXPECT_EQ(rows(), 4);
        return {std::string("updates with journal ") + GetParam(), place(), program,
            [this, isLosingPower] {
                const auto acknowledged = static_cast<std::int64_t>(read(place("db-acknowledged")).size());
                const std::int64_t found = rows();
                // What the power takes is the acknowledgement as often as the update: then neither tells on the other.
                if (!isLosingPower) {
                    EXPECT_GE(found, acknowledged);
                    EXPECT_LE(found, acknowledged + 1);
                }
                EXPECT_GE(found, 4) << "of the run before";
            },
            [this, program] {
                const std::int64_t before = rows();
                EXPECT_EQ(runAlone(program), 0);
                EXPECT_EQ(rows(), before + 4);
            }};
    }
};

TEST_P(DatabaseCrash, AKilledWriterLosesNothingAcknowledged)
{
    killEverywhere(updating(false));
}

TEST_P(DatabaseCrash, WithoutPowerTheLibraryIsWhole)
{
    losePowerEverywhere(updating(true));
}

INSTANTIATE_TEST_SUITE_P(
    Journal, DatabaseCrash, testing::Values("delete", "wal"), [](const auto &mode) { return std::string(mode.param); });

/// Files that commands of the tool make under a new name.
class NewFileCrash : public FileCrash {
protected:
    /// The file that the program makes is all there or not at all.
    [[nodiscard]] Operation making(const std::string &name, const std::string &file,
        const std::vector<std::string> &program, const std::string &expected)
    {
        return {name, place(), program,
            [this, file, expected] {
                if (fs::exists(place(file))) {
                    EXPECT_TRUE(read(place(file)) == expected) << file << " is there, and not whole";
                }
            },
            [this, file, expected, program] {
                const bool wasDone = fs::exists(place(file));
                const int code = runAlone(program);
                EXPECT_TRUE(code == 0 || wasDone);
                EXPECT_TRUE(read(place(file)) == expected);
            }};
    }
    [[nodiscard]] std::string made(const std::vector<std::string> &program, const std::string &file)
    {
        EXPECT_EQ(runAlone(program), 0);
        const std::string content = read(place(file));
        EXPECT_FALSE(content.empty());
        emptyPlace();
        return content;
    }
    void killAndLosePowerEverywhere(const Operation &operation)
    {
        killEverywhere(operation);
        emptyPlace();
        losePowerEverywhere(operation);
    }

private:
    void emptyPlace() const
    {
        fs::remove_all(place());
        fs::create_directory(place());
    }
};

TEST_F(NewFileCrash, ACoverThatIsTakenOutIsWholeOrNotThere)
{
    const std::vector<std::string> program{KELVANE_TOOL, "artwork", addMedia("song.mp3", "song.mp3"), "-o", place()};
    const std::string whole = made(program, "song.jpg");
    const Operation operation = making("artwork", "song.jpg", program, whole);
    killAndLosePowerEverywhere(operation);
}

TEST_F(NewFileCrash, AConvertedPhotoIsWholeOrNotThere)
{
    const std::vector<std::string> program{
        KELVANE_TOOL, "heic2jpg", KELVANE_OWN_SAMPLES "/Photos/Evening.heic", "-o", place()};
    const std::string whole = made(program, "Evening.jpg");
    const Operation operation = making("heic2jpg", "Evening.jpg", program, whole);
    killAndLosePowerEverywhere(operation);
}

TEST_F(NewFileCrash, ACopyOfAKilledCopierIsWholeOrNotThere)
{
    const std::vector<std::string> program{KELVANE_TOOL, "copy", addMedia("song.mp3", "song.mp3"), place("copy.mp3")};
    killEverywhere(making("copy", "copy.mp3", program, read(source("song.mp3"))));
}

TEST_F(NewFileCrash, AReportIsTheOldPageOrTheNewOne)
{
    addMedia("song.mp3", "song.mp3");
    ASSERT_EQ(sync().code, 0);
    write(place("report.html"), "the old page");
    const std::vector<std::string> program{KELVANE_TOOL, "report", device(), "-o", place("report.html")};
    const Operation operation{"report", place(), program,
        [this] {
            EXPECT_THAT(read(place("report.html")),
                AnyOf(Eq("the old page"), testing::AllOf(StartsWith("<!doctype html>"), EndsWith("</html>\n"))));
        },
        [this, program] {
            EXPECT_EQ(runAlone(program), 0);
            EXPECT_THAT(read(place("report.html")), EndsWith("</html>\n"));
        }};
    losePowerEverywhere(operation);
    fs::remove_all(place());
    fs::create_directory(place());
    write(place("report.html"), "the old page");
    killEverywhere(operation);
}

} // namespace
} // namespace kelvane::testsupport
