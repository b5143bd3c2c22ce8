// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/Utils.h>

#include <kelvane/platform/SystemVersion.h>
#include <tests/support/Cost.h>
#include <tests/support/LocalZone.h>

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

using testsupport::LocalZone;

std::string found(const String &text)
{
    const Date date = dateValue(text);
    return date.isNull() ? "none" : date.toIso8601().str();
}

struct DateCase {
    const char *text;
    const char *date;
};

class DatesAtGreenwich : public testing::TestWithParam<DateCase> {};

TEST_P(DatesAtGreenwich, AreFoundAsWritten)
{
    const LocalZone zone("UTC");
    EXPECT_EQ(found(GetParam().text), GetParam().date) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Iso, DatesAtGreenwich,
    testing::Values(DateCase{"2012-05-03", "2012-05-03T12:00:00Z"}, DateCase{"2012-5-3", "2012-05-03T12:00:00Z"},
        DateCase{"2012-05-03T14:05", "2012-05-03T14:05:00Z"}, DateCase{"2012-05-03T14", "2012-05-03T14:00:00Z"},
        DateCase{"2012-05-03 14:05:30", "2012-05-03T14:05:30Z"},
        DateCase{"2012-05-03T14:05:30Z", "2012-05-03T14:05:30Z"},
        DateCase{"2012-05-03T14:05:30.75Z", "2012-05-03T14:05:30Z"},
        DateCase{"2012-05-03T14:05:30,75+02:00", "2012-05-03T12:05:30Z"},
        DateCase{"2012-05-03T14:05-07", "2012-05-03T21:05:00Z"},
        DateCase{"2012-05-03 14:05:30 +0530", "2012-05-03T08:35:30Z"},
        DateCase{"20120503T140530Z", "2012-05-03T14:05:30Z"}, DateCase{"20120503T1405+0200", "2012-05-03T12:05:00Z"},
        DateCase{"20120503", "2012-05-03T12:00:00Z"}, DateCase{"2012-02-29", "2012-02-29T12:00:00Z"},
        DateCase{"0001-01-01", "0001-01-01T12:00:00Z"}, DateCase{"9999-12-31", "9999-12-31T12:00:00Z"}));

INSTANTIATE_TEST_SUITE_P(Headers, DatesAtGreenwich,
    testing::Values(DateCase{"Thu, 03 May 2012 14:05:30 +0200", "2012-05-03T12:05:30Z"},
        DateCase{"3 May 2012 14:05 -0700", "2012-05-03T21:05:00Z"},
        DateCase{"Thu, 3 May 2012 14:05:30 EST", "2012-05-03T19:05:30Z"},
        DateCase{"Sun, 06 Nov 1994 08:49:37 GMT", "1994-11-06T08:49:37Z"},
        DateCase{"Sunday, 06-Nov-94 08:49:37 GMT", "1994-11-06T08:49:37Z"},
        DateCase{"Sunday, 06-Nov-12 08:49:37 GMT", "2012-11-06T08:49:37Z"},
        DateCase{"Sun Nov  6 08:49:37 1994", "1994-11-06T08:49:37Z"},
        DateCase{"Thu May  3 14:05:00 UTC 2012", "2012-05-03T14:05:00Z"},
        DateCase{"Thu May 03 2012 14:05:00 GMT+0200 (CEST)", "2012-05-03T12:05:00Z"},
        DateCase{"Date: Thu,\r\n 3 May\r\n 2012 14:05:00 +0000\r\n", "2012-05-03T14:05:00Z"}));

INSTANTIATE_TEST_SUITE_P(WrittenOut, DatesAtGreenwich,
    testing::Values(DateCase{"3 May 2012", "2012-05-03T12:00:00Z"}, DateCase{"May 3rd, 2012", "2012-05-03T12:00:00Z"},
        DateCase{"may 3 2012", "2012-05-03T12:00:00Z"}, DateCase{"3rd of May, 2012", "2012-05-03T12:00:00Z"},
        DateCase{"21st September 2012", "2012-09-21T12:00:00Z"}, DateCase{"22nd Sept. 2012", "2012-09-22T12:00:00Z"},
        DateCase{"Dec. 24, 2012", "2012-12-24T12:00:00Z"}, DateCase{"03-May-2012", "2012-05-03T12:00:00Z"},
        DateCase{"3 May 2012 14:05", "2012-05-03T14:05:00Z"}, DateCase{"3 May 2012, 2:05 pm", "2012-05-03T14:05:00Z"},
        DateCase{"May 3rd, 2012 at 2:05 p.m.", "2012-05-03T14:05:00Z"},
        DateCase{"May 3, 2012 2PM", "2012-05-03T14:00:00Z"}, DateCase{"May 3, 2012 12:05 am", "2012-05-03T00:05:00Z"},
        DateCase{"May 3, 2012 12:05 pm", "2012-05-03T12:05:00Z"},
        DateCase{"May 3, 2012, 2:05\xE2\x80\xAFPM", "2012-05-03T14:05:00Z"},
        DateCase{"May 3, 2012 2 apples", "2012-05-03T12:00:00Z"}));

