// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/String.h>

#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kelvane::detail {

/// One prepared statement, kept by its connection and lent to one user at a time.
///
/// Threads: one at a time, together with its connection.
/// Ownership: shared by the connection and a result set. Whichever goes first leaves the other safe: closing the
/// connection finalises the statement, and one without handle has no rows and takes no values.
class SqliteStatement {
public:
    /// Compiles `sql`, which is one statement. Without a handle where it does not compile; the reason is then the
    /// connection's last error, or that there was nothing or too much in the text (see `problem`).
    SqliteStatement(sqlite3 *connection, std::string_view sql);
    ~SqliteStatement() { finalize(); }
    SqliteStatement(const SqliteStatement &) = delete;
    SqliteStatement &operator=(const SqliteStatement &) = delete;

    [[nodiscard]] sqlite3_stmt *handle() const noexcept { return _handle; }
    [[nodiscard]] const String &sql() const noexcept { return _sql; }
    /// What is wrong with a text that SQLite itself finds no fault with, else null.
    [[nodiscard]] const char *problem() const noexcept { return _problem; }

    [[nodiscard]] bool isIdle() const noexcept { return !_isLent; }
    void lend() noexcept { _isLent = true; }
    /// Stops the statement, drops its values and makes it available again.
    void giveBack() noexcept;
    void finalize() noexcept;

    /// Binds `arguments` to the parameters in order and keeps them alive until giveBack(); those beyond the last
    /// parameter are ignored. The result code of SQLite, SQLITE_RANGE where there are too few.
    [[nodiscard]] int bind(const Array &arguments);
    /// The next row or the end: the result code of SQLite.
    [[nodiscard]] int step() noexcept;

private:
    sqlite3_stmt *_handle = nullptr;
    String _sql;
    Array _arguments; // SQLite reads texts and blobs from here, without a copy
    const char *_problem = nullptr;
    bool _isLent = false;
};

} // namespace kelvane::detail
