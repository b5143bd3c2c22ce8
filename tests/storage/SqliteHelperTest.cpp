// SPDX-License-Identifier: Apache-2.0
#include <kelvane/storage/SqliteHelper.h>

#include <tests/storage/SqliteFiles.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

using kelvane::Array;
using kelvane::Data;
using kelvane::Date;
using kelvane::Dictionary;
using kelvane::NullObject;
using kelvane::Object;
using kelvane::SqliteHelper;
using kelvane::String;
using kelvane::Value;
using kelvane::testsupport::makeMediaDatabase;
using kelvane::testsupport::TemporaryFolder;

namespace {

/// A helper on a database with a table "media" (id, title) of three rows.
class SqliteHelperTest : public testing::Test {
protected:
    void SetUp() override { makeMediaDatabase(path, 3); }

    const TemporaryFolder folder;
    const String path = folder.string("media.db");
};

class Row {
public:
    const Dictionary &row() const { return _row; }
    const Value &value() const { return _value; }
    const Object &object() const { return _object; }
    static constexpr auto instanceVariables() { return std::tuple(&Row::_row, &Row::_value, &Row::_object); }

private:
    Dictionary _row;
    Value _value;
    Object _object;
};

/// Its own field has the name of a column, and stays as it was made.
struct Song : Row {
    using superclass = Row;
    String title = "as made";
    Dictionary own;
    static constexpr auto instanceVariables() { return std::tuple(&Song::own); }
};

struct WithoutSuperclass : Row {};
struct WithPlainField {
    int number = 0;
    static constexpr auto instanceVariables() { return std::tuple(&WithPlainField::number); }
};
struct OfPlainField : WithPlainField {
    using superclass = WithPlainField;
};
static_assert(kelvane::RowObject<Song>);
static_assert(!kelvane::RowObject<Row>);
static_assert(!kelvane::RowObject<WithoutSuperclass>);
static_assert(!kelvane::RowObject<OfPlainField>);

const String allRows = "SELECT id, title FROM media ORDER BY id";
const String noRows = "SELECT id, title FROM media WHERE id > 100";

} // namespace

// Connection

TEST_F(SqliteHelperTest, OpensItsDatabaseWhenItIsMade)
{
    const SqliteHelper helper(path);
    EXPECT_EQ(helper.dbPath(), path);
    ASSERT_NE(helper.connection(), nullptr);
    EXPECT_TRUE(helper.connection()->goodConnection());
}

TEST_F(SqliteHelperTest, HasNoConnectionWhereOpeningFailed)
{
    SqliteHelper helper(folder.string("missing/media.db"));
    EXPECT_EQ(helper.connection(), nullptr);
    EXPECT_FALSE(helper.goodConnection());
    ASSERT_NE(helper.connection(), nullptr) << "the unopened connection stays";
    EXPECT_NE(helper.connection()->lastErrorCode(), 0);
    const auto *kept = helper.connection();
    EXPECT_FALSE(helper.goodConnection());
    EXPECT_EQ(helper.connection(), kept);
    std::filesystem::create_directory(folder.path("missing"));
    EXPECT_TRUE(helper.goodConnection()) << "and is tried again";
    EXPECT_EQ(helper.connection(), kept);
}

TEST_F(SqliteHelperTest, CloseGivesUpTheConnectionAndTheNextQueryOpensAnother)
{
    SqliteHelper helper(path);
    helper.close();
    EXPECT_EQ(helper.connection(), nullptr);
    helper.close();
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM media"), 3);
    EXPECT_NE(helper.connection(), nullptr);
    helper.close();
    EXPECT_TRUE(helper.executeUpdate("DELETE FROM media"));
    helper.close();
    EXPECT_TRUE(helper.goodConnection());
}

