// SPDX-License-Identifier: Apache-2.0
#include <kelvane/storage/SqliteHelper.h>

#include <tests/storage/SqliteFiles.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>

using kelvane::Array;
using kelvane::SqliteHelper;
using kelvane::String;
using kelvane::testsupport::TemporaryFolder;

namespace {

// Of each kind of journal. A round takes some 30 ms; KELVANE_CRASH_KILLS asks for more of them.
int kills()
{
    const char *wanted = std::getenv("KELVANE_CRASH_KILLS");
    return wanted ? std::atoi(wanted) : 100;
}

/// Adds the rows from `first` on, one update each, and writes a byte for every one that is acknowledged. A trigger
/// and a text of several pages make every update touch many places of the file. Does not return.
[[noreturn]] void updateForEver(const String &path, std::int64_t first, int acknowledgements)
{
    SqliteHelper helper(path);
    const String text(std::string(10000, 'x'));
    for (std::int64_t id = first;; ++id)
        if (!helper.executeUpdate("INSERT INTO log VALUES (?, ?)", Array{id, text})
            || write(acknowledgements, "+", 1) != 1)
            _exit(1);
}

/// Lets a process update the database and kills it `after` its first acknowledgement: how many it acknowledged.
std::int64_t acknowledgedUntilKilled(const String &path, std::int64_t first, std::chrono::microseconds after)
{
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        updateForEver(path, first, ends[1]);
    }
    close(ends[1]);
    char bytes[4096];
    std::int64_t acknowledged = read(ends[0], bytes, 1);
    std::this_thread::sleep_for(after); // the random moment itself; nothing waits for it
    kill(child, SIGKILL);
    for (ssize_t count = 0; (count = read(ends[0], bytes, sizeof bytes)) > 0;)
        acknowledged += count;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "an update failed";
    return acknowledged;
}

class SqliteCrash : public testing::TestWithParam<const char *> {};

} // namespace

TEST_P(SqliteCrash, AKilledProcessLosesNoAcknowledgedUpdateAndLeavesNoHalfOne)
{
    const TemporaryFolder folder;
    const String path = folder.string("log.db");
    {
        SqliteHelper helper(path);
        ASSERT_EQ(helper.stringForQuery(String::concat({"PRAGMA journal_mode = ", GetParam()})), GetParam());
        ASSERT_TRUE(helper.executeUpdate("CREATE TABLE log (id INTEGER PRIMARY KEY, text)"));
        ASSERT_TRUE(helper.executeUpdate("CREATE TABLE total (count INTEGER)"));
        ASSERT_TRUE(helper.executeUpdate("INSERT INTO total VALUES (0)"));
        ASSERT_TRUE(helper.executeUpdate(
            "CREATE TRIGGER counted AFTER INSERT ON log BEGIN UPDATE total SET count = count + 1; END"));
    }
    std::mt19937 random(std::random_device{}());
    std::int64_t rows = 0;
    for (int round = 0; round < kills(); ++round) {
        const std::chrono::microseconds after(random() % 8000);
        const auto acknowledged = acknowledgedUntilKilled(path, rows + 1, after);
        ASSERT_GE(acknowledged, 1);
        SqliteHelper helper(path);
        ASSERT_EQ(helper.stringForQuery("PRAGMA integrity_check"), "ok");
        const auto found = helper.longForQuery("SELECT count(*) FROM log");
        EXPECT_GE(found, rows + acknowledged) << "an acknowledged update is lost";
        EXPECT_LE(found, rows + acknowledged + 1) << "more than the one in flight";
        EXPECT_EQ(helper.longForQuery("SELECT max(id) FROM log"), found);
        EXPECT_EQ(helper.longForQuery("SELECT count FROM total"), found) << "half an update";
        EXPECT_EQ(helper.longForQuery("SELECT count(*) FROM log WHERE length(text) = 10000"), found);
        rows = found;
        if (rows > 2000) { // integrity_check reads everything
            ASSERT_TRUE(helper.executeUpdate("DELETE FROM log"));
            ASSERT_TRUE(helper.executeUpdate("UPDATE total SET count = 0"));
            rows = 0;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Journal, SqliteCrash, testing::Values("delete", "wal"), [](const auto &mode) { return std::string(mode.param); });
