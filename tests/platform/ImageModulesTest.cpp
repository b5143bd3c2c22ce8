// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Image.h>

#include <gmock/gmock.h>
#include <tests/support/ImageFiles.h>
#include <tests/support/LogCapture.h>

// Modules are looked for in the folder of the program and stay loaded: each test runs a copy of this program, in a folder of
// its own, which runs one of the tests whose names begin with DISABLED_ there, in the folder of its pictures.

namespace kelvane {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::HasSubstr;

bool passesIn(const TemporaryFolder &folder, const std::string &test)
{
    std::filesystem::copy_file("/proc/self/exe", folder.path("program"));
    return runShell("cd " + quoted(folder.path()) + " && ./program --gtest_also_run_disabled_tests --gtest_filter="
        + "ImageModules.DISABLED_" + test + " >log 2>&1 || { cat log; false; }");
}

TEST(ImageModules, DISABLED_AreMissing)
{
    const LogCapture log;
    const std::string bytes = readAll("a.gif");
    EXPECT_TRUE(Image::fromFile("a.gif").isNull());
    EXPECT_TRUE(Image::fromData(Data(bytes.data(), bytes.size())).isNull());
    EXPECT_FALSE(Image::fromFile("a.png").isNull()) << "needs none";
    EXPECT_THAT(log.errorLines(),
        ElementsAre("Cannot decode a.gif: the module libkelvane-media.so is missing or cannot be loaded.",
            "Cannot decode an image in memory: the module libkelvane-media.so is missing or cannot be loaded."));
}

TEST(ImageModules, DISABLED_AreInAFolderForAll)
{
    const LogCapture log;
    EXPECT_FALSE(Image::fromFile("a.gif").isNull());
    EXPECT_FALSE(Image::fromFile("a.gif").isNull());
    EXPECT_THAT(log.errorLines(), ElementsAre(HasSubstr("which everybody may write to")));
}

TEST(ImageModules, WithoutOneThePictureIsNullAndTheLogSaysWhy)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    makeImage(folder, "a.gif");
    makeImage(folder, "a.png");
    EXPECT_TRUE(passesIn(folder, "AreMissing"));
}

TEST(ImageModules, OneFromAFolderThatEverybodyMayWriteToIsWarnedOf)
{
    REQUIRE_FFMPEG();
    const TemporaryFolder folder;
    makeImage(folder, "a.gif");
    std::filesystem::copy_file(std::filesystem::canonical("/proc/self/exe").parent_path() / "libkelvane-media.so",
        folder.path("libkelvane-media.so"));
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    EXPECT_TRUE(passesIn(folder, "AreInAFolderForAll"));
}

} // namespace
} // namespace kelvane
