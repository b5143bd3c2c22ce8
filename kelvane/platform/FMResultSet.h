// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>

#include <cstdint>
#include <memory>

namespace kelvane {

namespace detail {
class SqliteConnection;
class SqliteStatement;
} // namespace detail

class FMDatabase;

/// The rows of one query, read forwards, one at a time.
///
/// Starts before the first row: call next() first. A column that does not exist, or any column while there is no
/// current row, reads as NULL does.
///
/// Threads: one at a time, together with its database; the caller serialises.
/// Ownership: made by FMDatabase::executeQuery(). May outlive its database; it then has no more rows. What it hands
/// out is a copy and stays valid. Destroying it closes it.
/// Errors: nothing throws but std::bad_alloc. A row that cannot be read ends the rows; the reason is then the
/// database's last error.
class KELVANE_EXPORT FMResultSet {
public:
    /// Made by FMDatabase::executeQuery().
    FMResultSet(std::shared_ptr<detail::SqliteStatement> statement, std::weak_ptr<detail::SqliteConnection> database);
    ~FMResultSet();
    FMResultSet(const FMResultSet &) = delete;
    FMResultSet &operator=(const FMResultSet &) = delete;

    /// Goes to the next row. False at the end, where a read fails, where the file stays locked for longer than the
    /// database waits, and from then on. At the end the file is unlocked, even if the set is not closed.
    bool next();
    /// Ends the rows and gives the statement back to the database for the next query of the same text. May be called
    /// again.
    void close();
    /// @selector setParentDB:
    /// The database that learns of errors in next(); null for none. Rows can still be read without.
    void setParentDB(const FMDatabase *database);

    /// The current row by its column names, which all rows of this result share: integers as int64, then double,
    /// String, Data, and the null object for NULL, as the row stores them. Where two columns have the same name the
    /// last one's value stays. The null dictionary where there is no current row.
    [[nodiscard]] Dictionary resultDictionary();
    /// @selector objectForColumnIndex:
    /// The column, counted from 0, as resultDictionary() gives it; the null object for NULL.
    [[nodiscard]] Value objectForColumnIndex(int index) const;

    /// @selector stringForColumnIndex:
    /// The column as text, of any length and with any NULs in it; null for NULL. A blob is taken as text as it is.
    [[nodiscard]] String stringForColumnIndex(int index) const;
    /// @selector intForColumnIndex:
    /// The lower 32 bits of longForColumnIndex().
    [[nodiscard]] std::int32_t intForColumnIndex(int index) const;
    /// @selector longForColumnIndex:
    /// The column as an integer: a double cut towards zero, the number that a text begins with, 0 for NULL.
    [[nodiscard]] std::int64_t longForColumnIndex(int index) const;
    /// @selector boolForColumnIndex:
    /// Whether longForColumnIndex() is not 0.
    [[nodiscard]] bool boolForColumnIndex(int index) const;
    /// @selector doubleForColumnIndex:
    /// The column as a double: the number that a text begins with, 0 for NULL.
    [[nodiscard]] double doubleForColumnIndex(int index) const;
    /// @selector dataForColumnIndex:
    /// The bytes of a blob or a text, the text of a number; null for NULL, empty for an empty blob.
    [[nodiscard]] Data dataForColumnIndex(int index) const;
    /// @selector dateForColumnIndex:
    /// The column as seconds since 1970; null for NULL.
    [[nodiscard]] Date dateForColumnIndex(int index) const;

private:
    struct Columns;
    [[nodiscard]] Columns &columns(int count);

    std::shared_ptr<detail::SqliteStatement> _statement; // null once closed
    std::weak_ptr<detail::SqliteConnection> _parentDB;
    std::unique_ptr<Columns> _columns; // made for the first dictionary
    bool _isAtEnd = false;
};

} // namespace kelvane
