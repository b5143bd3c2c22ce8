// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Data.h>

#include <gtest/gtest.h>

using kelvane::Data;

TEST(Data, NullAndEmptyAreDifferent)
{
    EXPECT_TRUE(Data().isNull());
    EXPECT_FALSE(Data("", 0).isNull());
    EXPECT_TRUE(Data("", 0).isEmpty());
    EXPECT_FALSE(Data() == Data("", 0));
    EXPECT_TRUE(Data().bytes().empty());
}

TEST(Data, EqualityIsOfBytesAndIdentityOfTheObject)
{
    const Data a("a\0b", 3);
    const Data b("a\0b", 3);
    const Data copy = a;
    EXPECT_EQ(a, b);
    EXPECT_FALSE(isSameObject(a, b));
    EXPECT_TRUE(isSameObject(a, copy));
    EXPECT_FALSE(a == Data("a\0c", 3));
}

TEST(Data, IsFilledInPlace)
{
    const auto data = Data::create(3, [](std::span<std::byte> bytes) {
        for (auto &byte : bytes)
            byte = std::byte{0xAB};
    });
    EXPECT_EQ(data.view(), "\xAB\xAB\xAB");
    EXPECT_FALSE(Data::create(0, [](auto) { FAIL() << "nothing to fill"; }).isNull());
}
