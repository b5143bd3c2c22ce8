// SPDX-License-Identifier: Apache-2.0
#include <kelvane/storage/SqliteHelper.h>

#include <tests/storage/SqliteFiles.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>
#include <sys/stat.h>

namespace fs = std::filesystem;
using kelvane::SqliteHelper;
using kelvane::String;
using kelvane::testsupport::bytesOfFile;
using kelvane::testsupport::holdsWithoutPrivileges;
using kelvane::testsupport::makeMediaDatabase;
using kelvane::testsupport::TemporaryFolder;
using kelvane::testsupport::writeFile;

namespace {

const String countRows = "SELECT count(*) FROM media";

/// A path that cannot be used as a database gives the results for "no connection", and stays as it is.
void expectUnusable(const String &path)
{
    SqliteHelper helper(path);
    EXPECT_EQ(helper.connection(), nullptr);
    EXPECT_FALSE(helper.goodConnection());
    EXPECT_NE(helper.connection()->lastErrorCode(), 0);
    EXPECT_FALSE(helper.connection()->lastErrorMessage().isNull());
    EXPECT_FALSE(helper.executeUpdate("CREATE TABLE t (a)"));
    EXPECT_TRUE(helper.executeDataTable("SELECT 1").isNull());
    EXPECT_TRUE(helper.executeScalar("SELECT 1").isNullObject());
    EXPECT_EQ(helper.intForQuery("SELECT 1"), 0);
    EXPECT_FALSE(helper.beginTransaction());
}

class SqliteDamage : public testing::Test {
protected:
    const TemporaryFolder folder;
    const String path = folder.string("media.db");
};

} // namespace

// Paths

TEST_F(SqliteDamage, AFolderAsPathIsNoDatabase)
{
    expectUnusable(folder.string());
}

TEST_F(SqliteDamage, AFifoIsNotOpened)
{
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    expectUnusable(path);
}

TEST_F(SqliteDamage, ADeviceIsNotOpened)
{
    expectUnusable("/dev/zero");
}

TEST_F(SqliteDamage, ASymbolicLinkLeadsToTheDatabase)
{
    makeMediaDatabase(path, 2);
    fs::create_symlink(folder.path("media.db"), folder.path("link"));
    EXPECT_EQ(SqliteHelper(folder.string("link")).intForQuery(countRows), 2);
    fs::create_symlink(folder.path("loop"), folder.path("loop"));
    expectUnusable(folder.string("loop"));
}

TEST_F(SqliteDamage, APathMayBeAnyBytes)
{
    for (const std::string name : {"\xff\xfe", "with space?mode=memory", "100%25", "ünïcode", "new\nline", "#x"}) {
        SqliteHelper helper(folder.string(name));
        EXPECT_TRUE(helper.executeUpdate("CREATE TABLE t (a)")) << name;
        EXPECT_GT(bytesOfFile(folder.path(name)).size(), 0U) << name;
    }
}

TEST_F(SqliteDamage, APathWithNulOrTooLongIsNoDatabase)
{
    expectUnusable(path + String(std::string_view("\0.db", 4)));
    EXPECT_FALSE(fs::exists(folder.path("media.db")));
    expectUnusable(folder.string(std::string(5000, 'x')));
    fs::path deep = folder.path();
    for (int i = 0; i < 6; ++i)
        deep /= std::string(200, 'x');
    fs::create_directories(deep);
    expectUnusable(deep.string() + "/a.db"); // there is such a folder, but SQLite's limit for paths is lower
}

TEST(SqliteDamagePath, ANameLikeAUriIsAFileOfThatName)
{
    // In a process of its own, as it changes the working folder.
    const TemporaryFolder folder;
    const auto check = [&] {
        fs::current_path(folder.path());
        SqliteHelper helper("file:a.db?mode=memory");
        return helper.executeUpdate("CREATE TABLE t (a)") && fs::exists("file:a.db?mode=memory");
    };
    fs::permissions(folder.path(), fs::perms::all);
    EXPECT_TRUE(holdsWithoutPrivileges(check));
}

