// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

#include <chrono>
#include <memory>
#include <string_view>
#include <vector>

struct sqlite3;

namespace kelvane::detail {

class SqliteStatement;

/// What stands behind an FMDatabase: SQLite's handle, the statements kept for it, its last error and its patience
/// with other users of the file. May be opened and closed any number of times.
///
/// Invariants
///  1. Every statement of an open handle is in `_statements`; closing finalises them all, those that result sets
///     still hold too, so that the handle really closes and never lives on as a zombie.
///  2. `_statements` is in order of last use. At most `keptStatements` of it are idle.
///
/// Threads: one at a time.
class SqliteConnection {
public:
    /// `path` as for FMDatabase.
    explicit SqliteConnection(const String &path) : _path(path) {}
    ~SqliteConnection() { close(); }
    SqliteConnection(const SqliteConnection &) = delete;
    SqliteConnection &operator=(const SqliteConnection &) = delete;

    [[nodiscard]] const String &path() const noexcept { return _path; }
    [[nodiscard]] bool isOpen() const noexcept { return _handle; }
    /// Opens the file, which must not be open. A file that is there but is no database is left alone.
    [[nodiscard]] bool open();
    void close() noexcept;

    /// Whether the file is still at its path and SQLite can read it. A file that somebody else has locked is good;
    /// asking does not wait for him.
    [[nodiscard]] bool isGood();
    [[nodiscard]] bool inTransaction() const noexcept;

    /// A statement of this text that nobody else uses, lent to the caller; null, with the error noted, where the text
    /// does not compile.
    [[nodiscard]] std::shared_ptr<SqliteStatement> statement(std::string_view sql);

    void clearError() noexcept;
    /// Notes `code` with the message that SQLite has for it now; false for the caller to return.
    bool noteError(int code);
    bool noteError(int code, const String &message);
    [[nodiscard]] int lastErrorCode() const noexcept { return _lastErrorCode; }
    [[nodiscard]] const String &lastErrorMessage() const noexcept { return _lastErrorMessage; }

    [[nodiscard]] std::chrono::duration<double> busyLimit() const noexcept { return _busyLimit; }
    void setBusyLimit(std::chrono::duration<double> limit) noexcept { _busyLimit = limit; }

private:
    [[nodiscard]] bool openHandle();
    [[nodiscard]] bool hasMoved() const noexcept;
    void evictIdleStatements() noexcept;
    [[nodiscard]] bool waitWhileBusy(int attempts) noexcept;

    String _path;
    sqlite3 *_handle = nullptr;
    std::vector<std::shared_ptr<SqliteStatement>> _statements;
    int _lastErrorCode = 0;
    String _lastErrorMessage;
    std::chrono::duration<double> _busyLimit{2};
    std::chrono::steady_clock::time_point _busySince;
    bool _isAsking = false;
};

} // namespace kelvane::detail
