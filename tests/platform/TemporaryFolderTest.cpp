// SPDX-License-Identifier: Apache-2.0
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <fstream>

using kelvane::testsupport::TemporaryFolder;
namespace fs = std::filesystem;

TEST(TemporaryFolder, IsFreshAndEmptyAndGoesWithItsContent)
{
    fs::path kept;
    {
        const TemporaryFolder folder;
        const TemporaryFolder other;
        kept = folder.path();
        EXPECT_NE(kept, other.path());
        EXPECT_TRUE(fs::is_empty(kept));
        EXPECT_EQ(folder.string().str(), kept.string());
        EXPECT_EQ(folder.string("a.txt").str(), (kept / "a.txt").string());
        fs::create_directories(folder.path("sub/sub"));
        std::ofstream(folder.path("sub/sub/file")) << "x";
    }
    EXPECT_FALSE(fs::exists(kept));
}