TEST_F(SqliteHelperTest, TransactionControlAfterCloseIsFalseWithoutReopening)
{
    SqliteHelper helper(path);
    helper.close();
    EXPECT_FALSE(helper.beginTransaction());
    EXPECT_FALSE(helper.commit());
    EXPECT_FALSE(helper.rollback());
    EXPECT_FALSE(helper.inTransaction());
    EXPECT_EQ(helper.connection(), nullptr);
}

TEST_F(SqliteHelperTest, TransactionControlIsForwarded)
{
    SqliteHelper helper(path);
    EXPECT_TRUE(helper.beginTransaction());
    EXPECT_TRUE(helper.inTransaction());
    ASSERT_TRUE(helper.connection()->executeUpdate("DELETE FROM media"));
    EXPECT_TRUE(helper.rollback());
    EXPECT_FALSE(helper.inTransaction());
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM media"), 3);
    EXPECT_TRUE(helper.beginTransaction());
    ASSERT_TRUE(helper.connection()->executeUpdate("DELETE FROM media"));
    EXPECT_TRUE(helper.commit());
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM media"), 0);
}

TEST_F(SqliteHelperTest, ClosesItsConnectionWhenItGoes)
{
    {
        SqliteHelper helper(path);
        ASSERT_TRUE(helper.beginTransaction());
        ASSERT_TRUE(helper.connection()->executeUpdate("DELETE FROM media"));
    }
    SqliteHelper other(path);
    other.setMaxBusyRetryTimeInterval(0);
    EXPECT_TRUE(other.executeUpdate("DELETE FROM media WHERE id = 1")) << "the lock is gone";
    EXPECT_EQ(other.intForQuery("SELECT count(*) FROM media"), 2) << "what was not committed as well";
}

TEST_F(SqliteHelperTest, TheTimeLimitHoldsForLaterConnections)
{
    SqliteHelper helper(path);
    helper.setMaxBusyRetryTimeInterval(0.5);
    EXPECT_EQ(helper.connection()->maxBusyRetryTimeInterval(), 0.5);
    helper.close();
    ASSERT_TRUE(helper.goodConnection());
    EXPECT_EQ(helper.connection()->maxBusyRetryTimeInterval(), 0.5);
}

// Single values

TEST_F(SqliteHelperTest, SingleValuesReadTheFirstColumnOfTheFirstRow)
{
    SqliteHelper helper(path);
    EXPECT_EQ(helper.stringForQuery("SELECT title, id FROM media ORDER BY id"), "song 1");
    EXPECT_EQ(helper.intForQuery("SELECT -7"), -7);
    EXPECT_EQ(helper.longForQuery("SELECT 1 << 40"), 1LL << 40);
    EXPECT_TRUE(helper.boolForQuery("SELECT 2"));
    EXPECT_EQ(helper.doubleForQuery("SELECT 0.25"), 0.25);
    EXPECT_EQ(helper.dataForQuery("SELECT x'0100'"), Data("\1\0", 2));
    EXPECT_EQ(helper.dateForQuery("SELECT 978307201.5"), Date(1.5));
}

TEST_F(SqliteHelperTest, SingleValuesBindTheirArgumentsByType)
{
    SqliteHelper helper(path);
    EXPECT_EQ(helper.stringForQuery("SELECT title FROM media WHERE id = ?", 2), "song 2");
    EXPECT_EQ(helper.intForQuery("SELECT id FROM media WHERE title = ? AND id < ?", "song 3", 10.5), 3);
    EXPECT_EQ(helper.longForQuery("SELECT ? + 0", std::uint64_t{1} << 40), 1LL << 40);
    EXPECT_TRUE(helper.boolForQuery("SELECT ? = 1", true));
    EXPECT_EQ(helper.doubleForQuery("SELECT ?", 0.5F), 0.5);
    EXPECT_EQ(helper.dataForQuery("SELECT ?", Data("\0\1", 2)), Data("\0\1", 2));
    EXPECT_EQ(helper.dateForQuery("SELECT ?", Date(42.5)), Date(42.5));
    EXPECT_TRUE(helper.boolForQuery("SELECT ? IS NULL AND ? IS NULL", nullptr, NullObject{}));
    EXPECT_EQ(helper.stringForQuery("SELECT typeof(?)", std::string("1")), "text");
}

