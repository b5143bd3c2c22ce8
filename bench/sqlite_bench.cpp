// SPDX-License-Identifier: Apache-2.0
//
// SQLite through SqliteHelper, beside Qt SQL and beside SQLite's C interface as one would use it by hand:
//   updates  100,000 inserts, each in a transaction of its own: with the rollback journal and synchronous FULL (the
//            defaults), and with write-ahead log and synchronous NORMAL. Statements are prepared once by everybody.
//   table    1,000,000 rows of 8 mixed columns (3 texts, 3 integers, a double, an integer or NULL), kept: an Array of
//            Dictionaries; a list of QVariantMaps; a vector of unordered_maps from name to variant. Time and memory.
// Every round runs in a child process, so that memory is counted from fresh.
//
// sqlite_bench [FOLDER]: FOLDER holds the databases, /dev/shm where it is not given: a disk would hide what is compared.
#include "support/Contest.h"

#include <kelvane/storage/SqliteHelper.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariantMap>
#include <sqlite3.h>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

using kelvane::Array;
using kelvane::SqliteHelper;
using kelvane::String;
using namespace kelvane::bench;

namespace {

constexpr int updates = 100'000;
constexpr int rows = 1'000'000;
const char *const insertSql = "INSERT INTO log (id, title, size) VALUES (?, ?, ?)";
const char *const tableSql = "SELECT * FROM media";
const char *const normalSql = "PRAGMA synchronous = normal";

struct Closer {
    void operator()(sqlite3 *database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, Closer>;
using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

Database openByHand(const std::string &path)
{
    sqlite3 *database = nullptr;
    require(sqlite3_open(path.c_str(), &database) == SQLITE_OK, "a database");
    return Database(database);
}

Statement prepare(const Database &database, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    require(sqlite3_prepare_v2(database.get(), sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    return Statement(statement);
}

void executeByHand(const Database &database, const char *sql)
{
    require(sqlite3_exec(database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
}

QSqlDatabase openWithQt(const std::string &path)
{
    auto database = QSqlDatabase::addDatabase("QSQLITE");
    database.setDatabaseName(QString::fromStdString(path));
    require(database.open(), "a database of Qt");
    return database;
}

// Updates

void makeLog(const std::string &path, bool isWal)
{
    for (const char *end : {"", "-wal", "-shm", "-journal"})
        std::filesystem::remove(path + end);
    const Database database = openByHand(path);
    if (isWal)
        executeByHand(database, "PRAGMA journal_mode = wal");
    executeByHand(database, "CREATE TABLE log (id INTEGER PRIMARY KEY, title TEXT, size INTEGER)");
}

void insertWithHelper(const std::string &path, bool isWal, int count)
{
    SqliteHelper helper(path);
    if (isWal)
        require(helper.connection()->executeUpdate(normalSql), normalSql);
    const String sql = insertSql;
    for (int i = 0; i < count; ++i)
        require(helper.executeUpdate(sql, Array{i, "a title of a song", i * 3}), insertSql);
}

void updateWithHelper(const std::string &path, bool isWal)
{
    insertWithHelper(path, isWal, updates);
}

void updateWithQt(const std::string &path, bool isWal)
{
    QSqlDatabase database = openWithQt(path);
    if (isWal)
        require(QSqlQuery(database).exec(normalSql), normalSql);
    QSqlQuery insert(database);
    require(insert.prepare(insertSql), insertSql);
    for (int i = 0; i < updates; ++i) {
        require(database.transaction(), "begin");
        insert.bindValue(0, i);
        insert.bindValue(1, QStringLiteral("a title of a song"));
        insert.bindValue(2, i * 3);
        require(insert.exec() && database.commit(), insertSql);
    }
}

void updateByHand(const std::string &path, bool isWal)
{
    const Database database = openByHand(path);
    if (isWal)
        executeByHand(database, normalSql);
    const Statement begin = prepare(database, "BEGIN EXCLUSIVE");
    const Statement insert = prepare(database, insertSql);
    const Statement commit = prepare(database, "COMMIT");
    const auto run = [](const Statement &statement) {
        require(sqlite3_step(statement.get()) == SQLITE_DONE, "a step");
        sqlite3_reset(statement.get());
    };
    for (int i = 0; i < updates; ++i) {
        run(begin);
        sqlite3_bind_int64(insert.get(), 1, i);
        sqlite3_bind_text(insert.get(), 2, "a title of a song", -1, SQLITE_STATIC);
        sqlite3_bind_int64(insert.get(), 3, i * 3);
        run(insert);
        run(commit);
    }
}

/// A round: a fresh log, filled by `update` and counted, in a child process.
Contest::Round updating(const std::string &path, bool isWal, void (*update)(const std::string &, bool))
{
    return [=] {
        makeLog(path, isWal);
        return inChild([&] {
            const double took = seconds([&] { update(path, isWal); });
            const Database database = openByHand(path);
            const Statement count = prepare(database, "SELECT count(*), sum(size) FROM log");
            require(sqlite3_step(count.get()) == SQLITE_ROW && sqlite3_column_int(count.get(), 0) == updates
                    && sqlite3_column_int64(count.get(), 1) == 3LL * updates * (updates - 1) / 2,
                "the rows that were inserted");
            return took;
        });
    };
}

// Tables

void makeMedia(const std::string &path)
{
    const Database database = openByHand(path);
    executeByHand(database,
        "CREATE TABLE media (id INTEGER PRIMARY KEY, title TEXT, artist TEXT, path TEXT, size INTEGER, duration REAL, "
        "year INTEGER, rating INTEGER)");
    executeByHand(database,
        ("WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(rows)
            + ") INSERT INTO media SELECT i, 'Title of song ' || i, 'Artist ' || (i % 5000), "
              "'Music/F' || (i % 100) || '/' || hex(i) || '.mp3', i * 4099, i / 7.0, 1950 + i % 75, "
              "CASE i % 3 WHEN 0 THEN NULL ELSE i % 5 END FROM n")
            .c_str());
}

// The tables are kept until the child process ends, which does not destroy them. Each reader checks its last row.

constexpr std::int64_t lastSize = std::int64_t{rows} * 4099;

void readWithHelper(const std::string &path)
{
    SqliteHelper helper(path);
    const auto *table = new Array(helper.executeDataTable(tableSql));
    require(table->size() == rows && (*table)[rows - 1].dictionary()["size"].longLongValue() == lastSize, "our table");
}

void readWithQt(const std::string &path)
{
    QSqlQuery query(openWithQt(path));
    query.setForwardOnly(true);
    require(query.exec(tableSql), tableSql);
    auto *table = new QList<QVariantMap>;
    const QSqlRecord record = query.record();
    std::vector<QString> names;
    for (int i = 0; i < record.count(); ++i)
        names.push_back(record.fieldName(i));
    while (query.next()) {
        QVariantMap row;
        for (int i = 0; i < record.count(); ++i)
            row.insert(names[static_cast<std::size_t>(i)], query.value(i));
        table->append(row);
    }
    require(table->size() == rows && table->last()["size"].toLongLong() == lastSize, "the table of Qt");
}

using Field = std::variant<std::monostate, std::int64_t, double, std::string, std::vector<std::byte>>;

Field fieldOf(sqlite3_stmt *query, int column)
{
    const auto size = [&] { return static_cast<std::size_t>(sqlite3_column_bytes(query, column)); };
    switch (sqlite3_column_type(query, column)) {
    case SQLITE_INTEGER:
        return std::int64_t{sqlite3_column_int64(query, column)};
    case SQLITE_FLOAT:
        return sqlite3_column_double(query, column);
    case SQLITE_TEXT: {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(query, column));
        return std::string(text, size());
    }
    case SQLITE_BLOB: {
        const auto *bytes = static_cast<const std::byte *>(sqlite3_column_blob(query, column));
        return std::vector<std::byte>(bytes, bytes + size());
    }
    default:
        return {};
    }
}

void readByHand(const std::string &path)
{
    using Row = std::unordered_map<std::string, Field>;
    const Database database = openByHand(path);
    const Statement query = prepare(database, tableSql);
    auto *table = new std::vector<Row>;
    const int columns = sqlite3_column_count(query.get());
    while (sqlite3_step(query.get()) == SQLITE_ROW) {
        Row row;
        row.reserve(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i)
            row.emplace(sqlite3_column_name(query.get(), i), fieldOf(query.get(), i));
        table->push_back(std::move(row));
    }
    require(table->size() == rows && std::get<std::int64_t>(table->back()["size"]) == lastSize, "the table by hand");
}

using Read = void (*)(const std::string &);

Contest::Round reading(const std::string &path, Read read)
{
    return [=] { return inChild([&] { return seconds([&] { read(path); }); }); };
}

Contest::Round memoryOfReading(const std::string &path, Read read)
{
    return memoryOf([=] { read(path); });
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::string folder = std::string(argc > 1 ? argv[1] : "/dev/shm") + "/sqlite_bench-XXXXXX";
    require(mkdtemp(folder.data()) != nullptr, "a folder");

    const std::string log = folder + "/log.db";
    for (const bool isWal : {true, false})
        Contest("sqlite", isWal ? "update, write-ahead log" : "update, defaults", {"us", 1e6 / updates})
            .ours(updating(log, isWal, updateWithHelper))
            .peer("C interface", 1.15, updating(log, isWal, updateByHand))
            .peer("Qt SQL", 0.75, updating(log, isWal, updateWithQt))
            .run();

    scaling(
        "sqlite", "update, write-ahead log", {"us", 1e6}, {1'000, 10'000, 100'000},
        [&log](int count) {
            makeLog(log, true);
            return inChild([&] { return seconds([&] { insertWithHelper(log, true, count); }) / count; });
        },
        5);

    const std::string media = folder + "/media.db";
    makeMedia(media);
    scaling(
        "sqlite", "row of a table", {"us", 1e6}, {10'000, 100'000, 1'000'000},
        [&media](int count) {
            return inChild([&] {
                const String sql(std::string(tableSql) + " LIMIT " + std::to_string(count));
                SqliteHelper helper(media);
                return seconds([&] {
                    const auto *table = new Array(helper.executeDataTable(sql));
                    require(table->size() == static_cast<std::size_t>(count), "a part of our table");
                }) / count;
            });
        },
        5);
    Contest("sqlite", "row of a table of 1,000,000", {"us", 1e6 / rows})
        .ours(reading(media, readWithHelper))
        .peer("Qt SQL to QVariantMap", 0.4, reading(media, readWithQt))
        .peer("C interface to unordered_map", 0.4, reading(media, readByHand))
        .run();
    // Memory does not vary: three rounds tell it.
    Contest("sqlite", "memory of a table of 1,000,000 rows", {"MB", 1e-6})
        .ours(memoryOfReading(media, readWithHelper))
        .peer("Qt SQL to QVariantMap", 0.5, memoryOfReading(media, readWithQt))
        .peer("C interface to unordered_map", 0.5, memoryOfReading(media, readByHand))
        .run(3);
    std::filesystem::remove_all(folder);
    return 0;
}
