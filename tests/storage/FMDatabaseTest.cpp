// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FMDatabase.h>

#include <tests/storage/SqliteFiles.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>

using kelvane::Array;
using kelvane::Data;
using kelvane::Date;
using kelvane::Dictionary;
using kelvane::FMDatabase;
using kelvane::NullObject;
using kelvane::Object;
using kelvane::String;
using kelvane::Value;
using kelvane::testsupport::makeMediaDatabase;
using kelvane::testsupport::TemporaryFolder;

namespace {

using namespace std::string_view_literals;

constexpr int constraintCode = 19; // SQLITE_CONSTRAINT
constexpr int busyCode = 5; // SQLITE_BUSY

/// An open database in memory.
class FMDatabaseInMemory : public testing::Test {
protected:
    FMDatabaseInMemory() { EXPECT_TRUE(database.open()); }

    Value scalar(const String &sql, const Array &arguments = nullptr)
    {
        const auto results = database.executeQuery(sql, arguments);
        return results && results->next() ? results->objectForColumnIndex(0) : Value();
    }

    FMDatabase database{nullptr};
};

struct BindCase {
    const char *name;
    Value value;
    const char *type; // as SQLite tells it
    Value readBack;
};

class FMDatabaseBinding : public FMDatabaseInMemory, public testing::WithParamInterface<BindCase> {};

} // namespace

// Opening and asking

TEST(FMDatabase, IsClosedUntilItIsOpened)
{
    FMDatabase database(nullptr);
    EXPECT_FALSE(database.goodConnection());
    EXPECT_FALSE(database.executeUpdate("CREATE TABLE t (a)"));
    EXPECT_EQ(database.lastErrorMessage(), "the database is not open");
    EXPECT_EQ(database.executeQuery("SELECT 1"), nullptr);
    EXPECT_FALSE(database.beginTransaction());
    EXPECT_FALSE(database.inTransaction());
    EXPECT_TRUE(database.open());
    EXPECT_TRUE(database.goodConnection());
    EXPECT_TRUE(database.close());
    EXPECT_FALSE(database.goodConnection());
    EXPECT_TRUE(database.close());
}

TEST(FMDatabase, OpeningAnOpenGoodDatabaseKeepsItsTransaction)
{
    FMDatabase database(nullptr);
    ASSERT_TRUE(database.open());
    ASSERT_TRUE(database.beginTransaction());
    EXPECT_TRUE(database.open());
    EXPECT_TRUE(database.inTransaction());
}

TEST(FMDatabase, OpeningMakesAnEmptyFileWhereThereIsNone)
{
    const TemporaryFolder folder;
    FMDatabase database(folder.string("new.db"));
    EXPECT_EQ(database.databasePath(), folder.string("new.db"));
    EXPECT_TRUE(database.open());
    EXPECT_TRUE(std::filesystem::exists(folder.path("new.db")));
}

TEST(FMDatabase, AnEmptyPathIsATemporaryDatabase)
{
    FMDatabase database("");
    ASSERT_TRUE(database.open());
    EXPECT_TRUE(database.executeUpdate("CREATE TABLE t (a)"));
    EXPECT_TRUE(database.goodConnection());
}

// Transactions

TEST_F(FMDatabaseInMemory, TransactionsCommitRollBackAndDoNotNest)
{
    ASSERT_TRUE(database.executeUpdate("CREATE TABLE t (a)"));
    EXPECT_FALSE(database.commit());
    EXPECT_FALSE(database.rollback());
    EXPECT_TRUE(database.beginTransaction());
    EXPECT_TRUE(database.inTransaction());
    EXPECT_FALSE(database.beginTransaction());
    EXPECT_TRUE(database.executeUpdate("INSERT INTO t VALUES (1)"));
    EXPECT_TRUE(database.rollback());
    EXPECT_FALSE(database.inTransaction());
    EXPECT_EQ(scalar("SELECT count(*) FROM t"), Value(0));
    EXPECT_TRUE(database.beginTransaction());
    EXPECT_TRUE(database.executeUpdate("INSERT INTO t VALUES (1)"));
    EXPECT_TRUE(database.commit());
    EXPECT_EQ(scalar("SELECT count(*) FROM t"), Value(1));
}