TEST_F(SqliteHelperTest, SingleValuesWithoutARowAreTheirDefaults)
{
    SqliteHelper helper(path);
    const auto expectDefaults = [&](const String &sql) {
        EXPECT_TRUE(helper.stringForQuery(sql).isNull());
        EXPECT_EQ(helper.intForQuery(sql), 0);
        EXPECT_EQ(helper.longForQuery(sql), 0);
        EXPECT_FALSE(helper.boolForQuery(sql));
        EXPECT_EQ(helper.doubleForQuery(sql), 0.0);
        EXPECT_TRUE(helper.dataForQuery(sql).isNull());
        EXPECT_TRUE(helper.dateForQuery(sql).isNull());
    };
    expectDefaults(noRows);
    expectDefaults(nullptr);
    expectDefaults("SELECT nonsense FROM nowhere");
    EXPECT_TRUE(helper.stringForQuery("SELECT NULL").isNull());
    EXPECT_TRUE(helper.executeUpdate("DELETE FROM media")) << "unfinished results stop no update";
    SqliteHelper unopened(folder.string("missing/a.db"));
    EXPECT_TRUE(unopened.stringForQuery("SELECT 1").isNull());
    EXPECT_EQ(unopened.intForQuery("SELECT 1"), 0);
}

TEST_F(SqliteHelperTest, ManyEmptySingleValueQueriesBlockNeitherThisNorOtherConnections)
{
    SqliteHelper helper(path);
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(helper.stringForQuery("SELECT title FROM media WHERE id = ?", -i).isNull());
    SqliteHelper other(path);
    other.setMaxBusyRetryTimeInterval(0);
    EXPECT_TRUE(other.executeUpdate("DELETE FROM media WHERE id = 1"));
    EXPECT_TRUE(helper.executeUpdate("DELETE FROM media WHERE id = 2"));
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM media"), 1);
}

// Updates

TEST_F(SqliteHelperTest, AnUpdateCommitsItself)
{
    SqliteHelper helper(path);
    EXPECT_TRUE(helper.executeUpdate("INSERT INTO media VALUES (4, 'song 4')"));
    EXPECT_FALSE(helper.inTransaction());
    EXPECT_TRUE(helper.executeUpdate("INSERT INTO media VALUES (?, ?)", Array{5, nullptr}));
    EXPECT_EQ(SqliteHelper(path).intForQuery("SELECT count(*) FROM media"), 5);
    EXPECT_TRUE(helper.boolForQuery("SELECT title IS NULL FROM media WHERE id = 5"));
}

TEST_F(SqliteHelperTest, AFailedUpdateLeavesNoPartialChangeAndItsReason)
{
    SqliteHelper helper(path);
    EXPECT_FALSE(helper.executeUpdate("INSERT OR FAIL INTO media VALUES (10, 'new'), (11, 'song 1')"));
    EXPECT_FALSE(helper.inTransaction());
    EXPECT_EQ(helper.connection()->lastErrorMessage(), "UNIQUE constraint failed: media.title");
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM media"), 3);
}

TEST_F(SqliteHelperTest, AnUpdateWithNullSqlOrWithoutConnectionIsFalse)
{
    SqliteHelper helper(path);
    EXPECT_FALSE(helper.executeUpdate(nullptr));
    EXPECT_FALSE(helper.executeUpdate(nullptr, Array{1}));
    SqliteHelper unopened(folder.string("missing/a.db"));
    EXPECT_FALSE(unopened.executeUpdate("CREATE TABLE t (a)"));
}

