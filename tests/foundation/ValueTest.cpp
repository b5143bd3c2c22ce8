// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Value.h>

#include <gtest/gtest.h>

#include <limits>

using kelvane::Array;
using kelvane::Data;
using kelvane::Date;
using kelvane::Dictionary;
using kelvane::NullObject;
using kelvane::Object;
using kelvane::String;
using kelvane::Value;

namespace {

constexpr auto int32Min = std::numeric_limits<std::int32_t>::min();
constexpr auto int32Max = std::numeric_limits<std::int32_t>::max();
constexpr auto int64Min = std::numeric_limits<std::int64_t>::min();
constexpr auto int64Max = std::numeric_limits<std::int64_t>::max();
constexpr auto uint64Max = std::numeric_limits<std::uint64_t>::max();

} // namespace

TEST(Value, NilAndTheNullObjectAreDifferent)
{
    EXPECT_TRUE(Value().isNil());
    EXPECT_FALSE(Value().isNullObject());
    EXPECT_TRUE(Value(NullObject{}).isNullObject());
    EXPECT_FALSE(Value(NullObject{}).isNil());
    EXPECT_FALSE(Value() == Value(NullObject{}));
    EXPECT_EQ(Value(NullObject{}), Value(NullObject{}));
    EXPECT_EQ(Value().description(), "(null)");
    EXPECT_EQ(Value(NullObject{}).description(), "<null>");
}

TEST(Value, NullOfAnyKindIsNil)
{
    EXPECT_TRUE(Value(String()).isNil());
    EXPECT_TRUE(Value(Data()).isNil());
    EXPECT_TRUE(Value(Date()).isNil());
    EXPECT_TRUE(Value(Array()).isNil());
    EXPECT_TRUE(Value(Dictionary()).isNil());
    EXPECT_TRUE(Value(Object()).isNil());
    EXPECT_TRUE(Value(static_cast<const char *>(nullptr)).isNil());
    EXPECT_FALSE(Value("").isNil());
    EXPECT_FALSE(Value(Array::empty()).isNil());
}

TEST(Value, KeepsItsKind)
{
    EXPECT_EQ(Value(true).kind(), Value::Kind::Bool);
    EXPECT_EQ(Value(1).kind(), Value::Kind::Int64);
    EXPECT_EQ(Value(1U).kind(), Value::Kind::UInt64);
    EXPECT_EQ(Value(1.0).kind(), Value::Kind::Double);
    EXPECT_EQ(Value("x").kind(), Value::Kind::String);
    EXPECT_EQ(Value(Data("x", 1)).kind(), Value::Kind::Data);
    EXPECT_EQ(Value(Date(0.0)).kind(), Value::Kind::Date);
    EXPECT_EQ(Value(Array::empty()).kind(), Value::Kind::Array);
    EXPECT_EQ(Value(Dictionary::empty()).kind(), Value::Kind::Dictionary);
    EXPECT_EQ(Value(Object::of(1)).kind(), Value::Kind::Object);
    EXPECT_EQ(Value("x").string(), "x");
    EXPECT_TRUE(Value(1).string().isNull());
    EXPECT_EQ(Value("x").getIf<Data>(), nullptr);
}

TEST(Value, DoublesSaturateWhereTheyDoNotFit)
{
    EXPECT_EQ(Value(1e300).intValue(), int32Max);
    EXPECT_EQ(Value(-1e300).intValue(), int32Min);
    EXPECT_EQ(Value(2147483647.9).intValue(), int32Max);
    EXPECT_EQ(Value(-2147483648.9).intValue(), int32Min);
    EXPECT_EQ(Value(9223372036854775808.0).longLongValue(), int64Max);
    EXPECT_EQ(Value(-9223372036854775808.0).longLongValue(), int64Min);
    EXPECT_EQ(Value(18446744073709551616.0).unsignedLongLongValue(), uint64Max);
    EXPECT_EQ(Value(-1.0).unsignedLongLongValue(), 0U);
    EXPECT_EQ(Value(std::numeric_limits<double>::infinity()).longLongValue(), int64Max);
    EXPECT_EQ(Value(std::numeric_limits<double>::quiet_NaN()).intValue(), 0);
    EXPECT_EQ(Value(-3.99).intValue(), -3);
}

TEST(Value, IntegersSaturateWhereTheyDoNotFit)
{
    EXPECT_EQ(Value(int64Max).intValue(), int32Max);
    EXPECT_EQ(Value(int64Min).intValue(), int32Min);
    EXPECT_EQ(Value(uint64Max).longLongValue(), int64Max);
    EXPECT_EQ(Value(uint64Max).intValue(), int32Max);
    EXPECT_EQ(Value(-1).unsignedLongLongValue(), 0U);
    EXPECT_EQ(Value(true).intValue(), 1);
    EXPECT_EQ(Value(int64Min).doubleValue(), -9223372036854775808.0);
}

TEST(Value, TextConvertsByItsLeadingNumber)
{
    EXPECT_EQ(Value("12 of 20").intValue(), 12);
    EXPECT_DOUBLE_EQ(Value("2.5s").doubleValue(), 2.5);
    EXPECT_TRUE(Value("YES").boolValue());
    EXPECT_EQ(Value("text").longLongValue(), 0);
}

TEST(Value, WithoutANumericReadingConvertsToZero)
{
    for (const auto &value : {Value(), Value(NullObject{}), Value(Data("1", 1)), Value(Date(5.0)), Value(Array{1})}) {
        EXPECT_EQ(value.intValue(), 0);
        EXPECT_EQ(value.doubleValue(), 0.0);
        EXPECT_FALSE(value.boolValue());
        EXPECT_TRUE(value.stringValue().isNull());
    }
}

TEST(Value, NumbersHaveText)
{
    EXPECT_EQ(Value(true).stringValue(), "1");
    EXPECT_EQ(Value(int64Min).stringValue(), "-9223372036854775808");
    EXPECT_EQ(Value(uint64Max).stringValue(), "18446744073709551615");
    EXPECT_EQ(Value(0.1).stringValue(), "0.1");
    EXPECT_EQ(Value(1.0 / 3).stringValue().doubleValue(), 1.0 / 3);
}

TEST(Value, NumbersCompareByTheirNumber)
{
    EXPECT_EQ(Value(1), Value(1.0));
    EXPECT_EQ(Value(true), Value(1U));
    EXPECT_FALSE(Value(1) == Value(1.5));
    EXPECT_FALSE(Value(-1) == Value(-1.5));
    EXPECT_FALSE(Value(-1) == Value(uint64Max));
    EXPECT_FALSE(Value(int64Max) == Value(9223372036854775808.0)); // the double is one more
    EXPECT_EQ(Value(9223372036854775808U), Value(9223372036854775808.0));
    EXPECT_FALSE(Value(uint64Max) == Value(18446744073709551616.0));
    EXPECT_FALSE(Value(std::numeric_limits<double>::quiet_NaN()) == Value(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(Value("1") == Value(1));
}

TEST(Value, DescribesNestedContent)
{
    EXPECT_EQ(Value(Array{1, "two", NullObject{}}).description(), "(1, two, <null>)");
    EXPECT_EQ(Value(Dictionary{{"a", 1}, {"b", Array::empty()}}).description(), "{a = 1; b = ()}");
    EXPECT_EQ(Value(Data("\x01\xFF", 2)).description(), "<2 bytes: 01ff>");
    EXPECT_EQ(Value(Date(0.0)).description(), "2001-01-01 00:00:00 +0000");
}