TEST(SqliteDamagePath, NullAndEmptyPathsAreDatabasesWithoutAFile)
{
    for (const String &path : {String(), String("")}) {
        SqliteHelper helper(path);
        EXPECT_TRUE(helper.executeUpdate("CREATE TABLE t (a)"));
        EXPECT_TRUE(helper.executeUpdate("INSERT INTO t VALUES (1)"));
        EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM t"), 1);
        helper.close();
        EXPECT_EQ(helper.intForQuery("SELECT count(*) FROM sqlite_master"), 0) << "it ended with its connection";
    }
}

// Content

TEST_F(SqliteDamage, AFileThatIsNoDatabaseIsRefusedAndLeftAlone)
{
    const std::string text = "Dear diary, " + std::string(8000, '.');
    writeFile(path.c_str(), text);
    expectUnusable(path);
    EXPECT_EQ(bytesOfFile(path.c_str()), text);
}

TEST_F(SqliteDamage, AnEncryptedDatabaseIsRefusedAndLeftAlone)
{
    makeMediaDatabase(path, 100);
    auto bytes = bytesOfFile(path.c_str());
    std::minstd_rand keystream(7);
    for (char &byte : bytes)
        byte = static_cast<char>(byte ^ static_cast<char>(keystream() >> 8));
    writeFile(path.c_str(), bytes);
    expectUnusable(path);
    EXPECT_EQ(bytesOfFile(path.c_str()), bytes);
}

TEST_F(SqliteDamage, AnEmptyFileIsAnEmptyDatabase)
{
    writeFile(path.c_str(), "");
    SqliteHelper helper(path);
    EXPECT_TRUE(helper.goodConnection());
    EXPECT_TRUE(helper.executeUpdate("CREATE TABLE t (a)"));
}

TEST_F(SqliteDamage, ATruncatedDatabaseGivesRowsOrFailsButNeverHangsOrCrashes)
{
    makeMediaDatabase(path, 2000);
    const auto whole = bytesOfFile(path.c_str());
    // A file of one byte counts as empty.
    for (std::size_t size = 2; size < whole.size(); size += 1 + size / 3) {
        writeFile(path.c_str(), whole.substr(0, size));
        SqliteHelper helper(path);
        const auto rows = helper.executeDataTable("SELECT * FROM media");
        EXPECT_LE(rows.size(), 2000U);
        EXPECT_NE(helper.stringForQuery("PRAGMA integrity_check"), "ok") << "cut at " << size;
        helper.executeUpdate("INSERT INTO media (title) VALUES ('one more')");
        helper.executeUpdate("DELETE FROM media WHERE id % 2 = 0");
    }
}

TEST_F(SqliteDamage, FlippedBytesGiveDefinedResults)
{
    makeMediaDatabase(path, 500);
    const auto whole = bytesOfFile(path.c_str());
    std::mt19937 random(20);
    for (int round = 0; round < 150; ++round) {
        auto bytes = whole;
        for (int i = 0; i < 20; ++i)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        writeFile(path.c_str(), bytes);
        SqliteHelper helper(path);
        const bool isGood = helper.goodConnection();
        const auto rows = helper.executeDataTable("SELECT * FROM media LIMIT 1000");
        EXPECT_EQ(rows.isNull(), !isGood);
        EXPECT_LE(rows.size(), 1000U);
        helper.executeUpdate("UPDATE media SET title = title || '!' WHERE id < 50");
    }
}

// Rights

TEST_F(SqliteDamage, AReadOnlyFileIsReadAndNotChanged)
{
    makeMediaDatabase(path, 3);
    fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_exec | fs::perms::others_read);
    fs::permissions(folder.path("media.db"), fs::perms::owner_read | fs::perms::others_read);
    EXPECT_TRUE(holdsWithoutPrivileges([&] {
        SqliteHelper helper(path);
        return helper.intForQuery(countRows) == 3 && !helper.executeUpdate("DELETE FROM media")
            && !helper.connection()->lastErrorMessage().isNull() && !helper.inTransaction()
            && helper.intForQuery(countRows) == 3;
    }));
}