TEST_F(SqliteHelperTest, AnUpdateCommitsTheTransactionThatTheCallerBegan)
{
    SqliteHelper helper(path);
    ASSERT_TRUE(helper.beginTransaction());
    ASSERT_TRUE(helper.connection()->executeUpdate("DELETE FROM media WHERE id = 1"));
    EXPECT_TRUE(helper.executeUpdate("DELETE FROM media WHERE id = 2"));
    EXPECT_FALSE(helper.inTransaction());
    EXPECT_FALSE(helper.rollback());
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM media"), 1);
}

TEST_F(SqliteHelperTest, AFailedUpdateRollsBackTheTransactionThatTheCallerBegan)
{
    SqliteHelper helper(path);
    ASSERT_TRUE(helper.beginTransaction());
    ASSERT_TRUE(helper.connection()->executeUpdate("DELETE FROM media WHERE id = 1"));
    EXPECT_FALSE(helper.executeUpdate("INSERT INTO nowhere VALUES (1)"));
    EXPECT_FALSE(helper.inTransaction());
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM media"), 3);
}

TEST_F(SqliteHelperTest, AnUpdateTellsTheSuccessOfTheStatementAndNotOfTheCommit)
{
    SqliteHelper helper(path);
    ASSERT_TRUE(helper.executeUpdate("CREATE TABLE cover (media REFERENCES media (id) DEFERRABLE INITIALLY DEFERRED)"));
    ASSERT_TRUE(helper.connection()->executeUpdate("PRAGMA foreign_keys = on"));
    EXPECT_TRUE(helper.executeUpdate("INSERT INTO cover VALUES (99)"));
    EXPECT_EQ(helper.connection()->lastErrorMessage(), "FOREIGN KEY constraint failed");
    EXPECT_TRUE(helper.inTransaction()) << "the commit failed and the transaction is the caller's to end";
    EXPECT_TRUE(helper.rollback());
    EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM cover"), 0);
}

// Result shapes

TEST_F(SqliteHelperTest, AScalarIsTheFirstValueAsItIsStored)
{
    SqliteHelper helper(path);
    EXPECT_EQ(helper.executeScalar(allRows), Value(1));
    EXPECT_EQ(helper.executeScalar("SELECT title FROM media WHERE id = ?", Array{2}), Value("song 2"));
    EXPECT_EQ(helper.executeScalar("SELECT 0.5").kind(), Value::Kind::Double);
    EXPECT_EQ(helper.executeScalar("SELECT x''"), Value(Data("", 0)));
}

TEST_F(SqliteHelperTest, AScalarIsTheNullObjectWhereThereIsNothing)
{
    SqliteHelper helper(path);
    EXPECT_TRUE(helper.executeScalar(nullptr).isNullObject());
    EXPECT_TRUE(helper.executeScalar(noRows).isNullObject());
    EXPECT_TRUE(helper.executeScalar("SELECT NULL").isNullObject());
    EXPECT_TRUE(helper.executeScalar("SELECT nonsense").isNullObject());
    EXPECT_TRUE(SqliteHelper(folder.string("missing/a.db")).executeScalar("SELECT 1").isNullObject());
}

TEST_F(SqliteHelperTest, DataTableItemGivesTheLastRow)
{
    SqliteHelper helper(path);
    EXPECT_EQ(helper.executeDataTableItem(allRows), (Dictionary{{"id", 3}, {"title", "song 3"}}));
    EXPECT_EQ(helper.executeDataTableItem("SELECT id FROM media WHERE id < ? ORDER BY id", Array{3}),
        (Dictionary{{"id", 2}}));
}

TEST_F(SqliteHelperTest, DataTableItemIsNullWhereThereIsNoRow)
{
    SqliteHelper helper(path);
    EXPECT_TRUE(helper.executeDataTableItem(noRows).isNull());
    EXPECT_TRUE(helper.executeDataTableItem(nullptr).isNull());
    EXPECT_TRUE(helper.executeDataTableItem("SELECT nonsense").isNull());
    EXPECT_TRUE(SqliteHelper(folder.string("missing/a.db")).executeDataTableItem("SELECT 1").isNull());
}

