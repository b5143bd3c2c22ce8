// SPDX-License-Identifier: Apache-2.0
//
// What each case measures, always against SQLite's C interface as one would use it by hand, in the same process on the
// same data, in pairs whose order alternates:
//   updates-default  100,000 inserts, each in a transaction of its own, rollback journal, synchronous FULL
//   updates-wal      the same with write-ahead log and synchronous NORMAL
//                    here: SqliteHelper::executeUpdate; by hand: BEGIN EXCLUSIVE, INSERT, COMMIT, prepared once
//   table            1,000,000 rows of 8 mixed columns (3 texts, 3 integers, a double, an integer or NULL)
//                    here: SqliteHelper::executeDataTable; by hand: a std::vector of
//                    std::unordered_map<std::string, std::variant<…>>
// Every case runs in a child process, so that memory is counted from fresh: the growth of the resident set at its peak.
//
// sqlite_bench [FOLDER [ROUNDS]]: FOLDER holds the databases, /dev/shm where it is not given.

#include <kelvane/storage/SqliteHelper.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sqlite3.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <unordered_map>
#include <variant>
#include <vector>

using kelvane::Array;
using kelvane::SqliteHelper;
using kelvane::String;

namespace {

constexpr int updates = 100'000;
constexpr int rows = 1'000'000;
const char *const insertSql = "INSERT INTO log (id, title, size) VALUES (?, ?, ?)";
const char *const tableSql = "SELECT * FROM media";

struct Measured {
    double seconds;
    double processorSeconds; // of the process in user and system mode: what a busy machine disturbs less
    double megabytes;
};

void check(bool isDone, const char *what)
{
    if (isDone)
        return;
    std::fprintf(stderr, "sqlite_bench: %s failed\n", what);
    _exit(1);
}

double peakMegabytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Runs `prepare` and then, measured, `run` in a child process.
Measured measure(const std::function<void()> &prepare, const std::function<void()> &run)
{
    int ends[2];
    check(pipe(ends) == 0, "pipe");
    const pid_t child = fork();
    if (child == 0) {
        prepare();
        const double before = peakMegabytes();
        const double processorBefore = processorSeconds();
        const auto begin = std::chrono::steady_clock::now();
        run();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        const Measured measured{took.count(), processorSeconds() - processorBefore, peakMegabytes() - before};
        check(write(ends[1], &measured, sizeof measured) == sizeof measured, "write");
        _exit(0);
    }
    close(ends[1]);
    Measured measured{};
    check(read(ends[0], &measured, sizeof measured) == sizeof measured, "measured process");
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return measured;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Updates

std::string makeLog(const std::string &folder, bool isWal)
{
    const std::string path = folder + "/log.db";
    for (const char *end : {"", "-wal", "-shm", "-journal"})
        std::filesystem::remove(path + end);
    sqlite3 *database = nullptr;
    check(sqlite3_open(path.c_str(), &database) == SQLITE_OK, "open");
    if (isWal)
        check(sqlite3_exec(database, "PRAGMA journal_mode = wal", nullptr, nullptr, nullptr) == SQLITE_OK, "wal");
    const char *table = "CREATE TABLE log (id INTEGER PRIMARY KEY, title TEXT, size INTEGER)";
    check(sqlite3_exec(database, table, nullptr, nullptr, nullptr) == SQLITE_OK, "create");
    sqlite3_close(database);
    return path;
}

void updateWithHelper(const std::string &path, bool isWal)
{
    SqliteHelper helper(path);
    if (isWal)
        check(helper.connection()->executeUpdate("PRAGMA synchronous = normal"), "pragma");
    const String sql = insertSql;
    for (int i = 0; i < updates; ++i)
        check(helper.executeUpdate(sql, Array{i, "a title of a song", i * 3}), "update");
}

void updateByHand(const std::string &path, bool isWal)
{
    sqlite3 *database = nullptr;
    check(sqlite3_open(path.c_str(), &database) == SQLITE_OK, "open");
    if (isWal)
        sqlite3_exec(database, "PRAGMA synchronous = normal", nullptr, nullptr, nullptr);
    sqlite3_stmt *begin = nullptr;
    sqlite3_stmt *insert = nullptr;
    sqlite3_stmt *commit = nullptr;
    sqlite3_prepare_v2(database, "BEGIN EXCLUSIVE", -1, &begin, nullptr);
    sqlite3_prepare_v2(database, insertSql, -1, &insert, nullptr);
    sqlite3_prepare_v2(database, "COMMIT", -1, &commit, nullptr);
    const auto run = [](sqlite3_stmt *statement) {
        check(sqlite3_step(statement) == SQLITE_DONE, "step");
        sqlite3_reset(statement);
    };
    for (int i = 0; i < updates; ++i) {
        run(begin);
        sqlite3_bind_int64(insert, 1, i);
        sqlite3_bind_text(insert, 2, "a title of a song", -1, SQLITE_STATIC);
        sqlite3_bind_int64(insert, 3, i * 3);
        run(insert);
        run(commit);
    }
    for (auto *statement : {begin, insert, commit})
        sqlite3_finalize(statement);
    sqlite3_close(database);
}

// Tables

std::string makeMedia(const std::string &folder)
{
    const std::string path = folder + "/media.db";
    std::filesystem::remove(path);
    SqliteHelper helper(path);
    auto &database = *helper.connection();
    check(database.executeUpdate("CREATE TABLE media (id INTEGER PRIMARY KEY, title TEXT, artist TEXT, path TEXT, "
                                 "size INTEGER, duration REAL, year INTEGER, rating INTEGER)"),
        "create");
    database.beginTransaction();
    check(database.executeUpdate("WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ?) "
                                 "INSERT INTO media SELECT i, 'Title of song ' || i, 'Artist ' || (i % 5000), "
                                 "'Music/F' || (i % 100) || '/' || hex(i) || '.mp3', i * 4099, i / 7.0, "
                                 "1950 + i % 75, CASE i % 3 WHEN 0 THEN NULL ELSE i % 5 END FROM n",
              Array{rows}),
        "insert");
    database.commit();
    return path;
}

void tableWithHelper(const std::string &path)
{
    SqliteHelper helper(path);
    const auto *table = new Array(helper.executeDataTable(tableSql)); // the child ends without destroying it
    check(table->size() == rows, "table");
}

void tableByHand(const std::string &path)
{
    using Field = std::variant<std::monostate, std::int64_t, double, std::string, std::vector<std::byte>>;
    using Row = std::unordered_map<std::string, Field>;
    sqlite3 *database = nullptr;
    check(sqlite3_open(path.c_str(), &database) == SQLITE_OK, "open");
    sqlite3_stmt *query = nullptr;
    check(sqlite3_prepare_v2(database, tableSql, -1, &query, nullptr) == SQLITE_OK, "prepare");
    auto *table = new std::vector<Row>;
    const int columns = sqlite3_column_count(query);
    while (sqlite3_step(query) == SQLITE_ROW) {
        Row row;
        row.reserve(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i) {
            auto &field = row[sqlite3_column_name(query, i)];
            const auto size = [&] { return static_cast<std::size_t>(sqlite3_column_bytes(query, i)); };
            switch (sqlite3_column_type(query, i)) {
            case SQLITE_INTEGER:
                field = std::int64_t{sqlite3_column_int64(query, i)};
                break;
            case SQLITE_FLOAT:
                field = sqlite3_column_double(query, i);
                break;
            case SQLITE_TEXT: {
                const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(query, i));
                field = std::string(text, size());
                break;
            }
            case SQLITE_BLOB: {
                const auto *bytes = static_cast<const std::byte *>(sqlite3_column_blob(query, i));
                field = std::vector<std::byte>(bytes, bytes + size());
                break;
            }
            default:
                break;
            }
        }
        table->push_back(std::move(row));
    }
    check(table->size() == rows, "table");
    sqlite3_finalize(query);
    sqlite3_close(database);
}

/// Runs both in pairs and prints medians: seconds and megabytes of each, and the ratios of the pairs.
void compare(
    const char *name, int rounds, const std::function<Measured()> &here, const std::function<Measured()> &byHand)
{
    std::vector<double> hereSeconds, handSeconds, timeRatios, processorRatios, memoryRatios;
    for (int round = 0; round < rounds; ++round) {
        const bool isHereFirst = round % 2 == 0;
        const Measured first = isHereFirst ? here() : byHand();
        const Measured second = isHereFirst ? byHand() : here();
        const Measured &mine = isHereFirst ? first : second;
        const Measured &other = isHereFirst ? second : first;
        hereSeconds.push_back(mine.seconds);
        handSeconds.push_back(other.seconds);
        timeRatios.push_back(mine.seconds / other.seconds);
        processorRatios.push_back(mine.processorSeconds / other.processorSeconds);
        memoryRatios.push_back(mine.megabytes / other.megabytes);
    }
    const auto [least, most] = std::minmax_element(timeRatios.begin(), timeRatios.end());
    std::printf(
        "%-16s kelvane %6.3f s, by hand %6.3f s: time x%.2f (%.2f to %.2f), processor time x%.2f, memory x%.2f\n", name,
        median(hereSeconds), median(handSeconds), median(timeRatios), *least, *most, median(processorRatios),
        median(memoryRatios));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    std::string folder = std::string(argc > 1 ? argv[1] : "/dev/shm") + "/sqlite_bench-XXXXXX";
    check(mkdtemp(folder.data()) != nullptr, "mkdtemp");
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    std::printf("SQLite %s, databases in %s, medians of %d pairs\n", sqlite3_libversion(), folder.c_str(), rounds);

    for (const bool isWal : {false, true}) {
        std::string path;
        const auto prepare = [&] { makeLog(folder, isWal); };
        path = folder + "/log.db";
        compare(
            isWal ? "updates-wal" : "updates-default", rounds,
            [&] { return measure(prepare, [&] { updateWithHelper(path, isWal); }); },
            [&] { return measure(prepare, [&] { updateByHand(path, isWal); }); });
    }
    const auto path = makeMedia(folder);
    compare(
        "table", rounds, [&] { return measure([] {}, [&] { tableWithHelper(path); }); },
        [&] { return measure([] {}, [&] { tableByHand(path); }); });
    std::filesystem::remove_all(folder);
    return 0;
}
