// SPDX-License-Identifier: Apache-2.0
#include <kelvane/storage/SqliteHelper.h>

namespace kelvane {

SqliteHelper::SqliteHelper(const String &path) : _dbPath(path), _connection(makeConnection())
{
    if (!_connection->open())
        close();
}

SqliteHelper::~SqliteHelper()
{
    close();
}

void SqliteHelper::setMaxBusyRetryTimeInterval(double seconds) noexcept
{
    _busyLimit = seconds;
    if (_connection)
        _connection->setMaxBusyRetryTimeInterval(seconds);
}

std::unique_ptr<FMDatabase> SqliteHelper::makeConnection() const
{
    auto connection = std::make_unique<FMDatabase>(_dbPath);
    connection->setMaxBusyRetryTimeInterval(_busyLimit);
    return connection;
}

void SqliteHelper::close()
{
    if (_connection)
        _connection->close();
    _connection.reset();
}

bool SqliteHelper::goodConnection()
{
    if (_connection)
        return _connection->goodConnection() || _connection->open();
    // One that does not open stays, with the reason, and is tried again next time.
    _connection = makeConnection();
    return _connection->open();
}

bool SqliteHelper::beginTransaction()
{
    return _connection && _connection->beginTransaction();
}

bool SqliteHelper::commit()
{
    return _connection && _connection->commit();
}

bool SqliteHelper::rollback()
{
    return _connection && _connection->rollback();
}

bool SqliteHelper::inTransaction() const
{
    return _connection && _connection->inTransaction();
}

/// The result of a query, null where the text is null, there is no connection, or the query fails.
std::shared_ptr<FMResultSet> SqliteHelper::query(const String &sql, const Array &params)
{
    if (sql.isNull() || !goodConnection())
        return nullptr;
    return _connection->executeQuery(sql, params);
}

void SqliteHelper::release(FMResultSet &results)
{
    results.close();
    results.setParentDB(nullptr);
}

std::shared_ptr<FMResultSet> SqliteHelper::firstRow(const String &sql, const Array &arguments)
{
    auto results = query(sql, arguments);
    // Intended: a result without a row is left unclosed. SQLite ends its read lock with the last row, so nothing
    // waits for it, and the statement is free again when the last reference to the result goes.
    return results && results->next() ? results : nullptr;
}

/// Makes sure that there is a usable connection and begins a transaction on it; false where there is no connection.
bool SqliteHelper::beginUpdate()
{
    // Intended: whether the transaction begins is not looked at. Within one of the caller's it does not, and the
    // update then ends the caller's; applications that batch their updates use the connection itself.
    //
    // The connection is asked after the begin, because a question within the transaction takes no lock of its own,
    // which is a good part of a small update. One that turns out bad is opened again, which ends what was begun.
    if (_connection) {
        _connection->beginTransaction();
        if (_connection->goodConnection())
            return true;
    }
    if (!goodConnection())
        return false;
    _connection->beginTransaction();
    return true;
}

bool SqliteHelper::executeUpdate(const String &sql, const Array &params)
{
    if (sql.isNull() || !beginUpdate())
        return false;
    const bool succeeded = _connection->executeUpdate(sql, params);
    // Intended: the outcome of the commit is not told. Callers take true as "the statement was right".
    if (succeeded)
        _connection->commit();
    else
        _connection->rollback();
    return succeeded;
}

Value SqliteHelper::executeScalar(const String &sql, const Array &params)
{
    Value scalar = NullObject{};
    if (const auto results = query(sql, params)) {
        if (results->next())
            scalar = results->objectForColumnIndex(0);
        release(*results);
    }
    return scalar;
}

Dictionary SqliteHelper::executeDataTableItem(const String &sql, const Array &params)
{
    Dictionary item;
    if (const auto results = query(sql, params)) {
        // Intended: the last row, not the first; callers order their queries by it.
        while (results->next())
            item = results->resultDictionary();
        release(*results);
    }
    return item;
}

Array SqliteHelper::executeDataTable(const String &sql, const Array &params)
{
    if (sql.isNull() || !goodConnection())
        return nullptr;
    auto table = Array::empty();
    // Intended: a query that fails is a table without rows; null is only for want of a text or a connection.
    if (const auto results = _connection->executeQuery(sql, params)) {
        while (results->next())
            table.append(results->resultDictionary());
        release(*results);
    }
    return table;
}

} // namespace kelvane