TEST_F(FMDatabaseInMemory, ATransactionBegunBySqlCountsAsOne)
{
    EXPECT_TRUE(database.executeUpdate("BEGIN"));
    EXPECT_TRUE(database.inTransaction());
    EXPECT_TRUE(database.commit());
}

TEST(FMDatabase, ATransactionLocksOthersOutAtOnce)
{
    const TemporaryFolder folder;
    makeMediaDatabase(folder.string("a.db"), 1);
    FMDatabase mine(folder.string("a.db"));
    FMDatabase other(folder.string("a.db"));
    other.setMaxBusyRetryTimeInterval(0);
    ASSERT_TRUE(mine.open() && other.open());
    ASSERT_TRUE(mine.beginTransaction());
    EXPECT_FALSE(other.beginTransaction());
    EXPECT_EQ(other.lastErrorCode(), busyCode);
    const auto results = other.executeQuery("SELECT title FROM media");
    EXPECT_FALSE(results && results->next());
    EXPECT_TRUE(mine.commit());
    EXPECT_TRUE(other.beginTransaction());
}

TEST(FMDatabase, ALockedDatabaseFailsAtTheTimeLimit)
{
    using namespace std::chrono;
    const TemporaryFolder folder;
    makeMediaDatabase(folder.string("a.db"), 1);
    FMDatabase mine(folder.string("a.db"));
    FMDatabase other(folder.string("a.db"));
    EXPECT_EQ(other.maxBusyRetryTimeInterval(), 2.0);
    other.setMaxBusyRetryTimeInterval(60);
    ASSERT_TRUE(mine.open() && mine.beginTransaction());
    const auto begin = steady_clock::now();
    EXPECT_TRUE(other.open()) << "locked is not broken";
    EXPECT_TRUE(other.goodConnection());
    EXPECT_LT(steady_clock::now() - begin, seconds(30)) << "asking does not wait";
    other.setMaxBusyRetryTimeInterval(0.2);
    const auto waiting = steady_clock::now();
    EXPECT_FALSE(other.executeUpdate("DELETE FROM media"));
    const auto waited = steady_clock::now() - waiting;
    EXPECT_GE(waited, milliseconds(200));
    EXPECT_LT(waited, seconds(5));
    EXPECT_EQ(other.lastErrorCode(), busyCode);
}

