// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/StringExtensions.h>

#include <kelvane/foundation/Value.h>

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

TEST(StringExtensions, NullAndEmptyAreNullOrEmpty)
{
    EXPECT_TRUE(isNullOrEmpty(nullptr));
    EXPECT_TRUE(isNullOrEmpty(""));
    EXPECT_FALSE(isNullOrEmpty(" "));
}

TEST(StringExtensions, ANullTextGivesNullAndFalse)
{
    const String null;
    EXPECT_TRUE(trim(null).isNull());
    EXPECT_TRUE(trimStart(null, "a").isNull());
    EXPECT_TRUE(trimEnd(null, "a").isNull());
    EXPECT_TRUE(trimQuotedString(null).isNull());
    EXPECT_TRUE(split(null, ",").isNull());
    EXPECT_TRUE(split(null, "(", ")").isNull());
    EXPECT_TRUE(stringReverse(null).isNull());
    EXPECT_TRUE(hexString(null).isNull());
    EXPECT_TRUE(pathCombine(null, "a").isNull());
    EXPECT_FALSE(isMatch(null, ".*"));
    EXPECT_FALSE(contains(null, "a"));
    EXPECT_FALSE(strCompare(null, "a"));
    EXPECT_FALSE(inCaseCompare(null, "a"));
    EXPECT_FALSE(hasChineseChar(null));
    EXPECT_FALSE(startsWith(null, "a"));
    EXPECT_EQ(fourCharCode(null), 0U);
}

TEST(StringExtensions, TrimRemovesWhiteSpaceAndLineBreaksAtBothEndsOnly)
{
    EXPECT_EQ(trim(" \t\r\n a b \n"), "a b");
    EXPECT_EQ(trim("\xC2\xA0\xE3\x80\x80"
                   "a\xE2\x80\xA8"),
        "a");
    EXPECT_EQ(trim("\xC3\xA9"), "\xC3\xA9");
    EXPECT_EQ(trim(" \n "), "");
    EXPECT_EQ(trim(""), "");
}

TEST(StringExtensions, TrimKeepsBytesThatAreNoUtf8)
{
    EXPECT_EQ(trim(" \x80\x80\x80\x80\x80 "), "\x80\x80\x80\x80\x80");
    EXPECT_EQ(trim(" a\xA0 "), "a\xA0");
}

TEST(StringExtensions, TrimOfATrimmedTextIsTheSameObject)
{
    const String text = "abc";
    EXPECT_TRUE(isSameObject(trim(text), text));
}

TEST(StringExtensions, TrimStartRemovesOneCopyOfThePrefix)
{
    EXPECT_EQ(trimStart("..mp3", "."), ".mp3");
    EXPECT_EQ(trimStart("mp3", "."), "mp3");
    EXPECT_EQ(trimStart("mp3", nullptr), "mp3");
    EXPECT_EQ(trimStart("mp3", ""), "mp3");
    EXPECT_EQ(trimStart("mp3", "mp3"), "");
}

TEST(StringExtensions, TrimEndCutsAtTheFirstOccurrenceOfTheSuffix)
{
    EXPECT_EQ(trimEnd("a.b.b", ".b"), "a");
    EXPECT_EQ(trimEnd("abcabc", "abc"), "");
    EXPECT_EQ(trimEnd("song.mp3", ".mp3"), "song");
    EXPECT_EQ(trimEnd("song.mp3", ".wav"), "song.mp3");
    EXPECT_EQ(trimEnd("song", nullptr), "song");
    EXPECT_EQ(trimEnd("song", ""), "song");
}

TEST(StringExtensions, TrimQuotedStringRemovesEveryDoubleQuote)
{
    EXPECT_EQ(trimQuotedString("\"a\"b'c\""), "ab'c");
    EXPECT_EQ(trimQuotedString("abc"), "abc");
    EXPECT_EQ(trimQuotedString("\""), "");
}

