// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileMetadataIndex.h>

#include <kelvane/foundation/Value.h>

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>

using namespace kelvane;
using namespace kelvane::testsupport;
namespace fs = std::filesystem;

namespace {

/// A tool that notes its arguments, writes `list` to where it is told to, and exits with 3.
fs::path makeTool(const TemporaryFolder &folder, const std::string &list)
{
    const fs::path tool = folder.path("tool");
    writeAll(folder.path("list"), list);
    writeAll(tool,
        "#!/bin/sh\nprintf '%s\\n' \"$1\" \"$2\" \"$3\" >" + quoted(folder.path("arguments").native()) + "\n[ -s "
            + quoted(folder.path("list").native()) + " ] && cp " + quoted(folder.path("list").native())
            + " \"$3\"\nexit 3\n");
    fs::permissions(tool, fs::perms::owner_all);
    return tool;
}

/// The third argument that the tool was given.
fs::path outputOf(const TemporaryFolder &folder)
{
    const std::string arguments = readAll(folder.path("arguments"));
    const auto second = arguments.find('\n', arguments.find('\n') + 1);
    return arguments.substr(second + 1, arguments.size() - second - 2);
}

} // namespace

TEST(FileMetadataIndex, GivesWhatTheToolWroteWhateverItsExitCode)
{
    const TemporaryFolder folder;
    const auto tool = makeTool(folder, R"(<?xml version="1.0"?><plist version="1.0"><dict>
<key>kMDItemTitle</key><string>T&#233;</string><key>kMDItemDurationSeconds</key><real>12.5</real>
<key>kMDItemFSSize</key><integer>4000000</integer>
<key>kMDItemContentCreationDate</key><date>2012-05-03T07:00:00Z</date>
<key>kMDItemAuthors</key><array><string>A</string><string>B</string></array><key>flag</key><true/></dict></plist>)");
    const Dictionary properties = FileMetadataIndex::propertiesOfFile("-odd name.mp3", tool.native());
    EXPECT_EQ(properties["kMDItemTitle"], Value("T\xc3\xa9"));
    EXPECT_EQ(properties["kMDItemDurationSeconds"], Value(12.5));
    EXPECT_EQ(properties["kMDItemFSSize"], Value(4000000));
    EXPECT_EQ(properties["kMDItemContentCreationDate"], Value(Date::fromSecondsSince1970(1336028400)));
    EXPECT_EQ(properties["kMDItemAuthors"], Value(Array{"A", "B"}));
    EXPECT_EQ(properties["flag"], Value(true));
    EXPECT_EQ(properties.size(), 6U);
    EXPECT_EQ(readAll(folder.path("arguments")).substr(0, 21), "-odd name.mp3\n-plist\n");
    const fs::path output = outputOf(folder);
    EXPECT_TRUE(fs::exists(output)) << "the list stays for whoever wants to look at it";
    EXPECT_EQ(output.parent_path(), fs::temp_directory_path());
    EXPECT_EQ(output.filename().native().size(), 36U);
    fs::remove(output);
}

TEST(FileMetadataIndex, IsAbsentWithoutAToolAListOrADictionary)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(FileMetadataIndex::propertiesOfFile("a.mp3", folder.string("missing")).isNull());
    EXPECT_TRUE(FileMetadataIndex::propertiesOfFile("a.mp3", makeTool(folder, "").native()).isNull());
    for (const char *list : {"garbage", "<plist><string>x</string></plist>", "bplist00broken"}) {
        EXPECT_TRUE(FileMetadataIndex::propertiesOfFile("a.mp3", makeTool(folder, list).native()).isNull()) << list;
        fs::remove(outputOf(folder));
    }
    EXPECT_TRUE(FileMetadataIndex::propertiesOfFile(nullptr).isNull());
}