TEST(FMDatabase, ANonsensicalTimeLimitMeansNotToWait)
{
    FMDatabase database(nullptr);
    database.setMaxBusyRetryTimeInterval(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(database.maxBusyRetryTimeInterval(), 0.0);
    database.setMaxBusyRetryTimeInterval(-1);
    EXPECT_EQ(database.maxBusyRetryTimeInterval(), 0.0);
}

// Binding

TEST_P(FMDatabaseBinding, KeepsKindAndValue)
{
    const auto &row = GetParam();
    EXPECT_EQ(scalar("SELECT typeof(?)", Array{row.value}), Value(row.type));
    const auto readBack = scalar("SELECT ?", Array{row.value});
    EXPECT_EQ(readBack.kind(), row.readBack.kind());
    EXPECT_EQ(readBack, row.readBack) << readBack.description().c_str();
}

INSTANTIATE_TEST_SUITE_P(Table, FMDatabaseBinding,
    testing::Values(BindCase{"Nil", Value(), "null", NullObject{}},
        BindCase{"NullObject", NullObject{}, "null", NullObject{}}, BindCase{"True", true, "integer", 1},
        BindCase{"False", false, "integer", 0},
        BindCase{"SmallestInt", std::numeric_limits<std::int64_t>::min(), "integer",
            std::numeric_limits<std::int64_t>::min()},
        BindCase{"LargestInt", std::numeric_limits<std::int64_t>::max(), "integer",
            std::numeric_limits<std::int64_t>::max()},
        BindCase{"Unsigned", 7U, "integer", 7},
        BindCase{"UnsignedAboveTheSignedRangeKeepsItsBits", std::numeric_limits<std::uint64_t>::max(), "integer", -1},
        BindCase{"Double", 0.1, "real", 0.1}, BindCase{"WholeDouble", 2.0, "real", 2.0},
        BindCase{"NotANumber", std::numeric_limits<double>::quiet_NaN(), "null", NullObject{}},
        BindCase{"Infinity", std::numeric_limits<double>::infinity(), "real", std::numeric_limits<double>::infinity()},
        BindCase{"DateAsSecondsSince1970", Date::fromSecondsSince1970(1335960000.25), "real", 1335960000.25},
        BindCase{"Text", "Ça ira", "text", "Ça ira"}, BindCase{"EmptyText", "", "text", ""},
        BindCase{"TextWithNuls", String("a\0b\0"sv), "text", String("a\0b\0"sv)},
        BindCase{"TextThatIsNotUtf8", String("\xff\xfe"sv), "text", String("\xff\xfe"sv)},
        BindCase{"Blob", Data("\0\1\2", 3), "blob", Data("\0\1\2", 3)},
        BindCase{"EmptyBlobIsNotNull", Data("", 0), "blob", Data("", 0)},
        BindCase{"ArrayByItsText", Array{1, "x"}, "text", "(1, x)"},
        BindCase{"DictionaryByItsText", Dictionary{{"a", 1}}, "text", "{a = 1}"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(FMDatabaseInMemory, AnObjectBindsByItsText)
{
    const Object object = Object::of(5);
    EXPECT_EQ(scalar("SELECT ?", Array{object}), Value(Value(object).description()));
}

TEST_F(FMDatabaseInMemory, ArgumentsOneByOneBindByTheirType)
{
    const auto results = database.executeQuery(
        "SELECT ?, ?, ?, typeof(?), ?, ?", 7, 2.5, std::string("text"), true, nullptr, std::string_view("view"));
    ASSERT_TRUE(results && results->next());
    EXPECT_EQ(results->longForColumnIndex(0), 7);
    EXPECT_EQ(results->doubleForColumnIndex(1), 2.5);
    EXPECT_EQ(results->stringForColumnIndex(2), "text");
    EXPECT_EQ(results->stringForColumnIndex(3), "integer");
    EXPECT_TRUE(results->objectForColumnIndex(4).isNullObject());
    EXPECT_EQ(results->stringForColumnIndex(5), "view");
}

TEST_F(FMDatabaseInMemory, NamedParametersTakeArgumentsInOrder)
{
    const auto results = database.executeQuery("SELECT :b - :a", 10, 3);
    ASSERT_TRUE(results && results->next());
    EXPECT_EQ(results->intForColumnIndex(0), 7);
}

TEST_F(FMDatabaseInMemory, TooFewArgumentsFailAndFurtherOnesAreIgnored)
{
    EXPECT_EQ(database.executeQuery("SELECT ?, ?", 1), nullptr);
    EXPECT_EQ(database.lastErrorMessage(), "the statement has more parameters than there are arguments");
    EXPECT_FALSE(database.executeUpdate("SELECT ?"));
    EXPECT_EQ(scalar("SELECT ?", Array{1, 2, 3}), Value(1));
}

TEST_F(FMDatabaseInMemory, ValuesOfOneRunDoNotReachTheNext)
{
    ASSERT_TRUE(database.executeUpdate("CREATE TABLE t (a)"));
    ASSERT_TRUE(database.executeUpdate("INSERT INTO t VALUES (?)", Array{"first"}));
    EXPECT_FALSE(database.executeUpdate("INSERT INTO t VALUES (?)"));
    EXPECT_EQ(scalar("SELECT count(*) FROM t"), Value(1));
}

TEST_F(FMDatabaseInMemory, AResultKeepsItsArgumentsAlive)
{
    std::shared_ptr<kelvane::FMResultSet> results;
    {
        const Array arguments{String(std::string(100000, 'x'))};
        results = database.executeQuery("SELECT ?", arguments);
    }
    ASSERT_TRUE(results && results->next());
    EXPECT_EQ(results->stringForColumnIndex(0), std::string(100000, 'x').c_str());
}

// Statements

TEST_F(FMDatabaseInMemory, WrongStatementsFailWithAReason)
{
    EXPECT_FALSE(database.executeUpdate("INSERT INTO nowhere VALUES (1)"));
    EXPECT_EQ(database.lastErrorMessage(), "no such table: nowhere");
    EXPECT_EQ(database.executeQuery("SELEKT"), nullptr);
    EXPECT_NE(database.lastErrorCode(), 0);
    for (const char *nothing : {"", "  ", "-- only words", ";"}) {
        EXPECT_FALSE(database.executeUpdate(nothing)) << nothing;
        EXPECT_EQ(database.lastErrorMessage(), "the SQL text holds no statement");
    }
    EXPECT_FALSE(database.executeUpdate(nullptr));
    EXPECT_FALSE(database.executeUpdate(String("SELECT 1\0; and more"sv)));
    EXPECT_EQ(database.lastErrorMessage(), "the SQL text holds a NUL character");
}

TEST_F(FMDatabaseInMemory, ASecondStatementIsRefusedAndTheFirstNotRun)
{
    EXPECT_FALSE(database.executeUpdate("CREATE TABLE a (x); CREATE TABLE b (x)"));
    EXPECT_EQ(database.lastErrorMessage(), "the SQL text holds more than one statement");
    EXPECT_EQ(scalar("SELECT count(*) FROM sqlite_master"), Value(0));
    EXPECT_TRUE(database.executeUpdate("CREATE TABLE a (x); -- done\n ;"));
}

TEST_F(FMDatabaseInMemory, AnUpdateThatYieldsRowsRunsToItsEnd)
{
    ASSERT_TRUE(database.executeUpdate("CREATE TABLE t (a)"));
    EXPECT_TRUE(database.executeUpdate("INSERT INTO t VALUES (1), (2), (3) RETURNING a"));
    EXPECT_EQ(scalar("SELECT count(*) FROM t"), Value(3));
}

TEST_F(FMDatabaseInMemory, TheLastErrorSurvivesTheRollbackAndGoesWithTheNextStatement)
{
    ASSERT_TRUE(database.executeUpdate("CREATE TABLE t (a UNIQUE)"));
    EXPECT_EQ(database.lastErrorCode(), 0);
    EXPECT_TRUE(database.lastErrorMessage().isNull());
    ASSERT_TRUE(database.beginTransaction());
    EXPECT_FALSE(database.executeUpdate("INSERT INTO t VALUES (1), (1)"));
    ASSERT_TRUE(database.rollback());
    EXPECT_TRUE(database.goodConnection());
    EXPECT_EQ(database.lastErrorCode(), constraintCode);
    EXPECT_EQ(database.lastErrorMessage(), "UNIQUE constraint failed: t.a");
    EXPECT_TRUE(database.executeUpdate("INSERT INTO t VALUES (1)"));
    EXPECT_EQ(database.lastErrorCode(), 0);
}

TEST_F(FMDatabaseInMemory, TheSameQueryMayBeOpenTwice)
{
    const String sql = "WITH n (i) AS (VALUES (1), (2)) SELECT i, ? FROM n";
    const auto outer = database.executeQuery(sql, "outer");
    ASSERT_TRUE(outer->next());
    const auto inner = database.executeQuery(sql, "inner");
    ASSERT_TRUE(inner->next() && inner->next());
    EXPECT_EQ(inner->intForColumnIndex(0), 2);
    EXPECT_EQ(inner->stringForColumnIndex(1), "inner");
    EXPECT_EQ(outer->intForColumnIndex(0), 1);
    EXPECT_EQ(outer->stringForColumnIndex(1), "outer");
    EXPECT_FALSE(inner->next());
    EXPECT_TRUE(outer->next());
}

TEST_F(FMDatabaseInMemory, KeptStatementsAreUsedAgainAndBounded)
{
    const auto prepared = [&] { return scalar("SELECT count(*) FROM sqlite_stmt").longLongValue(); };
    if (!database.executeQuery("SELECT 1 FROM sqlite_stmt"))
        GTEST_SKIP() << "this SQLite does not list its statements";
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(scalar("SELECT 'again'"), Value("again"));
    EXPECT_EQ(scalar("SELECT count(*) FROM sqlite_stmt WHERE sql = 'SELECT ''again'''"), Value(1));
    EXPECT_EQ(scalar("SELECT run FROM sqlite_stmt WHERE sql = 'SELECT ''again'''"), Value(10));
    for (std::int64_t i = 0; i < 200; ++i)
        EXPECT_EQ(scalar("SELECT " + String::number(i)), Value(i));
    EXPECT_LE(prepared(), 33);
    const String longText = "SELECT '" + String(std::string(100000, 'x')) + "'";
    EXPECT_TRUE(database.executeQuery(longText)->next());
    EXPECT_EQ(scalar("SELECT count(*) FROM sqlite_stmt WHERE length(sql) > 50000"), Value(0));
}

TEST_F(FMDatabaseInMemory, AKeptStatementSeesChangesOfTheSchema)
{
    ASSERT_TRUE(database.executeUpdate("CREATE TABLE t (a)"));
    ASSERT_TRUE(database.executeUpdate("INSERT INTO t VALUES (1)"));
    const auto row = [&] {
        const auto results = database.executeQuery("SELECT * FROM t");
        return results && results->next() ? results->resultDictionary() : Dictionary();
    };
    EXPECT_EQ(row(), (Dictionary{{"a", 1}}));
    ASSERT_TRUE(database.executeUpdate("ALTER TABLE t ADD COLUMN b DEFAULT 'new'"));
    EXPECT_EQ(row(), (Dictionary{{"a", 1}, {"b", "new"}}));
    ASSERT_TRUE(database.executeUpdate("DROP TABLE t"));
    EXPECT_TRUE(row().isNull());
}

TEST_F(FMDatabaseInMemory, AnOpenResultStopsNoTransactionOfItsConnection)
{
    ASSERT_TRUE(database.executeUpdate("CREATE TABLE t (a)"));
    ASSERT_TRUE(database.executeUpdate("INSERT INTO t VALUES (1), (2)"));
    const auto atItsEnd = database.executeQuery("SELECT a FROM t WHERE a > 5");
    const auto atARow = database.executeQuery("SELECT a FROM t");
    ASSERT_FALSE(atItsEnd->next());
    ASSERT_TRUE(atARow->next());
    EXPECT_TRUE(database.beginTransaction());
    EXPECT_TRUE(database.executeUpdate("INSERT INTO t VALUES (3)"));
    EXPECT_TRUE(database.commit());
}

TEST(FMDatabase, AResultAtItsEndHoldsNoLockOnTheFile)
{
    const TemporaryFolder folder;
    makeMediaDatabase(folder.string("a.db"), 1);
    FMDatabase reader(folder.string("a.db"));
    FMDatabase writer(folder.string("a.db"));
    writer.setMaxBusyRetryTimeInterval(0);
    ASSERT_TRUE(reader.open() && writer.open());
    const auto results = reader.executeQuery("SELECT * FROM media");
    ASSERT_TRUE(results->next());
    EXPECT_FALSE(writer.beginTransaction()) << "a reader at a row keeps writers waiting";
    ASSERT_FALSE(results->next());
    EXPECT_TRUE(writer.beginTransaction());
}
