// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/MimeGlobs.h>

#include "tests/support/MediaFiles.h"

#include <gtest/gtest.h>

using namespace kelvane::testsupport;
using kelvane::detail::MimeGlobs;

namespace {

class Globs : public testing::Test {
protected:
    std::string write(const std::string &name, const std::string &text)
    {
        const auto path = folder.path(name);
        std::filesystem::create_directory(path);
        writeAll(path / "globs2", text);
        return path;
    }

    TemporaryFolder folder;
};

} // namespace

TEST_F(Globs, TheFirstLineOfAnExtensionCounts)
{
    const MimeGlobs globs(
        {write("a", "# made by a program\n80:audio/ogg:*.ogg\n50:video/ogg:*.ogg\n50:audio/ogg:*.oga\n")});
    EXPECT_EQ(globs.mimeTypeOf("ogg"), "audio/ogg");
    EXPECT_EQ(globs.mimeTypeOf("oga"), "audio/ogg");
    EXPECT_EQ(globs.extensionOf("audio/ogg"), "ogg");
    EXPECT_EQ(globs.extensionOf("video/ogg"), "ogg");
    EXPECT_EQ(globs.mimeTypeOf("mkv"), "");
    EXPECT_EQ(globs.extensionOf("video/x-matroska"), "");
}

TEST_F(Globs, TheFirstFolderCountsMost)
{
    const MimeGlobs globs(
        {write("a", "50:audio/mine:*.ogg\n"), folder.path("missing"), write("b", "99:audio/ogg:*.ogg\n50:a/b:*.x")});
    EXPECT_EQ(globs.mimeTypeOf("ogg"), "audio/mine");
    EXPECT_EQ(globs.mimeTypeOf("x"), "a/b");
}

TEST_F(Globs, WhatIsNoPlainExtensionIsLeftOut)
{
    const MimeGlobs globs({write("a",
        "50:a/core:core:cs\n50:a/cpp:*.C:cs\n50:a/tar:*.tar.gz\n50:a/so:*.so.[0-9]*\n50:a/"
        "read:readme*\n50:nonsense:*.n\n"
        "50:a/dot:*.\n::\n:::::\n50\n\n\xff\xfe:*\n50:a/last:*.last")});
    for (const char *extension : {"core", "C", "tar.gz", "gz", "so", "n", "", "*"})
        EXPECT_EQ(globs.mimeTypeOf(extension), "") << extension;
    EXPECT_EQ(globs.mimeTypeOf("last"), "a/last");
}

TEST(SystemGlobs, KnowsWhatNoTypeDeclaresWhereTheSystemHasTheDatabase)
{
    if (!std::filesystem::exists("/usr/share/mime/globs2"))
        GTEST_SKIP() << "no shared MIME-info database";
    EXPECT_EQ(MimeGlobs::system().mimeTypeOf("mkv"), "video/x-matroska");
    EXPECT_EQ(MimeGlobs::system().mimeTypeOf("opus"), "audio/ogg");
}