TEST_F(SqliteDamage, ADatabaseInAReadOnlyFolderIsReadAndNotChanged)
{
    makeMediaDatabase(path, 3);
    fs::permissions(folder.path("media.db"), fs::perms::all);
    fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_exec | fs::perms::others_read);
    EXPECT_TRUE(holdsWithoutPrivileges([&] {
        if (access(folder.path().c_str(), W_OK) == 0)
            return true; // the owner of the folder: nothing to see
        SqliteHelper helper(path);
        return helper.intForQuery(countRows) == 3 && !helper.executeUpdate("DELETE FROM media")
            && !helper.inTransaction() && helper.intForQuery(countRows) == 3;
    }));
}

TEST_F(SqliteDamage, AnUnreadableFileAndAFolderWithoutRightsAreNoDatabase)
{
    makeMediaDatabase(path, 3);
    fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_exec | fs::perms::others_read);
    fs::permissions(folder.path("media.db"), fs::perms::none);
    EXPECT_TRUE(holdsWithoutPrivileges([&] {
        SqliteHelper helper(path);
        SqliteHelper missing(folder.string("new.db"));
        const bool mayWrite = access(folder.path().c_str(), W_OK) == 0;
        return helper.executeDataTable(countRows).isNull() && (mayWrite || !missing.goodConnection());
    }));
}

// Write-ahead log

TEST_F(SqliteDamage, AWriteAheadLogIsReadAndWritten)
{
    makeMediaDatabase(path, 3, "wal");
    SqliteHelper reader(path);
    SqliteHelper writer(path);
    EXPECT_EQ(reader.stringForQuery("PRAGMA journal_mode"), "wal");
    ASSERT_TRUE(writer.beginTransaction());
    ASSERT_TRUE(writer.connection()->executeUpdate("DELETE FROM media WHERE id = 1"));
    EXPECT_EQ(reader.intForQuery(countRows), 3) << "readers go on while somebody writes";
    ASSERT_TRUE(writer.commit());
    EXPECT_EQ(reader.intForQuery(countRows), 2);
}

TEST_F(SqliteDamage, AWriteAheadLogLeftBehindByAKilledProcessIsRead)
{
    makeMediaDatabase(path, 3, "wal");
    const pid_t child = fork();
    if (child == 0) {
        SqliteHelper helper(path);
        const bool done = helper.executeUpdate("DELETE FROM media WHERE id = 1");
        _exit(done ? 0 : 1); // no destructor: the log stays
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    ASSERT_TRUE(fs::exists(folder.path("media.db-wal")));
    EXPECT_EQ(SqliteHelper(path).intForQuery(countRows), 2);
}

TEST_F(SqliteDamage, AWriteAheadLogInAReadOnlyFolderGivesADefinedResult)
{
    makeMediaDatabase(path, 3, "wal");
    fs::permissions(folder.path("media.db"), fs::perms::owner_read | fs::perms::others_read);
    fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_exec | fs::perms::others_read);
    EXPECT_TRUE(holdsWithoutPrivileges([&] {
        if (access(folder.path().c_str(), W_OK) == 0)
            return true;
        // The log's index cannot be made here, so SQLite cannot tell what the log holds.
        SqliteHelper helper(path);
        return !helper.goodConnection() && helper.executeDataTable(countRows).isNull()
            && !helper.executeUpdate("DELETE FROM media") && helper.connection()->lastErrorCode() != 0;
    }));
    EXPECT_EQ(SqliteHelper(path).intForQuery(countRows), 3);
}

TEST_F(SqliteDamage, AGarbledWriteAheadLogIsIgnored)
{
    makeMediaDatabase(path, 3, "wal");
    writeFile(folder.path("media.db-wal"), std::string(50000, '\x5a'));
    EXPECT_EQ(SqliteHelper(path).intForQuery(countRows), 3);
}

// Others at the same file

TEST_F(SqliteDamage, AnUpdateOfALockedDatabaseFailsWithinTwiceTheTimeLimit)
{
    using namespace std::chrono;
    makeMediaDatabase(path, 3);
    SqliteHelper mine(path);
    SqliteHelper other(path);
    other.setMaxBusyRetryTimeInterval(0.1);
    ASSERT_TRUE(mine.beginTransaction());
    const auto begin = steady_clock::now();
    EXPECT_FALSE(other.executeUpdate("DELETE FROM media"));
    EXPECT_LT(steady_clock::now() - begin, seconds(5));
    EXPECT_GE(steady_clock::now() - begin, milliseconds(100));
    EXPECT_TRUE(other.goodConnection());
    const auto table = other.executeDataTable(countRows);
    EXPECT_TRUE(table.isEmpty() && !table.isNull());
    ASSERT_TRUE(mine.rollback());
    EXPECT_TRUE(other.executeUpdate("DELETE FROM media"));
}

