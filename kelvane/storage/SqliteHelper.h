// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/detail/SqliteArguments.h>
#include <kelvane/platform/FMDatabase.h>
#include <kelvane/storage/detail/RowObjects.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace kelvane {

/// Access to one SQLite database file: opens it again when needed, wraps every change in a transaction of its own, and
/// gives results as single values, dictionaries, arrays of dictionaries, or objects of a class of the application.
///
/// SQL texts are single statements; values belong into arguments, whose rules FMDatabase tells. Where the null SQL text
/// is given or there is no usable connection, nothing is executed and an operation gives the value that it has for
/// that: false, nil or the null object.
///
/// Threads: one at a time; the caller serialises.
/// Ownership: owns its connection. Results are copies and stay valid.
/// Errors: nothing throws but std::bad_alloc, and nothing is logged. Reasons are in connection()->lastErrorMessage().
class KELVANE_EXPORT SqliteHelper {
public:
    /// @selector initWithPath:
    /// Opens the database at `path`, making an empty one where there is no file. A helper that could not open it has no
    /// connection and tries again with the next query or update. The null path stands for a database in memory, the
    /// empty one for a temporary file; both end when the connection closes.
    explicit SqliteHelper(const String &path);
    /// Closes.
    ~SqliteHelper();
    SqliteHelper(const SqliteHelper &) = delete;
    SqliteHelper &operator=(const SqliteHelper &) = delete;

    [[nodiscard]] const String &dbPath() const noexcept { return _dbPath; }
    /// The connection, null after close(). Belongs to the helper.
    [[nodiscard]] FMDatabase *connection() const noexcept { return _connection.get(); }

    /// How long the connection, this one and those to come, waits for other users of the file, in seconds; 2 at first.
    /// An update waits at most twice as long: for its transaction and, if that could not begin, for its statement.
    void setMaxBusyRetryTimeInterval(double seconds) noexcept;

    /// Closes the connection and gives it up; an open transaction is rolled back. The next query or update opens
    /// another one.
    void close();
    /// Makes sure that there is a usable connection: opens one where there is none, and opens it again where it is no
    /// longer good (as when its file was replaced). False where that fails.
    bool goodConnection();

    /// Forwarded to the connection, which is not opened for it: false where there is none.
    bool beginTransaction();
    bool commit();
    bool rollback();
    [[nodiscard]] bool inTransaction() const;

    /// Single values: the first column of the first row of a query, whose parameters take the arguments in order, each
    /// by its own type. Null, 0 or false where there is no row (or no connection, or a failure). Conversions are those
    /// of FMResultSet's readers.
    /// @selector stringForQuery:
    template <detail::SqliteArgument... Arguments>
    [[nodiscard]] String stringForQuery(const String &sql, const Arguments &...arguments)
    {
        return valueForQuery<&FMResultSet::stringForColumnIndex>(sql, detail::sqliteArguments(arguments...));
    }
    /// @selector intForQuery:
    template <detail::SqliteArgument... Arguments>
    [[nodiscard]] std::int32_t intForQuery(const String &sql, const Arguments &...arguments)
    {
        return valueForQuery<&FMResultSet::intForColumnIndex>(sql, detail::sqliteArguments(arguments...));
    }
    /// @selector longForQuery:
    template <detail::SqliteArgument... Arguments>
    [[nodiscard]] std::int64_t longForQuery(const String &sql, const Arguments &...arguments)
    {
        return valueForQuery<&FMResultSet::longForColumnIndex>(sql, detail::sqliteArguments(arguments...));
    }
    /// @selector boolForQuery:
    template <detail::SqliteArgument... Arguments>
    [[nodiscard]] bool boolForQuery(const String &sql, const Arguments &...arguments)
    {
        return valueForQuery<&FMResultSet::boolForColumnIndex>(sql, detail::sqliteArguments(arguments...));
    }
    /// @selector doubleForQuery:
    template <detail::SqliteArgument... Arguments>
    [[nodiscard]] double doubleForQuery(const String &sql, const Arguments &...arguments)
    {
        return valueForQuery<&FMResultSet::doubleForColumnIndex>(sql, detail::sqliteArguments(arguments...));
    }
    /// @selector dataForQuery:
    template <detail::SqliteArgument... Arguments>
    [[nodiscard]] Data dataForQuery(const String &sql, const Arguments &...arguments)
    {
        return valueForQuery<&FMResultSet::dataForColumnIndex>(sql, detail::sqliteArguments(arguments...));
    }
    /// @selector dateForQuery:
    template <detail::SqliteArgument... Arguments>
    [[nodiscard]] Date dateForQuery(const String &sql, const Arguments &...arguments)
    {
        return valueForQuery<&FMResultSet::dateForColumnIndex>(sql, detail::sqliteArguments(arguments...));
    }