INSTANTIATE_TEST_SUITE_P(Numeric, DatesAtGreenwich,
    testing::Values(DateCase{"2012/05/03", "2012-05-03T12:00:00Z"}, DateCase{"05/03/2012", "2012-05-03T12:00:00Z"},
        DateCase{"5/3/2012 14:05", "2012-05-03T14:05:00Z"}, DateCase{"3.5.2012", "2012-05-03T12:00:00Z"},
        DateCase{"03.05.2012, 14:05", "2012-05-03T14:05:00Z"}, DateCase{"(3.5.2012).", "2012-05-03T12:00:00Z"},
        DateCase{"2012-05-03 9:00-10:30", "2012-05-03T09:00:00Z"},
        DateCase{"2012-05-03 14:05:00-05:00", "2012-05-03T19:05:00Z"},
        DateCase{"http://example.org/2012/05/03/news", "2012-05-03T12:00:00Z"},
        DateCase{"2012-05-03,2012-06-01", "2012-06-01T12:00:00Z"},
        DateCase{"\xE6\x96\xBC"
                 "2012-05-03\xE7\x99\xBC",
            "2012-05-03T12:00:00Z"},
        DateCase{"meet on 2012-05-03 and 2012-06-01", "2012-06-01T12:00:00Z"},
        DateCase{"2012-06-01, later 2012-13-01", "2012-06-01T12:00:00Z"}));

INSTANTIATE_TEST_SUITE_P(NoDates, DatesAtGreenwich,
    testing::Values(DateCase{"", "none"}, DateCase{"2012", "none"}, DateCase{"2012-05", "none"},
        DateCase{"12345678", "none"}, DateCase{"20121301", "none"}, DateCase{"120120503", "none"},
        DateCase{"version 3.5.2012.1", "none"}, DateCase{"1.3.5.2012", "none"}, DateCase{"v3.5.1", "none"},
        DateCase{"192.168.10.12", "none"}, DateCase{"$3.50", "none"}, DateCase{"14:05", "none"},
        DateCase{"2:05 pm", "none"}, DateCase{"tomorrow", "none"}, DateCase{"May", "none"}, DateCase{"May 3", "none"},
        DateCase{"3 May", "none"}, DateCase{"Mayor 3, 2012", "none"}, DateCase{"3 Maybe 2012", "none"},
        DateCase{"2012-02-30", "none"}, DateCase{"2011-02-29", "none"}, DateCase{"2012-00-10", "none"},
        DateCase{"0000-01-01", "none"}, DateCase{"2012-05-03-17", "none"}, DateCase{"2012-05/03", "none"},
        DateCase{"13/05/2012", "none"}, DateCase{"5/3/12", "none"}, DateCase{"1/2", "none"},
        DateCase{"2012-05-03T25:00", "none"}, DateCase{"x2012-05-03", "none"}, DateCase{"2012-05-03x", "none"},
        DateCase{"31 June 2012", "none"}, DateCase{"(555) 123-4567", "none"}));

TEST(DateValue, OfNullIsNull)
{
    EXPECT_TRUE(dateValue(nullptr).isNull());
}

TEST(DateValue, IsNullOnSystemsBeforeDateDetectors)
{
    const SystemVersion before = SystemVersion::setCurrent({10, 6});
    EXPECT_EQ(found("2012-05-03T14:05Z"), "none");
    SystemVersion::setCurrent({10, 7});
    EXPECT_EQ(found("2012-05-03T14:05Z"), "2012-05-03T14:05:00Z");
    SystemVersion::setCurrent(before);
}

TEST(DateValue, KeepsFractionsOfASecond)
{
    EXPECT_DOUBLE_EQ(dateValue("2001-01-01T00:00:01.75Z").secondsSince2001(), 1.75);
}

