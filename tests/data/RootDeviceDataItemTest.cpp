// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/RootDeviceDataItem.h>

#include <gtest/gtest.h>

TEST(RootDeviceDataItem, StartsEmptyAndKeepsWhatIsSet)
{
    kelvane::RootDeviceDataItem item;
    kelvane::IRootDeviceData &data = item;
    EXPECT_EQ(data.devicePid(), 0);
    EXPECT_TRUE(data.deviceVersion().isNull());
    data.setDevicePid(-4776);
    data.setDeviceVersion("12.1");
    EXPECT_EQ(data.devicePid(), -4776);
    EXPECT_EQ(data.deviceVersion(), "12.1");
    data.setDeviceVersion(nullptr);
    EXPECT_TRUE(data.deviceVersion().isNull());
}