TEST(StringExtensions, SplitBetweenGivesWhatStandsBetween)
{
    EXPECT_EQ(split("key=[value];", "[", "]"), "value");
    EXPECT_EQ(split("]a[b]c]", "[", "]"), "b");
    EXPECT_EQ(split("|a|b|", "|", "|"), "a");
    EXPECT_EQ(split("[]", "[", "]"), "");
}

TEST(StringExtensions, SplitBetweenGivesTheWholeTextWhereAMarkIsMissing)
{
    EXPECT_EQ(split("key=[value];", "(", ")"), "key=[value];");
    EXPECT_EQ(split("key=[value];", "[", ")"), "key=[value];");
    EXPECT_EQ(split("]key[", "[", "]"), "]key[");
    EXPECT_EQ(split("a[b]", String(), "]"), "a[b]");
    EXPECT_EQ(split("a[b]", "[", String()), "a[b]");
}

TEST(StringExtensions, SplitKeepsEmptyParts)
{
    EXPECT_EQ(split("a,,b,", ","), (Array{"a", "", "b", ""}));
    EXPECT_EQ(split(",", ","), (Array{"", ""}));
    EXPECT_EQ(split("", ","), (Array{""}));
    EXPECT_EQ(split("abc", ","), (Array{"abc"}));
    EXPECT_EQ(split("a--b", "--"), (Array{"a", "b"}));
    EXPECT_EQ(split("a,b", nullptr), (Array{"a,b"}));
    EXPECT_EQ(split("a,b", ""), (Array{"a,b"}));
}

TEST(StringExtensions, IsMatchMatchesTheWholeText)
{
    EXPECT_TRUE(isMatch("abc123", "[a-z]+[0-9]+"));
    EXPECT_FALSE(isMatch("abc123x", "[a-z]+[0-9]+"));
    EXPECT_FALSE(isMatch("xabc", "abc"));
    EXPECT_TRUE(isMatch("ab", "a|ab"));
    EXPECT_TRUE(isMatch("", ""));
    EXPECT_FALSE(isMatch("a", ""));
    EXPECT_TRUE(isMatch("\xF0\x9F\x8E\xB5", "."));
    EXPECT_TRUE(isMatch("\xC3\xA9t\xC3\xA9", "\\p{L}+"));
    EXPECT_TRUE(isMatch("x@example.org", "[^@]+@[^@]+"));
}

TEST(StringExtensions, IsMatchOfANullOrMalformedPatternIsFalse)
{
    EXPECT_FALSE(isMatch("a", nullptr));
    for (const char *pattern : {"(", "[", "a{2,1}", "*", "\\", "(?<n", "\\p{nothing}"})
        EXPECT_FALSE(isMatch("a", pattern)) << pattern;
}

TEST(StringExtensions, IsMatchGivesUpOnPatternsThatNeverEnd)
{
    // Without a limit each of these would take longer than the test may run, by far.
    EXPECT_FALSE(isMatch(std::string(64, 'a'), "(a+)+b"));
    EXPECT_FALSE(isMatch(std::string(64, 'a'), "(a|aa)+$b"));
}

TEST(StringExtensions, StringReverseReversesUtf16Units)
{
    EXPECT_EQ(stringReverse("abc"), "cba");
    EXPECT_EQ(stringReverse("a\xC3\xA9"),
        "\xC3\xA9"
        "a");
    EXPECT_EQ(stringReverse(""), "");
    const String note = "a\xF0\x9F\x8E\xB5";
    EXPECT_NE(stringReverse(note), note);
    EXPECT_EQ(stringReverse(note).toUtf16(), std::u16string({0xDFB5, 0xD83C, u'a'}));
    EXPECT_EQ(stringReverse(stringReverse(note)), note);
}

TEST(StringExtensions, ContainsFindsAPart)
{
    EXPECT_TRUE(contains("abc", "bc"));
    EXPECT_FALSE(contains("abc", "BC"));
    EXPECT_FALSE(contains("abc", ""));
    EXPECT_FALSE(contains("abc", nullptr));
}

TEST(StringExtensions, HexStringShowsUtf8BytesInUpperCase)
{
    EXPECT_EQ(hexString("\xC3\xA9"), "C3A9");
    EXPECT_EQ(hexString("a\n"), "610A");
    EXPECT_EQ(hexString(""), "");
}

