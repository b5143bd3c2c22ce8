// SPDX-License-Identifier: Apache-2.0
#include "Job.h"

#include <kelvane/storage/SqliteHelper.h>

#include <map>
#include <string>

namespace kelvane::soak {
namespace {

using Rows = std::map<int, std::string>;

void requireSame(SqliteHelper &helper, const Rows &rows)
{
    const Array table = helper.executeDataTable("SELECT id, title FROM song ORDER BY id");
    check(table.size() == rows.size(), "a table has the rows that were written");
    std::size_t place = 0;
    for (const auto &[id, title] : rows) {
        const Dictionary row = table[place++].dictionary();
        check(row["id"].intValue() == id && row["title"].string() == title, "a row reads as it was written");
    }
}

void change(SqliteHelper &helper, Turn &turn, Rows &rows)
{
    const int id = turn.between(1, 200);
    const std::string title = "title " + std::to_string(turn.random());
    const bool isDone = turn.oneIn(4)
        ? helper.executeUpdate("DELETE FROM song WHERE id = ?", {id}) && (rows.erase(id), true)
        : helper.executeUpdate("INSERT OR REPLACE INTO song VALUES(?, ?)", {id, String(title)})
            && (rows.insert_or_assign(id, title), true);
    check(isDone, "a change of a table succeeds");
}

void changeInOne(SqliteHelper &helper, Turn &turn, Rows &rows)
{
    Rows changed = rows;
    check(helper.goodConnection() && helper.beginTransaction(), "a transaction begins");
    for (int i = 0; i < 50; ++i) {
        const int id = turn.between(1, 200);
        check(helper.connection()->executeUpdate("INSERT OR REPLACE INTO song VALUES(?, 'together')", {id}),
            "a statement of a transaction succeeds");
        changed[id] = "together";
    }
    if (turn.oneIn(2)) {
        check(helper.rollback(), "a transaction can be taken back");
    } else {
        check(helper.commit(), "a transaction can be committed");
        rows = changed;
    }
}

} // namespace

void keepTables(Turn &turn)
{
    const String path = (turn.folder / "songs.sqlite").native();
    Rows rows;
    SqliteHelper helper(path);
    check(helper.executeUpdate("CREATE TABLE song(id INTEGER PRIMARY KEY, title TEXT)"), "a table can be made");
    for (int round = turn.between(3, 6); round > 0; --round) {
        for (int i = 0; i < 15; ++i)
            change(helper, turn, rows);
        changeInOne(helper, turn, rows);
        requireSame(helper, rows);
        check(!helper.executeUpdate("INSERT INTO nothing VALUES(1)"), "a wrong statement fails");
        if (turn.oneIn(2))
            helper.close();
    }
    SqliteHelper other(path);
    requireSame(other, rows);
    check(other.stringForQuery("PRAGMA integrity_check") == "ok", "a database is whole");
}

} // namespace kelvane::soak