    /// @selector executeUpdate: and executeUpdate:params:
    /// Begins a transaction, runs the statement, and commits if that succeeded or rolls back if not. True if the
    /// statement succeeded, whatever became of the commit; one that failed leaves the transaction open (see
    /// inTransaction()). A transaction that the caller began is not respected: it is committed or rolled back with the
    /// statement.
    bool executeUpdate(const String &sql, const Array &params = nullptr);
    /// @selector executeScalar: and executeScalar:params:
    /// The first column of the first row; the null object for NULL, and where there is no row, null SQL or no
    /// connection.
    [[nodiscard]] Value executeScalar(const String &sql, const Array &params = nullptr);
    /// @selector executeDataTableItem: and executeDataTableItem:params:
    /// The last row by its column names (see FMResultSet::resultDictionary()); null where there is none.
    [[nodiscard]] Dictionary executeDataTableItem(const String &sql, const Array &params = nullptr);
    /// @selector executeDataTable: and executeDataTable:params:
    /// All rows in their order, each a dictionary by the column names. Empty where there are no rows or the query
    /// fails, with the rows before it where reading fails half-way; null for null SQL or without a connection.
    [[nodiscard]] Array executeDataTable(const String &sql, const Array &params = nullptr);

    /// @selector executeDataList:type: and executeDataList:params:type:
    /// One new object per row, in row order. Columns are not matched to names: each field that the superclass of `T`
    /// declares gets the whole row (see RowObject). Nothing where executeDataTable() gives no rows: never an empty list.
    template <RowObject T>
    [[nodiscard]] std::optional<std::vector<std::shared_ptr<T>>> executeDataList(
        const String &sql, const Array &params = nullptr)
    {
        const auto table = executeDataTable(sql, params);
        if (table.isEmpty())
            return std::nullopt;
        std::vector<std::shared_ptr<T>> list;
        list.reserve(table.size());
        for (const auto &row : table)
            list.push_back(detail::rowObject<T>(row.dictionary()));
        return list;
    }
    /// @selector executeDataItem:type: and executeDataItem:params:type:
    /// The first object of executeDataList(), null where there is none.
    template <RowObject T>
    [[nodiscard]] std::shared_ptr<T> executeDataItem(const String &sql, const Array &params = nullptr)
    {
        const auto list = executeDataList<T>(sql, params);
        return list ? list->front() : nullptr;
    }

private:
    /// A result set at its first row; null where there is none.
    [[nodiscard]] std::shared_ptr<FMResultSet> firstRow(const String &sql, const Array &arguments);

    template <auto reader>
    auto valueForQuery(const String &sql, const Array &arguments)
        -> decltype((std::declval<FMResultSet &>().*reader)(0))
    {
        const auto results = firstRow(sql, arguments);
        if (!results)
            return {};
        auto value = ((*results).*reader)(0);
        release(*results);
        return value;
    }

    std::shared_ptr<FMResultSet> query(const String &sql, const Array &params);
    static void release(FMResultSet &results);
    bool beginUpdate();
    [[nodiscard]] std::unique_ptr<FMDatabase> makeConnection() const;

    const String _dbPath;
    double _busyLimit = 2;
    std::unique_ptr<FMDatabase> _connection;
};

} // namespace kelvane