TEST(StringExtensions, StrCompareIgnoresCaseAndWhiteSpaceAround)
{
    EXPECT_TRUE(strCompare(" Abc\n", "aBC"));
    EXPECT_TRUE(strCompare("\xC3\x89t\xC3\xA9", "\xC3\xA9t\xC3\x89"));
    EXPECT_FALSE(strCompare("a b", "ab"));
    EXPECT_FALSE(strCompare("a", nullptr));
}

TEST(StringExtensions, InCaseCompareIgnoresCaseOnly)
{
    EXPECT_TRUE(inCaseCompare("\xC3\x89T\xC3\xA9", "\xC3\xA9t\xC3\x89"));
    EXPECT_FALSE(inCaseCompare(" a", "a"));
    EXPECT_FALSE(inCaseCompare("a", nullptr));
    EXPECT_TRUE(inCaseCompare("", ""));
    EXPECT_TRUE(inCaseCompare(std::string(100, 'A'), std::string(100, 'a')));
}

TEST(StringExtensions, CaseFoldingGrowsTheText)
{
    std::string sharp;
    for (int i = 0; i < 100; ++i)
        sharp += "\xC3\x9F";
    EXPECT_TRUE(inCaseCompare(sharp, std::string(200, 'S')));
}

TEST(StringExtensions, StartsWithIgnoresCase)
{
    EXPECT_TRUE(startsWith("/Volumes/Music", "/volumes"));
    EXPECT_TRUE(startsWith("\xC3\x89t\xC3\xA9", "\xC3\xA9T"));
    EXPECT_FALSE(startsWith("abc", "abcd"));
    EXPECT_FALSE(startsWith("abc", "b"));
    EXPECT_FALSE(startsWith("abc", ""));
    EXPECT_FALSE(startsWith("abc", nullptr));
}

TEST(StringExtensions, HasChineseCharAsksForNothingElse)
{
    EXPECT_TRUE(hasChineseChar("\xE4\xB8\xAD\xE5\x9B\xBD"));
    EXPECT_FALSE(hasChineseChar("\xE4\xB8\xAD"
                                "a"));
    EXPECT_FALSE(hasChineseChar(""));
    EXPECT_TRUE(hasChineseChar("\xE4\xB8\x80\xE9\xBE\xA5")); // the first and the last, U+4E00 and U+9FA5
    EXPECT_FALSE(hasChineseChar("\xE9\xBE\xA6")); // U+9FA6
    EXPECT_FALSE(hasChineseChar("\xE4\xB7\xBF")); // U+4DFF
}

TEST(StringExtensions, FourCharCodesAreBigEndianAndPaddedWithZeros)
{
    EXPECT_EQ(fourCharCode("mp3 "), 0x6D703320U);
    EXPECT_EQ(fourCharCode("mp3"), 0x6D703300U);
    EXPECT_EQ(fourCharCode(""), 0U);
    EXPECT_EQ(fourCharCode("m4a video"), 0x6D346120U);
    EXPECT_EQ(fourCharCode("\xC3\xA9"), 0xC3A90000U);
    EXPECT_EQ(stringWithFourCharCode(0x6D703320), "mp3 ");
    EXPECT_EQ(stringWithFourCharCode(0xA96E616D), "\xC2\xA9nam");
}

TEST(StringExtensions, PathCombineAppendsAComponent)
{
    EXPECT_EQ(pathCombine("/a", "b"), "/a/b");
    EXPECT_EQ(pathCombine("/a/", "b"), "/a/b");
    EXPECT_EQ(pathCombine("/a/", "/b/"), "/a/b");
    EXPECT_EQ(pathCombine("/", "b"), "/b");
    EXPECT_EQ(pathCombine("", "b"), "b");
    EXPECT_EQ(pathCombine("/a", ""), "/a");
    EXPECT_EQ(pathCombine("/a", nullptr), "/a");
    EXPECT_EQ(pathCombine("/100%", "%s\xFF"), "/100%/%s\xFF");
}

} // namespace
} // namespace kelvane
