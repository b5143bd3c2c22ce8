// SPDX-License-Identifier: Apache-2.0
// The macros that the class must live with.
#include <sys/sysmacros.h>

#include <kelvane/common/Version.h>

#include <kelvane/foundation/Exception.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace kelvane {
namespace {

std::string all(const Version &version)
{
    return std::to_string((version.major)()) + "," + std::to_string((version.minor)()) + ","
        + std::to_string(version.build()) + "," + std::to_string(version.revision());
}

/// "name: reason" of what `work` throws.
std::string thrown(const std::function<void()> &work)
{
    try {
        work();
    } catch (const Exception &exception) {
        EXPECT_TRUE(exception.userInfo().isEmpty());
        return exception.name().str() + ": " + exception.reason().str();
    }
    return "nothing";
}

TEST(Version, MissingPartsAreMinusOne)
{
    EXPECT_EQ(all(Version(3, 1)), "3,1,-1,-1");
    EXPECT_EQ(all(Version(3, 1, 2)), "3,1,2,-1");
    EXPECT_EQ(all(Version(3, 1, 2, 4)), "3,1,2,4");
}

TEST(Version, NegativePartsThrowTheirOwnErrors)
{
    EXPECT_EQ(thrown([] { Version(-1, 0); }), "major error: There major value can't less than 0.");
    EXPECT_EQ(thrown([] { Version(0, -1); }), "minor error: There minor value can't less than 0.");
    EXPECT_EQ(thrown([] { Version(0, 0, -1); }), "build error: There build value can't less than 0.");
    EXPECT_EQ(thrown([] { Version(0, 0, 0, -1); }), "revision error: There revision value can't less than 0.");
}

TEST(Version, CheckedSetStoresPartByPartBeforeItThrows)
{
    Version version(1, 2, 3, 4);
    EXPECT_EQ(thrown([&] { version.checkedSet(4, 5, 6, -1, 8); }), "build error: There build value can't less than 0.");
    EXPECT_EQ(all(version), "5,6,3,4");
    version.checkedSet(2, 7, 8, -5, -5);
    EXPECT_EQ(all(version), "7,8,-1,-1");
    version.checkedSet(3, 7, 8, 9, -5);
    EXPECT_EQ(all(version), "7,8,9,-1");
}

TEST(Version, SettersTakeAnything)
{
    Version version;
    version.setMajor(-1);
    version.setMinor(-2);
    version.setBuild(-3);
    version.setRevision(-4);
    EXPECT_EQ(all(version), "-1,-2,-3,-4");
}

TEST(Version, StrictParserReadsTwoToFourParts)
{
    EXPECT_EQ(all(Version("1.2")), "1,2,-1,-1");
    EXPECT_EQ(all(Version("1..3")), "1,0,3,-1");
    EXPECT_EQ(all(Version("1.2.3.4")), "1,2,3,4");
    EXPECT_EQ(all(Version(" 1.2b7.x")), "1,2,0,-1");
    EXPECT_EQ(all(Version(".")), "0,0,-1,-1");
    EXPECT_EQ(all(Version("99999999999.1")), "2147483647,1,-1,-1");
    EXPECT_EQ(all(Version(String())), "0,0,0,0");
}

TEST(Version, StrictParserThrowsBuildErrorForOnePart)
{
    for (const char *text : {"1", "", "+5", "abc"})
        EXPECT_EQ(thrown([&] { Version{text}; }), "build error: There build value can't less than 0.") << text;
}

TEST(Version, StrictParserThrowsForTooManyAndForNegativeParts)
{
    const char *tooMany = "InitWithVersion Failed: There must be 2, 3 or 4 components in the version string.";
    EXPECT_EQ(thrown([] { Version("1.2.3.4.5"); }), tooMany);
    EXPECT_EQ(thrown([] { Version("...."); }), tooMany);
    EXPECT_EQ(thrown([] { Version("-1.2"); }), "major error: There major value can't less than 0.");
    EXPECT_EQ(thrown([] { Version("1.2.-3"); }), "build error: There build value can't less than 0.");
}

TEST(Version, LenientParserTakesTheDigitsItFinds)
{
    EXPECT_EQ(all(Version::createFromString("v10.2-beta3")), "10,2,3,0");
    EXPECT_EQ(all(Version::createFromString("")), "0,0,0,0");
    EXPECT_EQ(all(Version::createFromString(nullptr)), "0,0,0,0");
    EXPECT_EQ(all(Version::createFromString("1.2.3.4.5")), "1,2,3,4");
    EXPECT_EQ(all(Version::createFromString("1.2.3.4x5")), "1,2,3,4");
    EXPECT_EQ(all(Version::createFromString("no digits")), "0,0,0,0");
    EXPECT_EQ(all(Version::createFromString("7")), "7,0,0,0");
}

TEST(Version, LenientParserOverflowsWithoutThrowing)
{
    EXPECT_EQ(all(Version::createFromString("4294967297.2147483648")), "1,-2147483648,0,0");
}

TEST(Version, CompareGoesPartByPart)
{
    EXPECT_EQ(Version(2, 0).compare(std::nullopt), 1);
    EXPECT_EQ(Version("1.2").compare(Version("1.2.0")), -1);
    EXPECT_EQ(Version(1, 2).compare(Version(1, 2)), 0);
    EXPECT_EQ(Version(2, 0).compare(Version(1, 9, 9, 9)), 1);
    EXPECT_EQ(Version(1, 2, 3, 4).compare(Version(1, 2, 3, 5)), -1);
    EXPECT_EQ(Version(1, 2, 4).compare(Version(1, 2, 3, 9)), 1);
    EXPECT_TRUE(Version(1, 2) < Version(1, 3));
}

TEST(Version, EqualsAsksForAllFourParts)
{
    EXPECT_FALSE(Version(1, 2).isEquals(std::nullopt));
    EXPECT_TRUE(Version(1, 2).isEquals(Version("1.2")));
    EXPECT_FALSE(Version("1.2").isEquals(Version::createFromString("1.2")));
}

TEST(Version, ToStringPrintsBuildAndRevisionEachByItself)
{
    EXPECT_EQ(Version(3, 1).toString(), "3.1");
    EXPECT_EQ(Version::createFromString("3.1").toString(), "3.1.0.0");
    EXPECT_EQ(Version(3, 1, 2).toString(), "3.1.2");
    Version version(3, 1);
    version.setRevision(7);
    EXPECT_EQ(version.toString(), "3.1.7");
}

} // namespace
} // namespace kelvane
