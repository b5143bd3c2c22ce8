// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FMResultSet.h>

#include <kelvane/platform/FMDatabase.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

using kelvane::Data;
using kelvane::Date;
using kelvane::Dictionary;
using kelvane::FMDatabase;
using kelvane::NullObject;
using kelvane::String;
using kelvane::Value;

namespace {

using namespace std::string_view_literals;

class FMResultSetTest : public testing::Test {
protected:
    FMResultSetTest() { EXPECT_TRUE(database->open()); }

    std::shared_ptr<kelvane::FMResultSet> rowOf(const String &sql)
    {
        auto results = database->executeQuery(sql);
        EXPECT_TRUE(results && results->next()) << database->lastErrorMessage().c_str();
        return results;
    }

    std::optional<FMDatabase> database{std::in_place, nullptr};
};

} // namespace

TEST_F(FMResultSetTest, DictionariesKeepTheStoredTypes)
{
    const auto row = rowOf("SELECT 9223372036854775807 AS big, 2.0 AS real, 'a' || char(0) || 'b' AS text, "
                           "x'00ff' AS blob, x'' AS hollow, NULL AS \"null\", '' AS empty")
                         ->resultDictionary();
    EXPECT_EQ(row.size(), 7U);
    EXPECT_EQ(row["big"].kind(), Value::Kind::Int64);
    EXPECT_EQ(row["big"], Value(9223372036854775807LL));
    EXPECT_EQ(row["real"].kind(), Value::Kind::Double);
    EXPECT_EQ(row["real"], Value(2.0));
    EXPECT_EQ(row["text"].string().view(), "a\0b"sv);
    EXPECT_EQ(row["blob"].data(), Data("\0\xff", 2));
    EXPECT_EQ(row["hollow"].data(), Data("", 0));
    EXPECT_TRUE(row["null"].isNullObject());
    EXPECT_EQ(row["empty"].string(), "");
}

TEST_F(FMResultSetTest, OfEqualColumnNamesTheLastValueStays)
{
    const auto row = rowOf("SELECT 1 AS a, 2 AS b, 3 AS a")->resultDictionary();
    EXPECT_EQ(row, (Dictionary{{"a", 3}, {"b", 2}}));
}

TEST_F(FMResultSetTest, RowsAreIndependentOfEachOther)
{
    const auto results = database->executeQuery("VALUES (1, 'x'), (NULL, 2.5), ('y', x'00')");
    ASSERT_TRUE(results->next());
    auto first = results->resultDictionary();
    ASSERT_TRUE(results->next());
    const auto second = results->resultDictionary();
    ASSERT_TRUE(results->next());
    const auto third = results->resultDictionary();
    EXPECT_FALSE(results->next());
    EXPECT_EQ(first, (Dictionary{{"column1", 1}, {"column2", "x"}}));
    EXPECT_EQ(second, (Dictionary{{"column1", NullObject{}}, {"column2", 2.5}}));
    EXPECT_EQ(third, (Dictionary{{"column1", "y"}, {"column2", Data("\0", 1)}}));
    first.set("column3", 3);
    EXPECT_EQ(second.size(), 2U);
}

TEST_F(FMResultSetTest, TheSameRowReadsTheSameTwice)
{
    const auto results = rowOf("SELECT 'text' AS t, x'0102' AS b, 5 AS i");
    const auto first = results->resultDictionary();
    EXPECT_EQ(results->dataForColumnIndex(0), Data("text", 4));
    EXPECT_EQ(results->dataForColumnIndex(2), Data("5", 1));
    EXPECT_EQ(results->resultDictionary(), first);
}

TEST_F(FMResultSetTest, TextOfAUtf16DatabaseReadsAsUtf8)
{
    ASSERT_TRUE(database->executeUpdate("PRAGMA encoding = 'UTF-16le'"));
    ASSERT_TRUE(database->executeUpdate("CREATE TABLE t (ä)"));
    ASSERT_TRUE(database->executeUpdate("INSERT INTO t VALUES (?)", kelvane::Array{"Grüße 🎵"}));
    const auto results = rowOf("SELECT * FROM t");
    EXPECT_EQ(results->stringForColumnIndex(0), "Grüße 🎵");
    EXPECT_EQ(results->resultDictionary(), (Dictionary{{"ä", "Grüße 🎵"}}));
}

