// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
int main()
{
    SqliteHelper library("library.sqlite"); // made where there is none
    library.executeUpdate("CREATE TABLE song (title TEXT, seconds INTEGER, cover BLOB)");

    const char *insert = "INSERT INTO song VALUES (?, ?, ?)"; // values go into arguments, never into the text
    library.executeUpdate(insert, {"Ebb", 184, nullptr});
    library.executeUpdate(insert, {"Bobby'); DROP TABLE song;--", 61, Data("\xFF\xD8", 2)});
    if (!library.executeUpdate("INSERT INTO songs VALUES (1)"))
        std::printf("refused: %s\n", library.connection()->lastErrorMessage().c_str());

    for (const Value &row : library.executeDataTable("SELECT title, seconds, cover FROM song ORDER BY title")) {
        const Dictionary song = row.dictionary();
        std::printf("%s, %d s, %zu bytes of cover\n", song["title"].string().c_str(), song["seconds"].intValue(),
            song["cover"].data().size());
    }
    std::printf("longer than a minute: %d\n", library.intForQuery("SELECT COUNT(*) FROM song WHERE seconds > ?", 60));
}
//! [recipe]
