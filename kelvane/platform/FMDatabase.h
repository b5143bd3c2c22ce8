// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/detail/SqliteArguments.h>
#include <kelvane/platform/FMResultSet.h>

#include <memory>

namespace kelvane {

/// A connection to one SQLite database file.
///
/// Statements are compiled once and kept for the next time the same text comes, the 32 last used ones of them; values
/// belong into the arguments therefore, not into the text. A text is one statement; one that holds a second statement
/// behind it is refused rather than run in part.
///
/// Arguments bind to the parameters of the statement in order, named and numbered ones included. Too few are a
/// failure, further ones are ignored. nil and the null object bind as NULL; bool, integers and double by their kind
/// (a NaN as NULL; an unsigned number above the signed range keeps its 64 bits and reads back negative); a Date as
/// seconds since 1970 with their fraction; Data as a blob; String as text with any NULs; everything else as the text
/// of its description.
///
/// Threads: one at a time, together with its result sets; the caller serialises.
/// Ownership: owns the connection. Result sets may outlive it, and then have no more rows.
/// Errors: nothing throws but std::bad_alloc; failures are false or null, with lastErrorCode() and lastErrorMessage().
class KELVANE_EXPORT FMDatabase {
public:
    /// @selector initWithPath:
    /// A connection, not yet open, for the file at `path`, which is any bytes but NUL. The null path stands for a
    /// database in memory, as ":memory:" does, the empty one for a temporary file that nobody else sees.
    explicit FMDatabase(const String &path);
    /// Closes.
    ~FMDatabase();
    FMDatabase(const FMDatabase &) = delete;
    FMDatabase &operator=(const FMDatabase &) = delete;

    [[nodiscard]] const String &databasePath() const noexcept;

    /// Opens the file, or makes an empty one where there is none. A file that may not be written opens for reading
    /// only. True if the connection is good. Where it is already open and good nothing happens; where it is open but
    /// no longer good it is closed and opened anew, which ends its transaction and its results. False, and closed,
    /// where the path is no regular file, cannot be opened, or holds no (or an encrypted) database.
    bool open();
    /// Closes the connection. Result sets that are still open have no more rows, an open transaction is rolled back.
    /// True, also where it was not open.
    bool close();
    /// Asks the database whether it can be used: true if it is open, its file is still the one at its path, and
    /// SQLite can read it. A database that somebody else has locked is good; the question does not wait for him.
    [[nodiscard]] bool goodConnection();

    /// Begins a transaction that locks everybody else out (BEGIN EXCLUSIVE); waits for other users of the file. False
    /// within a transaction.
    bool beginTransaction();
    /// Make the changes of the transaction lasting, or take them back. False where there is no transaction, and where
    /// a commit fails; the transaction may then still be there.
    bool commit();
    bool rollback();
    /// Whether a transaction is open, however it was begun.
    [[nodiscard]] bool inTransaction() const;

    /// @selector executeUpdate: and executeUpdate:withArgumentsInArray:
    /// Runs a statement to its end; rows that it yields are passed over. Outside of a transaction it is its own.
    bool executeUpdate(const String &sql, const Array &arguments = nullptr);
    /// @selector executeQuery: and executeQuery:withArgumentsInArray:
    /// Compiles a query and binds its arguments; FMResultSet::next() runs it. Null where that fails.
    [[nodiscard]] std::shared_ptr<FMResultSet> executeQuery(const String &sql, const Array &arguments = nullptr);
    /// @selector executeQuery:withVAList:
    /// The same with the arguments one by one, each bound by its own type.
    template <detail::SqliteArgument First, detail::SqliteArgument... Rest>
    requires(sizeof...(Rest) > 0 || detail::isSingleSqliteArgument<First>)
        [[nodiscard]] std::shared_ptr<FMResultSet> executeQuery(
            const String &sql, const First &first, const Rest &...rest)
    {
        return executeQuery(sql, detail::sqliteArguments(first, rest...));
    }

    /// SQLite's code for what failed last, 0 where nothing did. A new update, query or open forgets it; control of
    /// transactions does not, so that a rollback does not hide why it was needed.
    [[nodiscard]] int lastErrorCode() const noexcept;
    /// The same in words, null where nothing failed.
    [[nodiscard]] const String &lastErrorMessage() const noexcept;

    /// How long an operation waits for other users of the file, in seconds; 2 at first, 0 for not at all.
    [[nodiscard]] double maxBusyRetryTimeInterval() const noexcept;
    void setMaxBusyRetryTimeInterval(double seconds) noexcept;

private:
    friend class FMResultSet;
    bool control(const char *sql);
    [[nodiscard]] std::shared_ptr<detail::SqliteStatement> bound(const String &sql, const Array &arguments);

    const std::shared_ptr<detail::SqliteConnection> _connection;
};

} // namespace kelvane
