// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FMDatabase.h>

#include <kelvane/platform/detail/SqliteConnection.h>
#include <kelvane/platform/detail/SqliteStatement.h>

#include <chrono>
#include <sqlite3.h>

namespace kelvane {

FMDatabase::FMDatabase(const String &path) : _connection(std::make_shared<detail::SqliteConnection>(path)) {}

FMDatabase::~FMDatabase()
{
    _connection->close();
}

const String &FMDatabase::databasePath() const noexcept
{
    return _connection->path();
}

bool FMDatabase::open()
{
    if (_connection->isGood())
        return true;
    _connection->close();
    return _connection->open();
}

bool FMDatabase::close()
{
    _connection->close();
    return true;
}

bool FMDatabase::goodConnection()
{
    return _connection->isGood();
}

bool FMDatabase::beginTransaction()
{
    return control("BEGIN EXCLUSIVE");
}

bool FMDatabase::commit()
{
    return control("COMMIT");
}

bool FMDatabase::rollback()
{
    return control("ROLLBACK");
}

bool FMDatabase::control(const char *sql)
{
    const auto statement = _connection->statement(sql);
    if (!statement)
        return false;
    const int code = statement->step();
    if (code != SQLITE_DONE)
        _connection->noteError(code);
    statement->giveBack();
    return code == SQLITE_DONE;
}

bool FMDatabase::inTransaction() const
{
    return _connection->inTransaction();
}

/// A statement of this text, lent to the caller, with its arguments bound.
std::shared_ptr<detail::SqliteStatement> FMDatabase::bound(const String &sql, const Array &arguments)
{
    _connection->clearError();
    auto statement = _connection->statement(sql.view());
    if (!statement)
        return nullptr;
    const int code = statement->bind(arguments);
    if (code == SQLITE_OK)
        return statement;
    if (code == SQLITE_RANGE)
        _connection->noteError(code, "the statement has more parameters than there are arguments");
    else
        _connection->noteError(code);
    statement->giveBack();
    return nullptr;
}

bool FMDatabase::executeUpdate(const String &sql, const Array &arguments)
{
    const auto statement = bound(sql, arguments);
    if (!statement)
        return false;
    int code = SQLITE_ROW;
    while (code == SQLITE_ROW)
        code = statement->step();
    if (code != SQLITE_DONE)
        _connection->noteError(code);
    statement->giveBack();
    return code == SQLITE_DONE;
}

std::shared_ptr<FMResultSet> FMDatabase::executeQuery(const String &sql, const Array &arguments)
{
    auto statement = bound(sql, arguments);
    return statement ? std::make_shared<FMResultSet>(std::move(statement), _connection) : nullptr;
}

int FMDatabase::lastErrorCode() const noexcept
{
    return _connection->lastErrorCode();
}

const String &FMDatabase::lastErrorMessage() const noexcept
{
    return _connection->lastErrorMessage();
}

double FMDatabase::maxBusyRetryTimeInterval() const noexcept
{
    return _connection->busyLimit().count();
}

void FMDatabase::setMaxBusyRetryTimeInterval(double seconds) noexcept
{
    _connection->setBusyLimit(std::chrono::duration<double>(seconds > 0 ? seconds : 0));
}

} // namespace kelvane
