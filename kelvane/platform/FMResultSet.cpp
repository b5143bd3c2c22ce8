// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FMResultSet.h>

#include <kelvane/platform/detail/SqliteConnection.h>
#include <kelvane/platform/detail/SqliteStatement.h>
#include <kelvane/platform/FMDatabase.h>

#include <sqlite3.h>
#include <string_view>
#include <vector>

namespace kelvane {

namespace {

/// A column of the current row, null where there is none. SQLite allows reading the value without its connection's
/// lock because the connection was opened without one.
sqlite3_value *columnOf(const std::shared_ptr<detail::SqliteStatement> &statement, int index)
{
    auto *handle = statement ? statement->handle() : nullptr;
    if (!handle || index < 0 || index >= sqlite3_data_count(handle))
        return nullptr;
    return sqlite3_column_value(handle, index);
}

/// The same, null for an SQL NULL, too.
sqlite3_value *presentColumnOf(const std::shared_ptr<detail::SqliteStatement> &statement, int index)
{
    auto *column = columnOf(statement, index);
    return column && sqlite3_value_type(column) != SQLITE_NULL ? column : nullptr;
}

/// The bytes of a text in UTF-8, or of a blob. Asking for the size first turns a text of another encoding into
/// UTF-8; asking for a blob then spares SQLite the copy that it makes to end a text with a NUL.
std::string_view bytesOf(sqlite3_value *column)
{
    const auto size = static_cast<std::size_t>(sqlite3_value_bytes(column));
    const auto *bytes = static_cast<const char *>(sqlite3_value_blob(column));
    return bytes ? std::string_view(bytes, size) : std::string_view();
}

/// The value as it is stored.
Value valueOf(sqlite3_value *column)
{
    switch (sqlite3_value_type(column)) {
    case SQLITE_INTEGER:
        return static_cast<std::int64_t>(sqlite3_value_int64(column));
    case SQLITE_FLOAT:
        return sqlite3_value_double(column);
    case SQLITE_TEXT:
        return String(bytesOf(column));
    case SQLITE_BLOB: {
        const auto bytes = bytesOf(column);
        return Data(bytes.data(), bytes.size());
    }
    default:
        return NullObject{};
    }
}

} // namespace

/// What is the same for all rows of a result.
struct FMResultSet::Columns {
    explicit Columns(const std::vector<String> &names) : keys(names), columns(keys.size())
    {
        for (std::size_t i = 0; i < names.size(); ++i)
            columns[keys.indexOf(names[i].view())] = static_cast<int>(i);
    }

    Dictionary::KeySet keys;
    std::vector<int> columns; // which column the value of each key is: of equal names the last
};

FMResultSet::FMResultSet(
    std::shared_ptr<detail::SqliteStatement> statement, std::weak_ptr<detail::SqliteConnection> database)
    : _statement(std::move(statement)),
      _parentDB(std::move(database))
{
}

FMResultSet::~FMResultSet()
{
    close();
}

bool FMResultSet::next()
{
    // SQLite would run a query that came to its end again from the start.
    if (_isAtEnd || !_statement || !_statement->handle())
        return false;
    const int code = _statement->step();
    if (code == SQLITE_ROW)
        return true;
    _isAtEnd = true;
    if (code != SQLITE_DONE)
        if (const auto database = _parentDB.lock())
            database->noteError(code);
    return false;
}

void FMResultSet::close()
{
    if (_statement)
        _statement->giveBack();
    _statement.reset();
}

void FMResultSet::setParentDB(const FMDatabase *database)
{
    _parentDB.reset();
    if (database)
        _parentDB = database->_connection;
}

Dictionary FMResultSet::resultDictionary()
{
    auto *handle = _statement ? _statement->handle() : nullptr;
    const int count = handle ? sqlite3_data_count(handle) : 0;
    if (count == 0)
        return {};
    const auto &shared = columns(count);
    return Dictionary::of(
        shared.keys, [&](std::size_t place) { return valueOf(sqlite3_column_value(handle, shared.columns[place])); });
}

FMResultSet::Columns &FMResultSet::columns(int count)
{
    if (!_columns) {
        std::vector<String> names;
        names.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            const char *name = sqlite3_column_name(_statement->handle(), i);
            names.emplace_back(name ? name : "");
        }
        _columns = std::make_unique<Columns>(names);
    }
    return *_columns;
}

Value FMResultSet::objectForColumnIndex(int index) const
{
    auto *column = columnOf(_statement, index);
    return column ? valueOf(column) : NullObject{};
}

String FMResultSet::stringForColumnIndex(int index) const
{
    auto *column = presentColumnOf(_statement, index);
    return column ? String(bytesOf(column)) : String();
}

std::int32_t FMResultSet::intForColumnIndex(int index) const
{
    return static_cast<std::int32_t>(longForColumnIndex(index));
}

std::int64_t FMResultSet::longForColumnIndex(int index) const
{
    auto *column = columnOf(_statement, index);
    return column ? sqlite3_value_int64(column) : 0;
}

bool FMResultSet::boolForColumnIndex(int index) const
{
    return longForColumnIndex(index) != 0;
}

double FMResultSet::doubleForColumnIndex(int index) const
{
    auto *column = columnOf(_statement, index);
    return column ? sqlite3_value_double(column) : 0.0;
}

Data FMResultSet::dataForColumnIndex(int index) const
{
    auto *column = presentColumnOf(_statement, index);
    if (!column)
        return {};
    const auto bytes = bytesOf(column);
    return Data(bytes.data(), bytes.size());
}

Date FMResultSet::dateForColumnIndex(int index) const
{
    auto *column = presentColumnOf(_statement, index);
    return column ? Date::fromSecondsSince1970(sqlite3_value_double(column)) : Date();
}

} // namespace kelvane
