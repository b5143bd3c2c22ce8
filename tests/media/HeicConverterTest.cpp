// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/HeicConverter.h>

#include "tests/support/HeifFiles.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <thread>

using namespace kelvane;
using namespace kelvane::testsupport;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HeicBrand : public testing::TestWithParam<const char *> {};

TEST_P(HeicBrand, IsHeicWhateverStandsBeforeIt)
{
    const TemporaryFolder folder;
    writeFile(folder.path("a"), std::string("\0\0\0\x18what", 8) + GetParam());
    EXPECT_TRUE(HeicConverter::isHeic(folder.string("a")));
}

INSTANTIATE_TEST_SUITE_P(
    Nine, HeicBrand, testing::Values("hevc", "hevm", "hevs", "avcs", "heic", "heix", "heim", "heis", "avic"));

TEST(HeicConverter, AnotherBrandIsNotHeicEvenWithACompatibleOne)
{
    const TemporaryFolder folder;
    for (const char *brand : {"mif1", "HEIC", "avif", "hei ", "jpeg"}) {
        writeFile(folder.path("a"), box("ftyp", std::string(brand) + bigEndian(0, 4) + "heicmif1"));
        EXPECT_FALSE(HeicConverter::isHeic(folder.string("a"))) << brand;
    }
}

TEST(HeicConverter, FilesTooShortForABrandAreNotHeic)
{
    const TemporaryFolder folder;
    for (const std::size_t size : {0, 4, 8, 10, 11}) {
        writeFile(folder.path("a"),
            std::string("\0\0\0\x18"
                        "ftypheic",
                12)
                .substr(0, size));
        EXPECT_FALSE(HeicConverter::isHeic(folder.string("a"))) << size;
    }
}

TEST(HeicConverter, WhatCannotBeReadIsNotHeicAndIsNotWaitedFor)
{
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    for (const String &path : {String(), String(""), folder.string(), folder.string("none"), folder.string("pipe")})
        EXPECT_FALSE(HeicConverter::isHeic(path)) << path.view();
}

TEST(HeicConverter, OrientationFollowsFromTheAngle)
{
    const std::pair<int, int> table[] = {{0, 1}, {90, 8}, {180, 3}, {270, 6}, {45, 1}, {360, 1}, {-90, 1}, {450, 1}};
    for (const auto &[degrees, orientation] : table)
        EXPECT_EQ(HeicConverter::exifOrientationWithAngle(degrees), orientation) << degrees;
}

TEST(HeicConverter, AMissingSourceIsNamedInTheLog)
{
    const TemporaryFolder folder;
    const LogCapture log;
    EXPECT_FALSE(HeicConverter::convertHeicToJPG("/nowhere/a.heic", folder.string("a.jpg")));
    EXPECT_FALSE(HeicConverter::convertHeicToJPG(nullptr, folder.string("a.jpg")));
    EXPECT_THAT(log.errorLines(),
        ElementsAre(
            "convertHeicToJPG heicPath:/nowhere/a.heic not exsit.", "convertHeicToJPG heicPath:(null) not exsit."));
}

TEST(HeicConverter, AFileThatIsNoHeicIsLogged)
{
    const TemporaryFolder folder;
    const LogCapture log;
    writeFile(folder.path("a.heic"), "no photo at all");
    EXPECT_FALSE(HeicConverter::convertHeicToJPG(folder.string("a.heic"), folder.string("a.jpg")));
    EXPECT_THAT(log.errorLines(), ElementsAre("convertHeicToJPG is not Heic jpg."));
    EXPECT_FALSE(std::filesystem::exists(folder.path("a.jpg")));
}

TEST(HeicConverter, APictureThatCannotBeDecodedIsNamedInTheLog)
{
    const TemporaryFolder folder;
    const LogCapture log;
    writeFile(folder.path("a.heic"), box("ftyp", "heic" + bigEndian(0, 4)));
    EXPECT_FALSE(HeicConverter::convertHeicToJPG(folder.string("a.heic"), folder.string("a.jpg")));
    EXPECT_THAT(log.errorLines(),
        ElementsAre("convertHeicToJPG DecodeImageData " + folder.path("a.heic").string() + " failed."));
}

// What happens before a module is loaded, and with other people's modules, needs a process of its own.
class HeicModules : public testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::copy_file(KELVANE_HEIC_PROGRAM, folder.path("program"));
        writeFile(photo, box("ftyp", "heic" + bigEndian(0, 4)));
    }

    void useModule(const char *file) { std::filesystem::copy_file(file, folder.path("libheif.dylib")); }

    std::string run(const std::string &environment = "", const std::string &destination = "a.jpg")
    {
        const std::filesystem::path to = destination.empty() ? destination : folder.path(destination).string();
        std::string output = runWith(environment, quoted(photo) + " " + quoted(to));
        EXPECT_TRUE(output.ends_with("end\n")) << output;
        return output.substr(0, output.rfind("end\n"));
    }
    std::string runWith(const std::string &environment, const std::string &arguments)
    {
        return outputOf(environment + " " + quoted(folder.path("program")) + " " + arguments, folder.path());
    }

    std::string orientation() const
    {
        return outputOf("exiftool -s3 -n -Orientation " + quoted(folder.path("a.jpg")), folder.path());
    }

    TemporaryFolder folder;
    const std::filesystem::path photo = folder.path("photo.heic");
};

TEST_F(HeicModules, AMissingModuleGivesFalseAndALineWithThePhoto)
{
    EXPECT_EQ(run(), "error: dylib :" + photo.string() + " not exsit.\nfalse\n");
}

