// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/String.h>

#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <unordered_set>
#include <vector>

using kelvane::String;

namespace {

std::string unitsReversed(const String &text)
{
    const auto units = text.toUtf16();
    return String::fromUtf16(std::u16string(units.rbegin(), units.rend())).str();
}

} // namespace

TEST(String, IsOnePointerWide)
{
    static_assert(sizeof(String) == sizeof(void *));
}

TEST(String, NullAndEmptyAreDifferentTexts)
{
    EXPECT_TRUE(String().isNull());
    EXPECT_TRUE(String().isEmpty());
    EXPECT_FALSE(String("").isNull());
    EXPECT_TRUE(String("").isEmpty());
    EXPECT_NE(String(), String(""));
    EXPECT_LT(String(), String(""));
    EXPECT_EQ(String(), nullptr);
    EXPECT_FALSE(String("") == nullptr);
    EXPECT_FALSE(String() == "");
    EXPECT_EQ(String(static_cast<const char *>(nullptr)), String());
}

TEST(String, EveryQuestionMayBeAskedOfNull)
{
    const String null;
    EXPECT_EQ(null.size(), 0U);
    EXPECT_STREQ(null.c_str(), "");
    EXPECT_EQ(null.view(), "");
    EXPECT_EQ(null.toUtf16(), u"");
    EXPECT_EQ(null.intValue(), 0);
    EXPECT_EQ(null.doubleValue(), 0.0);
    EXPECT_FALSE(null.boolValue());
    EXPECT_TRUE(null.isValidUtf8());
    EXPECT_TRUE(null.toValidUtf8().isNull());
}

TEST(String, EqualityIsOfTextAndIdentityOfTheObject)
{
    const String a("step");
    const String b(std::string("step"));
    const String copy = a;
    EXPECT_EQ(a, b);
    EXPECT_FALSE(isSameObject(a, b));
    EXPECT_TRUE(isSameObject(a, copy));
    EXPECT_TRUE(isSameObject(String(), String()));
    EXPECT_TRUE(isSameObject(String(""), String::concat({})));
    EXPECT_EQ(a, "step");
    EXPECT_EQ(std::hash<String>{}(a), std::hash<String>{}(b));
    EXPECT_EQ((std::unordered_set<String>{a, b}).size(), 1U);
}

TEST(String, OrdersByBytes)
{
    EXPECT_LT(String("a"), String("b"));
    EXPECT_LT(String("a"), String("aa"));
    EXPECT_LT(String("z"), String("\xC3\xA9"));
}

TEST(String, AMovedFromStringIsNull)
{
    String a("text");
    const String b = std::move(a);
    EXPECT_TRUE(a.isNull()); // NOLINT(bugprone-use-after-move): the promise under test
    EXPECT_EQ(b, "text");
}

TEST(String, KeepsNulsInside)
{
    const String text(std::string_view("a\0b", 3));
    EXPECT_EQ(text.size(), 3U);
    EXPECT_EQ(text.view()[1], '\0');
    EXPECT_NE(text, "a");
}

TEST(String, ConcatJoinsPartsInOneText)
{
    EXPECT_EQ(String::concat({"a", "", "bc"}), "abc");
    EXPECT_EQ(String("a") + String(), "a");
    EXPECT_FALSE((String() + String()).isNull());
}

