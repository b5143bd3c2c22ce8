// SPDX-License-Identifier: Apache-2.0
#include "CrashFixture.h"

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;

/// Files that are there while an operation works, beside its results and in the folder for temporary files.
class TemporaryFiles : public CrashFixture {
protected:
    void SetUp() override
    {
        CrashFixture::SetUp();
        fs::create_directories(folder("tmp"));
        fs::create_directories(folder("place"));
        ::setenv("TMPDIR", folder("tmp").c_str(), 1);
    }
    void TearDown() override { ::unsetenv("TMPDIR"); }

    /// Their number; each must have been made new and for its owner alone.
    std::size_t expectPrivate(const std::vector<std::string> &program)
    {
        std::size_t count = 0;
        for (const RecordedCall &call : record({program, folder("")})) {
            if ((call.kind != CallKind::Create && call.kind != CallKind::CreateNameless) || !isTemporary(call))
                continue;
            ++count;
            EXPECT_TRUE(call.position & madeExclusively) << call.path << " might have been somebody else's";
            EXPECT_EQ(call.position & 0777, 0600) << call.path << " is for others, too";
        }
        return count;
    }

private:
    static bool isTemporary(const RecordedCall &call)
    {
        const std::string &path = call.path;
        return call.kind == CallKind::CreateNameless || path.starts_with("tmp/")
            || path.find("/incoming/") != std::string::npos || path.find("/.kelvane-") != std::string::npos
            || path.ends_with("defaults.new");
    }
};

TEST_F(TemporaryFiles, AreMadeExclusivelyAndForTheirOwnerAlone)
{
    const std::string song = addMedia("song.mp3", "song.mp3");
    fs::copy_file(KELVANE_OWN_SAMPLES "/Photos/Evening.heic", source("Evening.heic"));
    addMedia("photo.jpg", "photo.jpg");
    fs::copy_file(song, folder("place/song.mp3"));
    EXPECT_GE(expectPrivate({KELVANE_TOOL, "sync", source(), device()}), 4U); // three files, and pictures
    EXPECT_GE(expectPrivate({KELVANE_TOOL, "sync", "--verify", source(), device()}), 1U);
    EXPECT_GE(expectPrivate({KELVANE_TOOL, "report", device(), "-o", folder("place/report.html")}), 1U);
    EXPECT_GE(expectPrivate({KELVANE_TOOL, "heic2jpg", source("Evening.heic"), "-o", folder("place")}), 1U);
    EXPECT_GE(expectPrivate({KELVANE_TOOL, "artwork", song, "-o", folder("place")}), 1U);
    EXPECT_GE(expectPrivate({KELVANE_TOOL, "copy", source(), folder("place/copy")}), 1U);
    EXPECT_GE(expectPrivate(library("tags", folder("place/song.mp3"))), 1U);
    EXPECT_GE(expectPrivate(library("lyrics", folder("place/song.mp3"))), 1U);
    EXPECT_GE(expectPrivate(library("defaults", folder("place/defaults"))), 1U);
    for (const auto &entry : fs::directory_iterator(folder("tmp")))
        ADD_FAILURE() << entry.path() << " is left behind";
}

TEST_F(TemporaryFiles, BecomeWhatTheUsersFilesAre)
{
    const std::string song = addMedia("song.mp3", "song.mp3");
    ::umask(027);
    EXPECT_EQ(runAlone({KELVANE_TOOL, "artwork", song, "-o", folder("place")}), 0);
    EXPECT_EQ(
        runAlone({KELVANE_TOOL, "heic2jpg", KELVANE_OWN_SAMPLES "/Photos/Evening.heic", "-o", folder("place")}), 0);
    ::umask(022);
    for (const char *name : {"place/song.jpg", "place/Evening.jpg"})
        EXPECT_EQ(static_cast<int>(fs::status(folder(name)).permissions()), 0640) << name;
}

} // namespace
} // namespace kelvane::testsupport