TEST_F(HeicModules, AModuleIsLoadedByTheFirstPhotoKeptForTheOthersAndClosedOnDemand)
{
    useModule(KELVANE_FAKE_DECODER);
    writeFile(folder.path("other"), "no photo");
    const std::string pair = quoted(photo) + " " + quoted(folder.path("a.jpg")) + " ";
    EXPECT_EQ(
        runWith("KELVANE_FAKE_TELLS=1 KELVANE_FAKE_ROTATION=0", quoted(folder.path("other")) + " a " + pair + pair),
        "error: convertHeicToJPG is not Heic jpg.\nfalse\nloaded\ntrue\ntrue\nclosed\nend\n");
    EXPECT_EQ(runWith("KELVANE_FAKE_TELLS=1", ""), "end\n") << "nothing was loaded";
}

TEST_F(HeicModules, AMissingModuleIsMissedByEachPhoto)
{
    const std::string pair = quoted(photo) + " " + quoted(folder.path("a.jpg")) + " ";
    const std::string missing = "error: dylib :" + photo.string() + " not exsit.\nfalse\n";
    EXPECT_EQ(runWith("", pair + pair), missing + missing + "end\n") << "and nothing else is said";
}

TEST_F(HeicModules, AModuleIsNotLookedForInTheWorkingDirectory)
{
    std::filesystem::create_directory(folder.path("elsewhere"));
    std::filesystem::copy_file(KELVANE_FAKE_DECODER, folder.path("elsewhere/libheif.dylib"));
    EXPECT_EQ(run("cd " + quoted(folder.path("elsewhere")) + " && LD_LIBRARY_PATH=. "),
        "error: dylib :" + photo.string() + " not exsit.\nfalse\n");
}

TEST_F(HeicModules, OneThatEverybodyMayWriteToIsWarnedOfOnce)
{
    useModule(KELVANE_FAKE_DECODER);
    namespace fs = std::filesystem;
    const fs::path module = folder.path("libheif.dylib");
    const std::string pair = quoted(photo) + " " + quoted(folder.path("a.jpg")) + " ";
    const std::string done = "true\ntrue\nend\n";
    const auto output = [&] { return runWith("KELVANE_FAKE_ROTATION=0", pair + pair); };
    EXPECT_EQ(output(), done);
    fs::permissions(module, fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(output(),
        "error: warning: the module " + module.string() + " was loaded, which everybody may write to.\n" + done);
    fs::permissions(module, fs::perms::others_write, fs::perm_options::remove);
    fs::permissions(folder.path(), fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(output(),
        "error: warning: the module libheif.dylib was loaded from " + folder.path().string()
            + ", which everybody may write to.\n" + done);
}

TEST_F(HeicModules, AModuleThatCannotBeLoadedGivesALineWithThePhoto)
{
    writeFile(folder.path("libheif.dylib"), "no library");
    EXPECT_EQ(run(), "error: dylib :" + photo.string() + " load failed.\nfalse\n");
}

TEST_F(HeicModules, AModuleThatLacksAFunctionIsLogged)
{
    useModule(KELVANE_FAKE_DECODER_WITHOUT_FREE);
    EXPECT_EQ(run("KELVANE_FAKE_ROTATION=0"), "error: dylib get Function failed.\nfalse\n");
}

TEST_F(HeicModules, ADecoderThatFailsOrGivesNothingIsLogged)
{
    useModule(KELVANE_FAKE_DECODER);
    const std::string line = "error: convertHeicToJPG DecodeImageData " + photo.string() + " failed.\nfalse\n";
    EXPECT_EQ(run(), line);
    EXPECT_EQ(run("KELVANE_FAKE_SUCCESS=1"), line);
}

TEST_F(HeicModules, APathThatIsNoneIsToldToTheSystemLogInTheOldWords)
{
    useModule(KELVANE_FAKE_DECODER);
    EXPECT_EQ(
        run("KELVANE_FAKE_ROTATION=0", ""), "system: convertHeicToJPG CGImageDestinationCreateWithURL failed\nfalse\n");
}

TEST_F(HeicModules, TheAngleOfAnyDecoderBecomesTheOrientation)
{
    useModule(KELVANE_FAKE_DECODER);
    const std::pair<int, const char *> table[] = {{0, "1\n"}, {90, "8\n"}, {180, "3\n"}, {270, "6\n"}, {45, "1\n"}};
    for (const auto &[degrees, expected] : table) {
        EXPECT_EQ(run("KELVANE_FAKE_ROTATION=" + std::to_string(degrees)), "true\n");
        EXPECT_EQ(orientation(), expected) << degrees;
    }
}

TEST_F(HeicModules, AFileThatWasThereCountsAndIsKeptWhereTheNewOneCannotBeWritten)
{
    useModule(KELVANE_FAKE_DECODER);
    std::filesystem::create_directory(folder.path("a.jpg"));
    EXPECT_EQ(run("KELVANE_FAKE_ROTATION=0"), "true\n");
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("a.jpg")));
    EXPECT_EQ(run("KELVANE_FAKE_ROTATION=0", "missing/a.jpg"), "false\n");
}

TEST_F(HeicModules, NothingIsLeftBesideTheFile)
{
    useModule(KELVANE_FAKE_DECODER);
    const auto count = [this] {
        return std::distance(std::filesystem::directory_iterator(folder.path()), std::filesystem::directory_iterator());
    };
    run("KELVANE_FAKE_ROTATION=0");
    const auto before = count();
    run("KELVANE_FAKE_ROTATION=90");
    EXPECT_EQ(count(), before);
    EXPECT_EQ(orientation(), "8\n");
}

} // namespace
