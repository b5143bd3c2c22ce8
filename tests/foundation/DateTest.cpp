// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Date.h>

#include <gtest/gtest.h>

#include <ctime>

using kelvane::Date;

TEST(Date, IsEightBytesAndNullableWithoutThem)
{
    static_assert(sizeof(Date) == 8);
    EXPECT_TRUE(Date().isNull());
    EXPECT_FALSE(Date(0.0).isNull());
    EXPECT_TRUE(Date(std::numeric_limits<double>::quiet_NaN()).isNull());
    EXPECT_EQ(Date(), Date());
    EXPECT_FALSE(Date() == Date(0.0));
    EXPECT_LT(Date(), Date(-1e9));
    EXPECT_LT(Date(1.0), Date(2.0));
}

TEST(Date, CountsFromTheReferenceDate)
{
    EXPECT_EQ(Date(0.0).toIso8601(), "2001-01-01T00:00:00Z");
    EXPECT_EQ(Date::fromSecondsSince1970(0).toIso8601(), "1970-01-01T00:00:00Z");
    EXPECT_DOUBLE_EQ(Date::fromSecondsSince1970(1e9).secondsSince2001(), 1e9 - 978307200.0);
    EXPECT_EQ(Date(0.0).description(), "2001-01-01 00:00:00 +0000");
}

TEST(Date, PrintsLeapDaysNegativeAndFractionalSeconds)
{
    EXPECT_EQ(Date::fromSecondsSince1970(951782400).toIso8601(), "2000-02-29T00:00:00Z");
    EXPECT_EQ(Date::fromSecondsSince1970(-0.5).toIso8601(), "1969-12-31T23:59:59Z");
    EXPECT_EQ(Date::fromSecondsSince1970(1335873600.999).toIso8601(), "2012-05-01T12:00:00Z");
}

TEST(Date, HasNoTextOutsideFourDigitYears)
{
    EXPECT_TRUE(Date().toIso8601().isNull());
    EXPECT_TRUE(Date(1e300).toIso8601().isNull());
    EXPECT_TRUE(Date(-1e300).description().isNull());
    EXPECT_TRUE(Date::fromSecondsSince1970(253402300800.0).toIso8601().isNull());
    EXPECT_EQ(Date::fromSecondsSince1970(253402300799.0).toIso8601(), "9999-12-31T23:59:59Z");
}

TEST(Date, NowIsTheSystemsClock)
{
    const auto before = static_cast<double>(std::time(nullptr));
    const double now = Date::now().secondsSince1970();
    EXPECT_GE(now, before - 1);
    EXPECT_LE(now, before + 60);
}
