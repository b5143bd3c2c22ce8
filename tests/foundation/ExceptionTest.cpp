// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Exception.h>
#include <kelvane/foundation/Value.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using kelvane::Dictionary;
using kelvane::Exception;
using kelvane::String;

TEST(Exception, CarriesNameReasonAndUserInformation)
{
    const Exception exception("CopyException", "no space left", Dictionary{{"path", "/a"}});
    EXPECT_EQ(exception.name(), "CopyException");
    EXPECT_EQ(exception.reason(), "no space left");
    EXPECT_EQ(exception.userInfo()["path"].string(), "/a");
    EXPECT_EQ(exception.description(), "no space left");
    EXPECT_STREQ(exception.what(), "no space left");
}

TEST(Exception, DescribesItselfByNameWhereThereIsNoReason)
{
    EXPECT_EQ(Exception("Plain").description(), "Plain");
    EXPECT_STREQ(Exception("Plain").what(), "Plain");
    EXPECT_TRUE(Exception("Plain").reason().isNull());
    EXPECT_EQ(Exception(String()).name(), "Exception");
}

TEST(Exception, TakesTheCallStackWhereItIsMade)
{
    const Exception exception("Here");
    const auto symbols = exception.callStackSymbols();
    EXPECT_EQ(symbols.size(), exception.callStackReturnAddresses().size());
    // The outermost frames are the program's start, in a module that has a name.
    ASSERT_GT(symbols.size(), 3U);
    EXPECT_NE(symbols.back().view().find('/'), std::string_view::npos) << symbols.back().c_str();
    EXPECT_TRUE(std::any_of(symbols.begin(), symbols.end(),
        [](const String &line) { return line.view().find("foundation_test") != std::string_view::npos; }));
}

TEST(Exception, IsCaughtAsAStandardException)
{
    try {
        throw Exception("Name", "Reason");
    } catch (const std::exception &caught) {
        const auto exception = Exception::from(caught);
        EXPECT_EQ(exception->name(), "Name");
        EXPECT_EQ(exception->reason(), "Reason");
    }
}

TEST(Exception, IsMadeFromAnyStandardException)
{
    const auto exception = Exception::from(std::out_of_range("index 7"));
    EXPECT_EQ(exception->name(), "std::out_of_range");
    EXPECT_EQ(exception->reason(), "index 7");
    EXPECT_FALSE(exception->callStackReturnAddresses().empty());
}