TEST(String, NumbersPrintTheirLimits)
{
    EXPECT_EQ(String::number(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(String::number(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(String, InvalidUtf8IsKeptAsBytesAndReadAsReplacementCharacters)
{
    const String broken("a\xFF"
                        "b\xC3");
    EXPECT_FALSE(broken.isValidUtf8());
    EXPECT_EQ(broken.size(), 4U);
    EXPECT_EQ(broken.toUtf16(), u"a\uFFFDb\uFFFD");
    EXPECT_EQ(broken.toValidUtf8(),
        "a\xEF\xBF\xBD"
        "b\xEF\xBF\xBD");
    EXPECT_TRUE(String::fromUtf8(broken.view()).isNull());
}

TEST(String, OverlongFormsSurrogatesAndNumbersBeyondUnicodeAreInvalid)
{
    for (const char *bytes : {"\xC0\x80", "\xE0\x80\x80", "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
             "\xED\xA0\x80", "\x80", "\xE2\x82", "\xC3"})
        EXPECT_FALSE(String(bytes).isValidUtf8()) << testing::PrintToString(bytes);
    for (const char *bytes : {"\x7F", "\xC2\x80", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(String(bytes).isValidUtf8()) << testing::PrintToString(bytes);
}

TEST(String, ValidTextIsTheSameObjectAfterValidation)
{
    const String text("gr\xC3\xBC\xC3\x9F"
                      "e");
    EXPECT_TRUE(isSameObject(text, text.toValidUtf8()));
    EXPECT_EQ(String::fromUtf8(text.view()), text);
}

TEST(String, Utf16RoundTripKeepsAllPlanes)
{
    const String text("A\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x8E\xB5");
    EXPECT_EQ(text.toUtf16(), u"A\u00E9\u4E2D\U0001F3B5");
    EXPECT_EQ(String::fromUtf16(text.toUtf16()), text);
}

TEST(String, LoneSurrogatesSurviveReversingTwice)
{
    const String text("x\xF0\x9F\x8E\xB5y");
    const String once(unitsReversed(text));
    EXPECT_FALSE(once.isValidUtf8());
    EXPECT_NE(once, text);
    EXPECT_EQ(unitsReversed(once), text.str());
}

struct NumberCase {
    const char *text;
    std::int32_t asInt;
    std::int64_t asLong;
    std::uint64_t asUnsigned;
    double asDouble;
    bool asBool;
};

class StringNumbers : public testing::TestWithParam<NumberCase> {};

TEST_P(StringNumbers, ReadTheLeadingDecimalNumber)
{
    const auto &row = GetParam();
    const String text(row.text);
    EXPECT_EQ(text.intValue(), row.asInt);
    EXPECT_EQ(text.longLongValue(), row.asLong);
    EXPECT_EQ(text.unsignedLongLongValue(), row.asUnsigned);
    EXPECT_DOUBLE_EQ(text.doubleValue(), row.asDouble);
    EXPECT_EQ(text.boolValue(), row.asBool);
}

INSTANTIATE_TEST_SUITE_P(Table, StringNumbers,
    testing::Values(NumberCase{"", 0, 0, 0, 0, false}, NumberCase{"abc", 0, 0, 0, 0, false},
        NumberCase{"7/12", 7, 7, 7, 7, true}, NumberCase{" \t42 s", 42, 42, 42, 42, true},
        NumberCase{"-3.75e1x", -3, -3, 0, -37.5, true}, NumberCase{"+5", 5, 5, 5, 5, true},
        NumberCase{"0x10", 0, 0, 0, 0, false}, NumberCase{"inf", 0, 0, 0, 0, false},
        NumberCase{"nan", 0, 0, 0, 0, false}, NumberCase{".5", 0, 0, 0, 0.5, false}, NumberCase{"1e", 1, 1, 1, 1, true},
        NumberCase{"-", 0, 0, 0, 0, false}, NumberCase{"--5", 0, 0, 0, 0, false}, NumberCase{"007", 7, 7, 7, 7, true},
        NumberCase{"yes", 0, 0, 0, 0, true}, NumberCase{"True", 0, 0, 0, 0, true}, NumberCase{"no", 0, 0, 0, 0, false},
        NumberCase{"2147483648", 2147483647, 2147483648, 2147483648, 2147483648.0, true},
        NumberCase{"-2147483649", std::numeric_limits<std::int32_t>::min(), -2147483649, 0, -2147483649.0, true},
        NumberCase{"9223372036854775808", 2147483647, std::numeric_limits<std::int64_t>::max(), 9223372036854775808U,
            9223372036854775808.0, true},
        NumberCase{"-9223372036854775808", std::numeric_limits<std::int32_t>::min(),
            std::numeric_limits<std::int64_t>::min(), 0, -9223372036854775808.0, true},
        NumberCase{"18446744073709551615", 2147483647, std::numeric_limits<std::int64_t>::max(),
            std::numeric_limits<std::uint64_t>::max(), 18446744073709551615.0, true},
        NumberCase{"99999999999999999999999999", 2147483647, std::numeric_limits<std::int64_t>::max(),
            std::numeric_limits<std::uint64_t>::max(), 1e26, true},
        NumberCase{"-99999999999999999999999999", std::numeric_limits<std::int32_t>::min(),
            std::numeric_limits<std::int64_t>::min(), 0, -1e26, true},
        NumberCase{"1e999", 1, 1, 1, std::numeric_limits<double>::infinity(), true}));

TEST(String, OneTextMayBeSharedByManyThreads)
{
    const String shared("shared by all");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([shared] {
            for (int n = 0; n < 10000; ++n) {
                const String copy = shared;
                const String empty("");
                ASSERT_EQ(copy, "shared by all");
                ASSERT_TRUE(empty.isEmpty());
            }
        });
    for (auto &thread : threads)
        thread.join();
}