TEST_F(SqliteDamage, ADeletedDatabaseIsNoticedAndStartsEmpty)
{
    for (const char *mode : {"delete", "wal"}) {
        fs::remove(folder.path("media.db"));
        makeMediaDatabase(path, 3, mode);
        SqliteHelper helper(path);
        ASSERT_EQ(helper.intForQuery(countRows), 3);
        fs::remove(folder.path("media.db"));
        EXPECT_FALSE(helper.connection()->goodConnection()) << mode;
        EXPECT_EQ(helper.connection()->lastErrorMessage(), "the database file was moved or deleted");
        EXPECT_FALSE(helper.executeUpdate("DELETE FROM media")) << "nothing is written where nobody finds it";
        EXPECT_TRUE(helper.executeDataTable("SELECT * FROM media").isEmpty());
        EXPECT_TRUE(helper.executeUpdate("CREATE TABLE media (id)"));
        EXPECT_EQ(SqliteHelper(path).executeDataTable("SELECT name FROM sqlite_master").size(), 1U) << mode;
    }
}

TEST_F(SqliteDamage, ADatabaseDeletedWithinATransactionIsNoticed)
{
    makeMediaDatabase(path, 3);
    SqliteHelper helper(path);
    ASSERT_TRUE(helper.beginTransaction());
    EXPECT_TRUE(helper.goodConnection());
    EXPECT_TRUE(helper.inTransaction());
    fs::remove(folder.path("media.db"));
    EXPECT_FALSE(helper.connection()->goodConnection());
    EXPECT_TRUE(helper.goodConnection()) << "opened anew";
    EXPECT_FALSE(helper.inTransaction());
}

TEST_F(SqliteDamage, AReplacedDatabaseIsOpenedAnew)
{
    makeMediaDatabase(path, 3);
    makeMediaDatabase(folder.string("restored.db"), 7);
    SqliteHelper helper(path);
    ASSERT_EQ(helper.intForQuery(countRows), 3);
    fs::rename(folder.path("restored.db"), folder.path("media.db"));
    EXPECT_EQ(helper.intForQuery(countRows), 7);
    EXPECT_TRUE(helper.executeUpdate("DELETE FROM media WHERE id = 7"));
    EXPECT_EQ(SqliteHelper(path).intForQuery(countRows), 6);
}

TEST_F(SqliteDamage, ADeletedFolderGivesTheResultsForNoConnection)
{
    fs::create_directory(folder.path("device"));
    const String onDevice = folder.string("device/media.db");
    makeMediaDatabase(onDevice, 3);
    SqliteHelper helper(onDevice);
    ASSERT_EQ(helper.intForQuery(countRows), 3);
    fs::remove_all(folder.path("device"));
    EXPECT_FALSE(helper.goodConnection());
    EXPECT_FALSE(helper.executeUpdate("DELETE FROM media"));
    EXPECT_TRUE(helper.executeDataTable(countRows).isNull());
    makeMediaDatabase(path, 1);
    fs::create_directory(folder.path("device"));
    fs::rename(folder.path("media.db"), folder.path("device/media.db"));
    EXPECT_EQ(helper.intForQuery(countRows), 1) << "the device is back";
}

TEST_F(SqliteDamage, AFileThatShrinksUnderAnOpenConnectionFailsWithoutCrash)
{
    makeMediaDatabase(path, 5000);
    SqliteHelper helper(path);
    ASSERT_EQ(helper.intForQuery(countRows), 5000);
    fs::resize_file(folder.path("media.db"), 4096);
    EXPECT_LT(helper.executeDataTable("SELECT * FROM media").size(), 5000U);
    helper.executeUpdate("DELETE FROM media");
    EXPECT_FALSE(helper.inTransaction());
}
