// SPDX-License-Identifier: Apache-2.0
// Databases when calls of the system fail: what was acknowledged is there, and nothing else is.
#include "FaultTest.h"

#include <kelvane/storage/SqliteHelper.h>
#include <tests/storage/SqliteFiles.h>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

constexpr int oldRows = 20;

String databaseIn(const std::filesystem::path &folder)
{
    return (folder / "media.db").native();
}

void prepareWith(const std::filesystem::path &folder, const char *journal)
{
    makeMediaDatabase(databaseIn(folder), oldRows, journal);
}

/// Not from braces: where one of their elements throws, g++ 12 destroys those before it after the end of their scope.
Array rowOf(int id, const String &title)
{
    Array row = Array::empty();
    row.append(id);
    row.append(title);
    return row;
}

/// What is wrong with a database that should be whole, in nobody's hands, and hold all of its rows from 1 on, at least
/// the old ones; `isDone` if the new ones, up to `newRows`, have been acknowledged.
std::string wrongWith(const std::filesystem::path &folder, bool isDone, std::int64_t newRows)
{
    SqliteHelper helper(databaseIn(folder));
    helper.setMaxBusyRetryTimeInterval(0);
    if (helper.stringForQuery("PRAGMA integrity_check") != "ok")
        return "the file is damaged";
    const std::int64_t rows = helper.longForQuery("SELECT count(*) FROM media");
    if (rows != newRows && (isDone || rows != oldRows))
        return std::to_string(rows) + " rows are there";
    if (helper.longForQuery("SELECT max(id) FROM media") != rows)
        return "other rows are there";
    if (!helper.beginTransaction() || !helper.rollback())
        return "the file is locked";
    return {};
}

class SqliteFaults : public FaultTest {
protected:
    // A fresh connection makes one change, that of `sql`, in each kind of journal.
    void tryUpdates(const std::string &name, const std::function<bool(const String &path)> &change, std::int64_t rows)
    {
        for (const char *journal : {"delete", "wal"})
            tryCalls({name + ' ' + journal, [journal](const auto &folder) { prepareWith(folder, journal); },
                [&](const auto &folder) { return change(databaseIn(folder)); },
                [rows](const auto &folder, bool isDone) { return wrongWith(folder, isDone, rows); },
                // One that failed may have been carried out all the same: its row is there already then.
                [&](const auto &folder) {
                    SqliteHelper helper(databaseIn(folder));
                    return helper.longForQuery("SELECT count(*) FROM media") == rows || change(databaseIn(folder));
                }});
    }
};

TEST_P(SqliteFaults, AnUpdateIsThereIfItWasAcknowledged)
{
    tryUpdates(
        "update",
        [](const String &path) {
            FMDatabase database(path);
            return database.open() && database.executeUpdate("INSERT INTO media VALUES (?, ?)", rowOf(21, "new"));
        },
        oldRows + 1);
}

TEST_P(SqliteFaults, ATransactionIsThereAsAWholeOrNotAtAll)
{
    tryUpdates(
        "transaction",
        [](const String &path) {
            FMDatabase database(path);
            if (!database.open() || !database.beginTransaction())
                return false;
            for (int id = 21; id <= 30; ++id)
                if (!database.executeUpdate(
                        "INSERT INTO media VALUES (?, ?)", rowOf(id, std::string(3000, 'x') + std::to_string(id)))) {
                    database.rollback();
                    return false;
                }
            return database.commit();
        },
        30);
}

TEST_P(SqliteFaults, AnUpdateOfTheHelperIsThereIfNoTransactionIsLeft)
{
    tryUpdates(
        "helper",
        [](const String &path) {
            SqliteHelper helper(path);
            // A commit that failed is not told, but leaves its transaction open.
            const bool isDone = helper.executeUpdate("INSERT INTO media VALUES (?, ?)", rowOf(21, "new"));
            return isDone && !helper.inTransaction() && helper.longForQuery("SELECT count(*) FROM media") == 21;
        },
        oldRows + 1);
}

TEST_P(SqliteFaults, ATableIsReadAsAWholeOrTheErrorIsKnown)
{
    tryCalls({"query", [](const auto &folder) { prepareWith(folder, "delete"); },
        [](const auto &folder) {
            SqliteHelper helper(databaseIn(folder));
            const Array table = helper.executeDataTable("SELECT * FROM media ORDER BY title");
            if (table.isNull() || !helper.connection() || helper.connection()->lastErrorCode() != 0)
                return false;
            if (table.size() != oldRows)
                throw std::runtime_error("rows are missing");
            return true;
        },
        [](const auto &folder, bool isDone) { return wrongWith(folder, isDone, oldRows); }});
}

TEST_P(SqliteFaults, ANewDatabaseIsMadeOrCanBeMadeAgain)
{
    tryCalls({"create", [](const auto &) {},
        [](const auto &folder) {
            SqliteHelper helper(databaseIn(folder));
            return helper.goodConnection()
                && helper.connection()->executeUpdate("CREATE TABLE IF NOT EXISTS media (id INTEGER PRIMARY KEY)");
        },
        [](const auto &folder, bool isDone) -> std::string {
            SqliteHelper helper(databaseIn(folder));
            if (helper.stringForQuery("PRAGMA integrity_check") != "ok")
                return "the file is damaged";
            const bool isThere = helper.longForQuery("SELECT count(*) FROM sqlite_master") == 1;
            return isDone && !isThere ? "the table is not there" : "";
        }});
}

KELVANE_ALL_FAULTS(SqliteFaults);

} // namespace
