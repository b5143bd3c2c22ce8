// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;

/// A device of 10 MB, and six files of 1.4 MB.
class SpaceReserve : public SyncFixture {
protected:
    void SetUp() override
    {
        SyncFixture::SetUp();
        if (IsSkipped())
            return;
        if (::geteuid() != 0 || ::mount("none", device().c_str(), "tmpfs", 0, "size=10m") != 0)
            GTEST_SKIP() << "no small file system can be mounted here";
        _isMounted = true;
        addSongs(6);
        for (const std::string &file : sourceFiles()) {
            std::string content = read(file);
            content.resize(1'400'000, 'x');
            write(file, content);
        }
    }
    void TearDown() override
    {
        if (_isMounted)
            ::umount(device().c_str());
    }

private:
    bool _isMounted = false;
};

TEST_F(SpaceReserve, WithoutOneTheDeviceIsFilled)
{
    EXPECT_EQ(sync({"--reserve", "0"}).code, 0);
    expectComplete();
}

TEST_F(SpaceReserve, WhatWouldEatIntoItIsRefusedHoweverManyJobsRun)
{
    for (const char *reserve : {"5MB", "5000 kB", "48%", "5e6"}) {
        const ToolResult result = sync({"--reserve", reserve, "--jobs", "6"});
        EXPECT_EQ(result.code, 1) << reserve;
        EXPECT_EQ(library().size(), 3U) << reserve;
        EXPECT_THAT(result.errorLines(),
            Contains(AllOf(HasSubstr("no space left on the device (needs 1.4 MB, "),
                HasSubstr(", of which 5.0 MB are kept in reserve)"))));
    }
    EXPECT_EQ(sync({"--reserve", "1MB"}).code, 0) << "as the error line proposes";
}

TEST_F(SpaceReserve, IsTwoPercentByDefault)
{
    std::string content = read(source("song1000.mp3"));
    content.resize(3'290'000, 'x');
    write(source("song1000.mp3"), content); // the last one would leave 1 %
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), Contains(HasSubstr(", of which 209.7 kB are kept in reserve)")));
}

} // namespace
} // namespace kelvane::testsupport