TEST(DateValue, IsInTheLocalZoneUnlessTheTextNamesOne)
{
    const LocalZone kolkata("Asia/Kolkata");
    EXPECT_EQ(found("2012-05-03"), "2012-05-03T06:30:00Z");
    EXPECT_EQ(found("3 May 2012 14:05"), "2012-05-03T08:35:00Z");
    EXPECT_EQ(found("2012-05-03T14:05:00Z"), "2012-05-03T14:05:00Z");
}

TEST(DateValue, FollowsDaylightSavingTime)
{
    const LocalZone newYork("America/New_York");
    EXPECT_EQ(found("2012-01-15"), "2012-01-15T17:00:00Z");
    EXPECT_EQ(found("2012-07-15"), "2012-07-15T16:00:00Z");
    // The night of the change to summer time: 01:59 is followed by 03:00, 02:30 never comes.
    EXPECT_EQ(found("2012-03-11 01:59"), "2012-03-11T06:59:00Z");
    EXPECT_EQ(found("2012-03-11 02:30"), "2012-03-11T07:30:00Z");
    EXPECT_EQ(found("2012-03-11 03:00"), "2012-03-11T07:00:00Z");
    EXPECT_EQ(found("2012-03-11"), "2012-03-11T16:00:00Z");
    // The night of the change back: 01:30 comes twice, the first one counts.
    EXPECT_EQ(found("2012-11-04 00:59"), "2012-11-04T04:59:00Z");
    EXPECT_EQ(found("2012-11-04 01:30"), "2012-11-04T05:30:00Z");
    EXPECT_EQ(found("2012-11-04 02:00"), "2012-11-04T07:00:00Z");
    EXPECT_EQ(found("2012-11-04"), "2012-11-04T17:00:00Z");
}

/// Three zones, two of them without summer time, and days on both sides of its changes.
constexpr const char *zones[] = {"UTC", "America/New_York", "Asia/Kolkata"};

TEST(DateValue, IsTheSameInstantInEveryZoneWhereTheTextNamesOne)
{
    for (const char *name : zones) {
        const LocalZone zone(name);
        EXPECT_EQ(found("2012-03-11T02:30:00Z"), "2012-03-11T02:30:00Z") << name;
        EXPECT_EQ(found("2012-03-11T02:30:00-05:00"), "2012-03-11T07:30:00Z") << name;
        EXPECT_EQ(found("Sun, 04 Nov 2012 01:30:00 -0400"), "2012-11-04T05:30:00Z") << name;
        EXPECT_EQ(found("Sun, 04 Nov 2012 01:30:00 EST"), "2012-11-04T06:30:00Z") << name;
        EXPECT_EQ(found("20120503T140530Z"), "2012-05-03T14:05:30Z") << name;
    }
}

TEST(DateValue, IsTheSameTimeOfDayInEveryZoneWhereTheTextNamesNone)
{
    for (const char *name : zones) {
        const LocalZone zone(name);
        const auto shown = [](const char *text) { return Utils::stringFromDate("yyyy-MM-dd HH:mm", dateValue(text)); };
        for (const char *day : {"2012-03-10", "2012-03-11", "2012-03-12", "2012-11-03", "2012-11-04", "2012-11-05"}) {
            EXPECT_EQ(shown(day), std::string(day) + " 12:00") << name;
            for (const char *time : {" 00:30", " 01:59", " 03:00", " 23:59"})
                EXPECT_EQ(shown((std::string(day) + time).c_str()), std::string(day) + time) << name;
        }
    }
}

TEST(DateValue, TakesTimeInProportionToTheText)
{
    // Each of them begins many dates and finishes none, or one at every turn: looking back or ahead without end would take
    // hours.
    for (const char *unit : {"1", "a", " ", "1/", "may ", "3 ", "2012-05-03 1", "12:", "3 may\n", "2012-05-03 "}) {
        std::string text;
        while (text.size() < 1'000'000)
            text += unit;
        const auto cost = testsupport::costOf([whole = String(text)] { static_cast<void>(dateValue(whole)); });
        EXPECT_TRUE(cost.isDone) << unit;
        EXPECT_LT(cost.processorSeconds, 5 * testsupport::sanitizerFactor) << unit;
    }
}

TEST(DateValue, DoesNotDependOnWhatWasAskedBefore)
{
    const LocalZone newYork("America/New_York");
    for (const char *before : {"2012-01-15", "2012-07-15", "2012-01-15"}) {
        EXPECT_NE(found(before), "none");
        EXPECT_EQ(found("2012-11-04 01:30"), "2012-11-04T05:30:00Z");
    }
}

} // namespace
} // namespace kelvane
