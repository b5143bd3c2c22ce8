// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Bundle.h>

#include <kelvane/platform/PropertyList.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace kelvane {
namespace {

TEST(Bundle, OfTheProgramIsTheFolderOfItsFile)
{
    EXPECT_EQ(Bundle::mainBundle().executablePath(), std::filesystem::read_symlink("/proc/self/exe").native().c_str());
    EXPECT_EQ(Bundle::mainBundle().bundlePath(),
        std::filesystem::read_symlink("/proc/self/exe").parent_path().native().c_str());
}

TEST(Bundle, TheApplicationMaySetItsFacts)
{
    Bundle::mainBundle().setInfoDictionary(Dictionary{{"CFBundleDisplayName", "Set"}});
    EXPECT_EQ(Bundle::mainBundle().objectForInfoDictionaryKey("CFBundleDisplayName"), Value("Set"));
    EXPECT_TRUE(Bundle::mainBundle().objectForInfoDictionaryKey("CFBundleVersion").isNil());
    Bundle::mainBundle().setInfoDictionary(nullptr);
}

// Runs in a copy of this program that the next test makes, with a property list beside it.
TEST(Bundle, DISABLED_SaysWhatThePropertyListSays)
{
    const char *expected = std::getenv("KELVANE_TEST_BUNDLE_NAME");
    ASSERT_NE(expected, nullptr);
    EXPECT_EQ(Bundle::mainBundle().objectForInfoDictionaryKey("CFBundleDisplayName").string(), expected);
}

TEST(Bundle, ReadsThePropertyListBesideTheProgram)
{
    const testsupport::TemporaryFolder folder;
    std::filesystem::copy_file("/proc/self/exe", folder.path("program"));
    const Data info = PropertyList::toXml(Dictionary{{"CFBundleDisplayName", "Beside"}});
    std::ofstream(folder.path("Info.plist")) << info.view();
    const std::string command = "KELVANE_TEST_BUNDLE_NAME=Beside '" + folder.path("program").native()
        + "' --gtest_also_run_disabled_tests --gtest_filter='*SaysWhatThePropertyListSays' >/dev/null 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
}

} // namespace
} // namespace kelvane