TEST_F(SqliteHelperTest, DataTableGivesARowADictionaryInOrder)
{
    SqliteHelper helper(path);
    EXPECT_EQ(helper.executeDataTable(allRows),
        (Array{Dictionary{{"id", 1}, {"title", "song 1"}}, Dictionary{{"id", 2}, {"title", "song 2"}},
            Dictionary{{"id", 3}, {"title", "song 3"}}}));
    EXPECT_EQ(helper.executeDataTable("SELECT id FROM media WHERE id = ?", Array{2}), (Array{Dictionary{{"id", 2}}}));
}

TEST_F(SqliteHelperTest, DataTableIsEmptyWithoutRowsAndNullWithoutSqlOrConnection)
{
    SqliteHelper helper(path);
    const auto empty = helper.executeDataTable(noRows);
    EXPECT_TRUE(empty.isEmpty() && !empty.isNull());
    const auto failed = helper.executeDataTable("SELECT nonsense");
    EXPECT_TRUE(failed.isEmpty() && !failed.isNull());
    EXPECT_TRUE(helper.executeDataTable(nullptr).isNull());
    EXPECT_TRUE(SqliteHelper(folder.string("missing/a.db")).executeDataTable("SELECT 1").isNull());
}

TEST_F(SqliteHelperTest, ResultsReadToTheirEndBlockNoOtherConnection)
{
    SqliteHelper helper(path);
    SqliteHelper other(path);
    other.setMaxBusyRetryTimeInterval(0);
    EXPECT_EQ(helper.executeScalar(allRows), Value(1));
    EXPECT_EQ(helper.stringForQuery("SELECT title FROM media"), "song 1");
    EXPECT_TRUE(other.executeUpdate("DELETE FROM media WHERE id = 1"));
    EXPECT_EQ(helper.executeDataTable(allRows).size(), 2U);
    EXPECT_TRUE(other.executeUpdate("DELETE FROM media WHERE id = 2"));
}

// Objects from rows

TEST_F(SqliteHelperTest, DataListSetsEveryFieldOfTheSuperclassToTheWholeRow)
{
    SqliteHelper helper(path);
    const auto list = helper.executeDataList<Song>(allRows);
    ASSERT_TRUE(list);
    ASSERT_EQ(list->size(), 3U);
    EXPECT_EQ(list->capacity(), 3U);
    const Song &second = *(*list)[1];
    EXPECT_EQ(second.row(), (Dictionary{{"id", 2}, {"title", "song 2"}}));
    EXPECT_TRUE(isSameObject(second.value().dictionary(), second.row()));
    ASSERT_TRUE(second.object().as<Dictionary>());
    EXPECT_TRUE(isSameObject(*second.object().as<Dictionary>(), second.row()));
    EXPECT_EQ(second.title, "as made") << "columns are not matched to names";
    EXPECT_TRUE(second.own.isNull()) << "the class's own fields are not used";
    EXPECT_EQ((*list)[2].use_count(), 1) << "the list is the only owner";
}

TEST_F(SqliteHelperTest, DataListOfNoRowsIsNothing)
{
    SqliteHelper helper(path);
    EXPECT_FALSE(helper.executeDataList<Song>(noRows));
    EXPECT_FALSE(helper.executeDataList<Song>(nullptr));
    EXPECT_FALSE(SqliteHelper(folder.string("missing/a.db")).executeDataList<Song>("SELECT 1"));
}

TEST_F(SqliteHelperTest, DataItemIsTheFirstObjectOfTheList)
{
    SqliteHelper helper(path);
    const auto item = helper.executeDataItem<Song>("SELECT id FROM media WHERE id > ? ORDER BY id", Array{1});
    ASSERT_TRUE(item);
    EXPECT_EQ(item->row(), (Dictionary{{"id", 2}}));
    EXPECT_EQ(item.use_count(), 1);
    EXPECT_FALSE(helper.executeDataItem<Song>(noRows));
    EXPECT_FALSE(helper.executeDataItem<Song>(nullptr));
}