TEST_F(FMResultSetTest, ReadersConvert)
{
    const auto results = rowOf("SELECT '12abc', 4294967297, 2.9, x'6869', 0.5, 1335960000.5, '-3e2'");
    EXPECT_EQ(results->intForColumnIndex(0), 12);
    EXPECT_EQ(results->intForColumnIndex(1), 1) << "the lower 32 bits";
    EXPECT_EQ(results->longForColumnIndex(1), 4294967297);
    EXPECT_EQ(results->longForColumnIndex(2), 2);
    EXPECT_EQ(results->stringForColumnIndex(2), "2.9");
    EXPECT_EQ(results->stringForColumnIndex(3), "hi");
    EXPECT_FALSE(results->boolForColumnIndex(4));
    EXPECT_TRUE(results->boolForColumnIndex(1));
    EXPECT_EQ(results->dateForColumnIndex(5), Date::fromSecondsSince1970(1335960000.5));
    EXPECT_EQ(results->doubleForColumnIndex(6), -300.0);
}

TEST_F(FMResultSetTest, NullAndColumnsThatDoNotExistReadAsNothing)
{
    const auto results = rowOf("SELECT NULL");
    for (const int index : {0, 1, -1, 2147483647}) {
        EXPECT_TRUE(results->stringForColumnIndex(index).isNull());
        EXPECT_TRUE(results->dataForColumnIndex(index).isNull());
        EXPECT_TRUE(results->dateForColumnIndex(index).isNull());
        EXPECT_TRUE(results->objectForColumnIndex(index).isNullObject());
        EXPECT_EQ(results->intForColumnIndex(index), 0);
        EXPECT_EQ(results->longForColumnIndex(index), 0);
        EXPECT_EQ(results->doubleForColumnIndex(index), 0.0);
        EXPECT_FALSE(results->boolForColumnIndex(index));
    }
}

TEST_F(FMResultSetTest, HasNoRowBeforeNextAndAfterTheEnd)
{
    const auto results = database->executeQuery("SELECT 5 AS a");
    EXPECT_TRUE(results->resultDictionary().isNull());
    EXPECT_EQ(results->intForColumnIndex(0), 0);
    EXPECT_TRUE(results->next());
    EXPECT_EQ(results->intForColumnIndex(0), 5);
    EXPECT_FALSE(results->next());
    EXPECT_FALSE(results->next()) << "the query does not start again";
    EXPECT_TRUE(results->resultDictionary().isNull());
    EXPECT_EQ(results->intForColumnIndex(0), 0);
}

TEST_F(FMResultSetTest, ClosingEndsTheRows)
{
    const auto results = rowOf("VALUES (1), (2)");
    results->close();
    results->close();
    EXPECT_FALSE(results->next());
    EXPECT_TRUE(results->resultDictionary().isNull());
}

TEST_F(FMResultSetTest, ClosingTheDatabaseEndsTheRows)
{
    const auto results = rowOf("VALUES ('x'), ('y')");
    const auto row = results->resultDictionary();
    EXPECT_TRUE(database->close());
    EXPECT_FALSE(results->next());
    EXPECT_TRUE(results->stringForColumnIndex(0).isNull());
    EXPECT_EQ(row["column1"].string(), "x");
}

TEST_F(FMResultSetTest, MayOutliveItsDatabase)
{
    const auto results = rowOf("VALUES (1), (2)");
    database.reset();
    EXPECT_FALSE(results->next());
    EXPECT_TRUE(results->objectForColumnIndex(0).isNullObject());
    results->setParentDB(nullptr);
    results->close();
}

TEST_F(FMResultSetTest, IsReadWithoutItsDatabaseKnowingOfErrors)
{
    ASSERT_TRUE(database->executeUpdate("CREATE TABLE t (a)"));
    ASSERT_TRUE(database->executeUpdate("INSERT INTO t VALUES (1), (-9223372036854775807 - 1)"));
    const String sql = "SELECT abs(a) FROM t"; // the second row overflows
    const auto known = rowOf(sql);
    EXPECT_FALSE(known->next());
    EXPECT_EQ(database->lastErrorMessage(), "integer overflow");
    const auto unknown = rowOf(sql);
    unknown->setParentDB(nullptr);
    EXPECT_FALSE(unknown->next());
    EXPECT_EQ(database->lastErrorCode(), 0);
    const auto again = rowOf(sql);
    again->setParentDB(nullptr);
    again->setParentDB(&*database);
    EXPECT_FALSE(again->next());
    EXPECT_NE(database->lastErrorCode(), 0);
}
